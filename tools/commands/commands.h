// File: commands.h
//
// The sub-commands of file-finder. Each add...Command() adds its sub-command to the
// application; when the command line selects it, parsing stores in `action` the function
// that runs it and returns the exit code (exit_codes.h). Running comes after parsing, so
// every usage error is known before anything is done.
#pragma once

#include <functional>

#include <CLI/CLI.hpp>

namespace ffcli {

using CommandAction = std::function<int()>;

/// `bin`, `sym`, `src` and `resolve`.
void addSearchCommands(CLI::App& app, CommandAction& action);
/// `extract-kernel VMLINUZ OUT`.
void addExtractKernelCommand(CLI::App& app, CommandAction& action);
/// `archive FILE --archive-dir DIR [--category bin|sym|src]`.
void addArchiveCommand(CLI::App& app, CommandAction& action);
/// `dirs list|add|clear --config FILE`.
void addDirsCommand(CLI::App& app, CommandAction& action);

}  // namespace ffcli
