#include "core/search_options.h"

#include "core/config_file.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <set>

namespace ffcli {

void addSearchOptions(CLI::App& command, SearchOptions& options) {
    command
        .add_option("--search-dir", options.searchDirs,
                    "A directory to search: CATEGORY[,recursive][,high]:PATH, CATEGORY one of "
                    "binaries, symbols, sources, all (repeatable)")
        ->type_name("DIR")
        ->allow_extra_args(false);
    command
        .add_option("--config", options.configFile,
                    "Also search the persistent directories kept in FILE (see `dirs`)")
        ->type_name("FILE")
        ->check(CLI::ExistingFile.description(""));
    auto addDirectory = [&command](const char* name, std::string& dir, const char* description) {
        command.add_option(name, dir, description)
            ->type_name("DIR")
            ->check(CLI::ExistingDirectory.description(""));
    };
    addDirectory("--archive-dir", options.archiveDir,
                 "An archive directory, searched first (the layout `archive` writes)");
    addDirectory("--cache-dir", options.cacheDir,
                 "The cache directory (searched when the cache step is on)");
    addDirectory("--result-dir", options.resultDir,
                 "A result directory: its context inherits the user-wide context");
    command
        .add_option("--steps", options.steps,
                    "Switch steps on (+STEP or STEP) or off (-STEP), comma-separated, e.g. "
                    "--steps=-system,+cache; steps: archive, high-priority, cache, absolute-name, "
                    "around-binary, low-priority, system")
        ->type_name("LIST")
        ->allow_extra_args(false);
    command
        .add_option("--kernel-release", options.kernelRelease,
                    "Kernel release of the recorded system: its kernel (/boot/vmlinuz-R, "
                    "unpacked), its modules (/lib/modules/R) and their debug files "
                    "(/usr/lib/debug/lib/modules/R, /usr/lib/debug/boot/vmlinux-R)")
        ->type_name("R");
    command.add_flag("--no-identity-check", options.noIdentityCheck,
                     "Accept a symbol file without comparing its build-id (or debug link CRC), "
                     "target and debug information with the binary's, and a binary without "
                     "comparing its build-id with the expected one");
    addDirectory("--system-root", options.systemRoot,
                 "Take the system directories (/lib/modules, /boot, /usr/lib/debug...) under "
                 "DIR, e.g. an unpacked package or another machine's file system");
    command.add_flag("--json", options.json, "Print a JSON array instead of the table");
    CLI::Option* debuginfod =
        command
            .add_option("--debuginfod", options.debuginfodUrls,
                        "Fetch what no step found, by build-id, from the debuginfod server URL "
                        "(repeatable; the default: the servers of DEBUGINFOD_URLS when it is set)")
            ->type_name("URL")
            ->allow_extra_args(false);
    command.add_flag("--no-debuginfod", options.noDebuginfod, "Never ask a debuginfod server")
        ->excludes(debuginfod);
    command.add_flag("--verbose", options.verbose,
                     "List under each row every candidate path tried, with its step and outcome");
}

bool makeSearchSettings(const SearchOptions& options, SearchSettings& settings,
                        std::string& error) {
    SearchSettings parsed;
    std::set<std::string> warned;
    parsed.searchDirs = FF_2_13::IEditableSearchDirContainer::create();
    for (const std::string& value : options.searchDirs) {
        std::string reason;
        if (!FF_2_13::cmdline::parseSearchDirValue(value.c_str(), *parsed.searchDirs, reason)) {
            error = "--search-dir '" + value + "': " + reason;
            return false;
        }
    }
    // A mistyped directory would otherwise make every request a quiet miss.
    for (FF_2_13::search_category_t category :
         {FF_2_13::scBinaryFiles, FF_2_13::scSymbolFiles, FF_2_13::scSourceFiles}) {
        FF_2_13::ObjectPtr<FF_2_13::ISearchDirIterator> dirs =
            parsed.searchDirs->enumerate(category);
        if (!dirs) continue;  // no directory of that category
        const char* name = nullptr;
        bool recursive = false;
        bool high = false;
        for (dirs->reset(); dirs->getCurrentRecord(name, recursive, high); dirs->next()) {
            std::error_code ignored;
            if (!std::filesystem::is_directory(name, ignored) && warned.insert(name).second)
                std::cerr << "file-finder: warning: --search-dir " << name
                          << " is not a directory: nothing will be found there\n";
        }
    }
    for (const std::string& value : options.steps) {
        std::string reason;
        if (!parseStepChanges(value, parsed.steps, reason)) {
            error = "--steps: " + reason;
            return false;
        }
    }
    if (!options.configFile.empty() && !checkConfigFile(options.configFile, error)) return false;
    if (!options.configFile.empty())
        parsed.configDirs =
            FF_2_13::IPersistentSearchDirContainer::create(options.configFile.c_str());
    parsed.archiveDir = options.archiveDir;
    parsed.cacheDir = options.cacheDir;
    parsed.resultDir = options.resultDir;
    parsed.kernelRelease = options.kernelRelease;
    parsed.identityCheck = !options.noIdentityCheck;
    // The library joins the root with absolute paths: it must be absolute itself.
    if (!options.systemRoot.empty())
        parsed.systemRoot =
            std::filesystem::absolute(options.systemRoot).lexically_normal().string();
    if (!options.noDebuginfod) {
        std::string urls;
        for (const std::string& url : options.debuginfodUrls)
            urls += (urls.empty() ? "" : " ") + url;
        const char* environment = std::getenv("DEBUGINFOD_URLS");
        if (urls.empty() && environment) urls = environment;
        if (urls.find_first_not_of(' ') != std::string::npos) parsed.debuginfodUrls = urls;
    }
    settings = parsed;
    return true;
}

}  // namespace ffcli
