// file-finder: finds on this machine the binaries, symbol files and source files that a
// profile recorded, through the file_finder2 library. Parses the command line, sets the
// logger up, runs the selected sub-command and turns everything that escapes it into
// exit code 3.
#include <exception>
#include <iostream>

#include <CLI/CLI.hpp>

#include "commands/commands.h"
#include "core/exit_codes.h"
#include "core/logging.h"
#include "core/usage_hint.h"

namespace {

constexpr char kVersion[] = "file-finder 2.13 (file_finder2, interface FF_2_13)";

int run(int argc, char** argv) {
    CLI::App app("Finds the binaries, symbol files and source files a profile recorded.",
                 "file-finder");
    app.set_version_flag("--version", kVersion);
    std::string logLevel;
    app.add_option("--log-level", logLevel, "Write the library's log to stderr at this level")
        ->type_name("LEVEL")
        ->check(CLI::IsMember({"trace", "info", "error"}));
    app.require_subcommand(1);
    // Global options may also follow the sub-command's own.
    app.fallthrough();
    app.footer(
        "Examples:\n"
        "  file-finder resolve --self\n"
        "  file-finder bin /usr/lib/x86_64-linux-gnu/libc.so.6 --json\n"
        "  file-finder sym libx.so.1.debug --binary /opt/app/lib/libx.so.1\n"
        "  file-finder archive app.debug --archive-dir /srv/archive --category sym\n"
        "  file-finder dirs list --config ~/.config/ff/dirs.json\n"
        "  file-finder SUBCOMMAND --help\n\n"
        "Exit codes: 0 all found, 1 something not found, 2 bad usage or bad input,\n"
        "3 internal error.");

    ffcli::CommandAction action;
    ffcli::addSearchCommands(app, action);
    ffcli::addExtractKernelCommand(app, action);
    ffcli::addArchiveCommand(app, action);
    ffcli::addDirsCommand(app, action);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // --help and --version come this way with code 0; usage errors with others, which
        // name the word that was not understood when there is one.
        if (e.get_exit_code() != 0) {
            const std::string hint =
                ffcli::usageHint(app, std::vector<std::string>(argv + 1, argv + argc));
            if (!hint.empty()) return ffcli::fail(ffcli::kExitBadInput, hint);
        }
        const int code = app.exit(e);
        return code == 0 ? ffcli::kExitAllFound : ffcli::kExitBadInput;
    }
    ffcli::configureLogging(logLevel);
    if (!action) return ffcli::fail(ffcli::kExitBadInput, "no sub-command given; see --help");
    return action();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& e) {
        return ffcli::fail(ffcli::kExitInternalError, std::string("internal error: ") + e.what());
    } catch (...) {
        return ffcli::fail(ffcli::kExitInternalError, "internal error of an unknown kind");
    }
}
