// File: search_options.h
//
// The options that shape a search, shared by `bin`, `sym`, `src` and `resolve`, and the
// settings they make, which the file locator (file_locator.h) turns into the library's
// contexts:
//
//   --search-dir CATEGORY[,recursive][,high]:PATH   repeatable (ff_cmdline_dirs.h)
//   --config FILE          the persistent search directories of `file-finder dirs`
//   --archive-dir DIR      searched first, in the layout `file-finder archive` writes
//   --cache-dir DIR        where files of a remote system are kept
//   --result-dir DIR       a result directory context below the user-wide context
//   --steps [+|-]STEP,...  switch search steps on or off (step_names.h)
//   --kernel-release R     the kernel release of the recorded system
//   --no-identity-check    accept binaries and symbol files of other builds (ff_identity.h)
//   --system-root DIR      the system directories under DIR (/lib/modules, /boot...)
//   --json                 a JSON array instead of the table
//   --debuginfod URL       fetch what no step found from debuginfod servers (repeatable;
//                          the default: DEBUGINFOD_URLS when set); --no-debuginfod: never
//   --verbose              the table lists every candidate tried
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <file_finder.h>
#include <CLI/CLI.hpp>

#include "core/step_names.h"

namespace ffcli {

/// The option values as given.
struct SearchOptions {
    std::vector<std::string> searchDirs;
    std::string configFile;
    std::string archiveDir;
    std::string cacheDir;
    std::string resultDir;
    std::vector<std::string> steps;
    std::string kernelRelease;
    bool noIdentityCheck = false;
    std::string systemRoot;
    bool json = false;
    std::vector<std::string> debuginfodUrls;
    bool noDebuginfod = false;
    bool verbose = false;
};

/// The options checked and parsed.
struct SearchSettings {
    /// The --search-dir directories; never empty.
    FF_2_13::ObjectPtr<FF_2_13::IEditableSearchDirContainer> searchDirs;
    /// The directories of --config; empty without the option.
    FF_2_13::ObjectPtr<FF_2_13::IPersistentSearchDirContainer> configDirs;
    std::string archiveDir;  ///< "" when not given (likewise below)
    std::string cacheDir;
    std::string resultDir;
    std::string kernelRelease;
    std::string systemRoot;
    /// Applied to the binary, symbol and source categories alike.
    StepChanges steps;
    /// Hold binaries and symbol files to the identity of their binary.
    bool identityCheck = true;
    /// The debuginfod servers, space-separated; none: no remote fetching.
    std::optional<std::string> debuginfodUrls;
};

/// Adds the options above to `command`, storing into `options`.
void addSearchOptions(CLI::App& command, SearchOptions& options);

/// Parses the option values; false with `error` set for a --search-dir or --steps value
/// that does not parse. A search directory that does not exist is warned about on stderr.
bool makeSearchSettings(const SearchOptions& options, SearchSettings& settings, std::string& error);

}  // namespace ffcli
