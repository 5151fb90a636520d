// `archive FILE --archive-dir DIR [--category bin|sym|src]`: copies a file into an archive
// directory, in the layout the archive search step reads: DIR/[CATEGORY/]NAME/MD5/NAME.
#include <iostream>
#include <memory>

#include <file_finder.h>
#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "core/exit_codes.h"
#include "core/search_report.h"
#include "core/search_request.h"

namespace ffcli {

namespace {

struct Archive {
    std::string file;
    std::string archiveDir;
    std::string category;
    bool json = false;
};

int runArchive(const Archive& command) {
    using namespace FF_2_13;
    if (!utils::fileExists(command.file.c_str()))
        return fail(kExitBadInput, command.file + " is not a readable file");
    const char* subDir = nullptr;
    if (!command.category.empty()) subDir = categoryWord(*categoryFromOption(command.category));

    std::string archived;
    const unsigned int code = utils::archiveFile(command.file.c_str(), command.archiveDir.c_str(),
                                                 subDir, archived, /*removeSource=*/false);
    switch (code) {
        case utils::kArchiveDone:
        case utils::kArchiveAlreadyThere:
            break;
        case utils::kArchiveNoChecksum:
            return fail(kExitBadInput, "cannot compute the MD5 checksum of " + command.file);
        case utils::kArchiveCannotCreateDirectory:
            return fail(kExitBadInput,
                        "cannot create the archive's directories under " + command.archiveDir);
        case utils::kArchiveCopyFailed:
            return fail(kExitBadInput,
                        "cannot copy " + command.file + " into " + command.archiveDir);
        default:
            return fail(kExitInternalError,
                        "archiving failed with result code " + std::to_string(code));
    }
    const bool alreadyThere = code == utils::kArchiveAlreadyThere;
    if (command.json)
        std::cout << nlohmann::ordered_json({{"file", jsonName(command.file)},
                                             {"archived", jsonName(archived)},
                                             {"alreadyArchived", alreadyThere}})
                         .dump(2)
                  << '\n';
    else
        std::cout << (alreadyThere ? "already archived: " : "archived: ") << archived << '\n';
    return kExitAllFound;
}

}  // namespace

void addArchiveCommand(CLI::App& app, CommandAction& action) {
    auto command = std::make_shared<Archive>();
    CLI::App* sub = app.add_subcommand("archive", "Copy a file into an archive directory");
    sub->add_option("FILE", command->file, "The file to archive")->required();
    sub->add_option("--archive-dir", command->archiveDir, "The archive directory (made if missing)")
        ->type_name("DIR")
        ->required();
    sub->add_option("--category", command->category,
                    "File the copy under binaries/, symbols/ or sources/")
        ->type_name("CATEGORY")
        ->check(CLI::IsMember({"bin", "sym", "src"}));
    sub->add_flag("--json", command->json,
                  "Print {\"file\", \"archived\", \"alreadyArchived\"} as JSON");
    sub->footer(
        "The copy lands at DIR/[CATEGORY/]NAME/MD5/NAME, NAME the file's name and MD5 its\n"
        "checksum, where `bin`, `sym` and `src` find it with --archive-dir DIR. Prints the\n"
        "archived path, and whether the file was archived now or was there already (then\n"
        "nothing is copied).\n\n"
        "Examples:\n"
        "  file-finder archive /opt/app/lib/libx.so.1 --archive-dir /srv/archive --category bin\n"
        "  file-finder archive libx.so.1.debug --archive-dir /srv/archive --category sym --json\n\n"
        "Exit codes: 0 archived or already there, 2 unreadable file or unusable archive\n"
        "directory, 3 internal error.");
    sub->callback([&action, command] { action = [command] { return runArchive(*command); }; });
}

}  // namespace ffcli
