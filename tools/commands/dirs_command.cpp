// `dirs list|add|remove|clear --config FILE`: the persistent search directories kept in FILE,
// written as the --search-dir options of the search commands.
#include <algorithm>
#include <iostream>
#include <memory>

#include <file_finder.h>
#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "core/config_file.h"
#include "core/exit_codes.h"
#include "core/search_report.h"
#include "core/search_request.h"

namespace ffcli {

namespace {

using namespace FF_2_13;

constexpr search_category_t kCategories[] = {scBinaryFiles, scSymbolFiles, scSourceFiles,
                                             scAllFiles};

struct Dirs {
    std::string configFile;
    std::vector<std::string> searchDirs;
    std::string category;
    bool json = false;
};

// Null, with `error` set, for a file that cannot be read or parsed: the library would skip
// its damage and keep it aside at the next change, the command stops and says where.
ObjectPtr<IPersistentSearchDirContainer> openConfig(const std::string& file, std::string& error) {
    if (!checkConfigFile(file, error)) return ObjectPtr<IPersistentSearchDirContainer>();
    return IPersistentSearchDirContainer::create(file.c_str());
}

// Parses every --search-dir value into `dirs`; false with `error` at the first bad one.
bool parseValues(const Dirs& command, IEditableSearchDirContainer& dirs, std::string& error) {
    for (const std::string& value : command.searchDirs) {
        std::string reason;
        if (!cmdline::parseSearchDirValue(value.c_str(), dirs, reason)) {
            error = "--search-dir '" + value + "': " + reason;
            return false;
        }
    }
    return true;
}

// Each directory as one --search-dir option, quoted for a shell, one a line.
int runList(const Dirs& command) {
    std::string error;
    ObjectPtr<IPersistentSearchDirContainer> dirs = openConfig(command.configFile, error);
    if (!dirs) return fail(kExitBadInput, error);
    nlohmann::ordered_json entries = nlohmann::ordered_json::array();
    for (search_category_t category : kCategories) {
        ObjectPtr<ISearchDirIterator> it = dirs->enumerate(category);
        if (!it) continue;
        const char* name = nullptr;
        bool recursive = false, high = false;
        for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next()) {
            if (command.json) {
                entries.push_back({{"category", categoryWord(category)},
                                   {"name", jsonName(name)},
                                   {"recursive", recursive},
                                   {"priority", high ? "high" : "low"}});
                continue;
            }
            ObjectPtr<IEditableSearchDirContainer> one = IEditableSearchDirContainer::create();
            one->addDirectory(category, name, recursive, high);
            std::cout << cmdline::renderSearchDirs(*one) << '\n';
        }
    }
    if (command.json) std::cout << entries.dump(2) << '\n';
    return kExitAllFound;
}

int saved(const ObjectPtr<IPersistentSearchDirContainer>& dirs, const std::string& file) {
    if (!dirs->isSaved())
        return fail(kExitBadInput,
                    "cannot write " + file + " (run with --log-level error for why)");
    return kExitAllFound;
}

// The directories of a category, in order.
std::vector<std::pair<std::string, std::pair<bool, bool>>> listOf(const ISearchDirContainer& dirs,
                                                                  search_category_t category) {
    std::vector<std::pair<std::string, std::pair<bool, bool>>> list;
    ObjectPtr<ISearchDirIterator> it = dirs.enumerate(category);
    if (!it) return list;
    const char* name = nullptr;
    bool recursive = false, high = false;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
        list.push_back({name, {recursive, high}});
    return list;
}

int runAdd(const Dirs& command) {
    // All values are checked before the file changes, so a bad one changes nothing.
    ObjectPtr<IEditableSearchDirContainer> added = IEditableSearchDirContainer::create();
    std::string error;
    if (!parseValues(command, *added, error)) return fail(kExitBadInput, error);
    ObjectPtr<IPersistentSearchDirContainer> dirs = openConfig(command.configFile, error);
    if (!dirs) return fail(kExitBadInput, error);
    for (search_category_t category : kCategories)
        for (const auto& dir : listOf(*added, category))
            dirs->addDirectory(category, dir.first.c_str(), dir.second.first, dir.second.second);
    return saved(dirs, command.configFile);
}

// The directories named are taken out of their category's list, whatever their flags;
// the others keep their order. Naming one that is not there changes nothing.
int runRemove(const Dirs& command) {
    ObjectPtr<IEditableSearchDirContainer> removed = IEditableSearchDirContainer::create();
    std::string error;
    if (!parseValues(command, *removed, error)) return fail(kExitBadInput, error);
    ObjectPtr<IPersistentSearchDirContainer> dirs = openConfig(command.configFile, error);
    if (!dirs) return fail(kExitBadInput, error);
    std::size_t unmatched = 0;
    for (search_category_t category : kCategories) {
        const auto gone = listOf(*removed, category);
        if (gone.empty()) continue;
        const auto kept = listOf(*dirs, category);
        std::vector<std::pair<std::string, std::pair<bool, bool>>> left;
        for (const auto& dir : kept) {
            const bool named = std::any_of(gone.begin(), gone.end(),
                                           [&](const auto& g) { return g.first == dir.first; });
            if (!named) left.push_back(dir);
        }
        for (const auto& g : gone) {
            if (std::none_of(kept.begin(), kept.end(),
                             [&](const auto& dir) { return dir.first == g.first; })) {
                std::cerr << "file-finder: " << g.first << " is not among the "
                          << categoryWord(category) << " directories of " << command.configFile
                          << '\n';
                ++unmatched;
            }
        }
        if (left.size() == kept.size()) continue;
        dirs->clear(category);
        for (const auto& dir : left)
            dirs->addDirectory(category, dir.first.c_str(), dir.second.first, dir.second.second);
    }
    const int code = saved(dirs, command.configFile);
    return code == kExitAllFound && unmatched > 0 ? kExitNotFound : code;
}

int runClear(const Dirs& command) {
    std::string error;
    ObjectPtr<IPersistentSearchDirContainer> dirs = openConfig(command.configFile, error);
    if (!dirs) return fail(kExitBadInput, error);
    for (search_category_t category : kCategories) {
        if (!command.category.empty() && categoryFromOption(command.category) != category) continue;
        // A category that never had a directory stays without a list.
        if (dirs->enumerate(category)) dirs->clear(category);
    }
    return saved(dirs, command.configFile);
}

CLI::App* addDirsSubcommand(CLI::App& dirs, const char* name, const char* description,
                            const std::shared_ptr<Dirs>& command) {
    CLI::App* sub = dirs.add_subcommand(name, description);
    sub->add_option("--config", command->configFile,
                    "The file the directories are kept in (JSON; a missing file holds none)")
        ->type_name("FILE")
        ->required();
    return sub;
}

}  // namespace

void addDirsCommand(CLI::App& app, CommandAction& action) {
    auto command = std::make_shared<Dirs>();
    CLI::App* dirs = app.add_subcommand("dirs", "Keep search directories in a file");
    dirs->require_subcommand(1);
    dirs->footer(
        "Directories are written as --search-dir options: CATEGORY[,recursive][,high]:PATH,\n"
        "CATEGORY one of binaries, symbols, sources, all; PATH is every byte after the ':'.\n"
        "The search commands read the file with --config FILE.\n\n"
        "Examples:\n"
        "  file-finder dirs add --config ~/.config/ff/dirs.json "
        "--search-dir=symbols,recursive:/srv/debug\n"
        "  file-finder dirs list --config ~/.config/ff/dirs.json\n"
        "  file-finder dirs remove --config ~/.config/ff/dirs.json "
        "--search-dir=symbols:/srv/debug\n"
        "  file-finder dirs clear --config ~/.config/ff/dirs.json --category sym");

    CLI::App* list =
        addDirsSubcommand(*dirs, "list", "Print the directories, one option a line", command);
    list->add_flag("--json", command->json,
                   "Print a JSON array of {category, name, recursive, priority}");
    list->footer(
        "Each line is one --search-dir option, quoted for a POSIX shell when it needs it.\n\n"
        "Examples:\n"
        "  file-finder dirs list --config dirs.json\n"
        "  file-finder dirs list --config dirs.json --json\n\n"
        "Exit codes: 0 listed, 2 bad usage or a file that cannot be read or parsed,\n3 internal "
        "error.");
    list->callback([&action, command] { action = [command] { return runList(*command); }; });

    CLI::App* add = addDirsSubcommand(*dirs, "add", "Add directories", command);
    add->add_option("--search-dir", command->searchDirs,
                    "CATEGORY[,recursive][,high]:PATH (repeatable)")
        ->type_name("DIR")
        ->required()
        ->allow_extra_args(false);
    add->footer(
        "A directory already in the list keeps its place and gains the flags given.\n\n"
        "Examples:\n"
        "  file-finder dirs add --config dirs.json --search-dir=binaries:/opt/app/lib\n"
        "  file-finder dirs add --config dirs.json --search-dir='all,recursive,high:/srv/my "
        "files'\n\n"
        "Exit codes: 0 added, 2 a value that does not parse or a file that cannot be written,\n"
        "3 internal error.");
    add->callback([&action, command] { action = [command] { return runAdd(*command); }; });

    CLI::App* remove = addDirsSubcommand(*dirs, "remove", "Remove directories by name", command);
    remove
        ->add_option("--search-dir", command->searchDirs,
                     "CATEGORY:PATH of a directory to take out, flags ignored (repeatable)")
        ->type_name("DIR")
        ->required()
        ->allow_extra_args(false);
    remove->footer(
        "Examples:\n"
        "  file-finder dirs remove --config dirs.json --search-dir=binaries:/opt/app/lib\n\n"
        "Exit codes: 0 removed, 1 a directory that was not in the list, 2 a value that does\n"
        "not parse or a file that cannot be read or written, 3 internal error.");
    remove->callback([&action, command] { action = [command] { return runRemove(*command); }; });

    CLI::App* clear = addDirsSubcommand(*dirs, "clear", "Remove directories", command);
    clear->add_option("--category", command->category, "Only this category's directories")
        ->type_name("CATEGORY")
        ->check(CLI::IsMember({"bin", "sym", "src", "all"}));
    clear->footer(
        "Examples:\n"
        "  file-finder dirs clear --config dirs.json\n"
        "  file-finder dirs clear --config dirs.json --category src\n\n"
        "Exit codes: 0 cleared, 2 a file that cannot be written, 3 internal error.");
    clear->callback([&action, command] { action = [command] { return runClear(*command); }; });
}

}  // namespace ffcli
