// The search commands: `bin`, `sym` and `src` answer one request each; `resolve` answers
// the modules of a process (their binaries and symbol files) or the requests of a
// manifest. All of them:
//  1. check and parse the search options (search_options.h) and their own arguments;
//  2. gather the requests;
//  3. get the file locator (file_locator.h) and answer the requests through a Resolver;
//  4. print the rows as a table or as JSON, and exit 0 when everything was found.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "commands/commands.h"
#include "core/exit_codes.h"
#include "core/file_locator.h"
#include "core/manifest.h"
#include "core/process_modules.h"
#include "core/progress_line.h"
#include "core/resolver.h"
#include "core/search_options.h"
#include "core/search_report.h"
#include "core/transfer_progress.h"

namespace ffcli {

namespace {

constexpr char kSearchOutput[] =
    "Prints the file found with its confidence and search step; when nothing is found, each\n"
    "rejected candidate with its message and the reason in one line; --verbose lists every\n"
    "candidate path tried. --json prints a JSON array of objects with the fields request,\n"
    "found, confidence, step, rejected, tried, reason (for a miss) and error (when a search\n"
    "failed). A directory that cannot be listed is skipped with a warning on stderr.\n"
    "Exit codes: 0 found, 1 not found, 2 bad usage or input, 3 internal error.\n";

struct SingleSearch {
    RequestKind kind = RequestKind::kBinary;
    SearchOptions search;
    std::string name;
    std::string binary;
    std::string checksum;
    std::string buildId;
    long long modificationTime = 0;
    unsigned long long size = 0;
    CLI::Option* modificationTimeOption = nullptr;
    CLI::Option* sizeOption = nullptr;
};

struct ResolveCommand {
    SearchOptions search;
    int pid = 0;
    bool self = false;
    std::string manifest;
};

// Transfers at a time when a run fetches from debuginfod servers: enough to hide the
// round trips of a process's modules, few enough to spare the servers.
constexpr unsigned kFetchThreads = 4;

// Steps 3 and 4 for requests gathered by `gather`.
int answerAndPrint(const SearchSettings& settings, const SearchOptions& options,
                   const std::function<std::vector<ResolveRow>(Resolver&)>& gather) {
    TransferProgress transfers;
    FF_2_13::ObjectPtr<RemoteFetches> remote;
    if (settings.debuginfodUrls) {
        FF_2_13::ObjectPtr<FF_2_13::IDebuginfodSource> debuginfod =
            FF_2_13::IDebuginfodSource::create();
        debuginfod->setUrls(settings.debuginfodUrls->c_str());
        debuginfod->setProgressCallback(&transfers);
        remote = FF_2_13::ObjectPtr<RemoteFetches>(new RemoteFetches(debuginfod));
    }
    std::unique_ptr<FileLocator> locator = makeLibraryLocator(settings, remote);
    std::vector<ResolveRow> rows;
    bool answered = false;
    if (remote) {
        // A first, local run notes what the servers will be asked; it is all fetched at
        // once, and the real run finds it in the memo. When nothing was to be fetched, the
        // local run's answers are the answers.
        remote->setRecordOnly(true);
        Resolver local(*locator);
        rows = gather(local);
        remote->setRecordOnly(false);
        answered = remote->fetchRecorded(kFetchThreads) == 0;
        transfers.done();
    }
    if (!answered) {
        ProgressLine progress;
        Resolver resolver(*locator, [&progress](std::size_t done, std::size_t total) {
            progress.update(done, total);
        });
        rows = gather(resolver);
        progress.done();
        transfers.done();
    }
    if (options.json)
        std::cout << toJson(rows).dump(2) << '\n';
    else
        writeTable(std::cout, rows, options.verbose);
    std::cout.flush();
    if (!std::cout) return fail(kExitInternalError, "cannot write the results to stdout");
    return exitCodeFor(rows);
}

// What a `bin` or `sym` request must be, from --build-id and the binary. False with
// `error` set when they say different things.
bool identityOf(const SingleSearch& command, FF_2_13::ObjectPtr<FF_2_13::IFileIdentity>& identity,
                std::string& error) {
    using FF_2_13::IFileIdentity;
    if (!command.buildId.empty()) {
        identity = IFileIdentity::fromBuildId(command.buildId.c_str());
        if (!identity) {
            error = "--build-id '" + command.buildId +
                    "' is not a build-id: an even number of hexadecimal digits, at least 4";
            return false;
        }
    }
    if (command.kind != RequestKind::kSymbol || command.binary.empty()) return true;
    FF_2_13::ObjectPtr<IFileIdentity> binary = IFileIdentity::readFile(command.binary.c_str());
    if (binary->status() != FF_2_13::irsElf) return true;  // the locator says why later
    if (identity && *binary->buildId() && identity->buildId() != std::string(binary->buildId())) {
        error = "the binary " + command.binary + " has the build-id " + binary->buildId() +
                ", not " + identity->buildId();
        return false;
    }
    if (!identity || *binary->buildId()) identity = binary;
    return true;
}

int runSingleSearch(const SingleSearch& command) {
    SearchSettings settings;
    std::string error;
    if (!makeSearchSettings(command.search, settings, error)) return fail(kExitBadInput, error);
    Request request;
    request.kind = command.kind;
    request.name = command.name;
    request.binary = command.binary;
    if (!identityOf(command, request.identity, error)) return fail(kExitBadInput, error);
    const bool symbolOfBinary = command.kind == RequestKind::kSymbol && !command.binary.empty();
    if (command.name.empty() && command.buildId.empty() && !symbolOfBinary)
        return fail(kExitBadInput, "give the NAME of the file, or its --build-id");
    std::error_code ignored;
    if (!command.name.empty() && std::filesystem::is_directory(command.name, ignored))
        return fail(kExitBadInput, command.name + " is a directory; give the name of a file");
    if (command.kind == RequestKind::kSymbol && command.binary.empty() && command.buildId.empty())
        return fail(kExitBadInput, "give the --binary of the symbol file, or its --build-id");
    if (!command.checksum.empty()) {
        ExpectedChecksum checksum;
        if (!parseChecksum(command.checksum, checksum, error))
            return fail(kExitBadInput, "--checksum: " + error);
        request.checksum = checksum;
    }
    if (command.modificationTimeOption && command.modificationTimeOption->count())
        request.modificationTime = command.modificationTime;
    if (command.sizeOption && command.sizeOption->count()) request.size = command.size;
    // A recorded build-id also names the file: .build-id/xx/rest, and .debug for symbols.
    std::vector<std::string> names;
    if (!command.name.empty()) names.push_back(command.name);
    if (!command.buildId.empty()) {
        const std::string id = request.identity->buildId();
        names.push_back(command.kind == RequestKind::kSymbol ? buildIdDebugName(id)
                                                             : buildIdBinaryName(id));
    }
    // Then the names the binary gives its symbol file, as resolve looks for them: a
    // debug package installs symbol files under the build-id name only.
    if (symbolOfBinary && request.identity) {
        const bool onDisk = std::filesystem::exists(command.binary, ignored);
        for (const std::string& name : symbolFileNames(*request.identity, command.binary, onDisk))
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
    if (names.empty())
        return fail(kExitBadInput, "the binary " + command.binary +
                                       (std::filesystem::exists(command.binary, ignored)
                                            ? " has no build-id and no debug link to name its "
                                              "symbol file by"
                                            : " does not exist") +
                                       "; give the NAME of the symbol file");
    // A mistyped binary would otherwise make the miss read as if nothing were anywhere.
    if (!command.binary.empty() && !std::filesystem::exists(command.binary, ignored))
        std::cerr << "file-finder: warning: --binary " << command.binary
                  << " does not exist: the steps that look beside it find nothing\n";
    request.name = names.front();
    return answerAndPrint(settings, command.search, [&](Resolver& resolver) {
        return names.size() == 1 ? resolver.resolveRequests({request})
                                 : resolver.resolveUnderNames(request, names);
    });
}

int runResolve(const ResolveCommand& command) {
    SearchSettings settings;
    std::string error;
    if (!makeSearchSettings(command.search, settings, error)) return fail(kExitBadInput, error);

    if (!command.manifest.empty()) {
        // "-" is standard input, as for most tools that read a list.
        const bool fromStdin = command.manifest == "-";
        std::ifstream file;
        if (!fromStdin) file.open(command.manifest);
        std::istream& in = fromStdin ? std::cin : file;
        if (!in) return fail(kExitBadInput, "cannot read the manifest " + command.manifest);
        const Manifest manifest = parseManifest(in);
        if (in.bad()) return fail(kExitBadInput, "cannot read the manifest " + command.manifest);
        for (const ManifestError& e : manifest.errors)
            fail(kExitBadInput, command.manifest + ":" + std::to_string(e.line) + ": " + e.message);
        const int code = answerAndPrint(settings, command.search, [&](Resolver& resolver) {
            return resolver.resolveRequests(manifest.requests);
        });
        return manifest.errors.empty() ? code : std::max(code, kExitBadInput);
    }

    const std::string pid = command.pid > 0 ? std::to_string(command.pid) : "self";
    std::error_code ignored;
    if (!std::filesystem::exists("/proc/" + pid, ignored))
        return fail(kExitNotFound, "there is no process " + pid + " (it may have ended)");
    std::vector<std::string> notes;
    const std::optional<std::vector<LoadedModule>> loaded = readLoadedModules(pid, notes, error);
    if (!loaded) return fail(kExitBadInput, error);
    for (const std::string& note : notes) std::cerr << "file-finder: " << note << '\n';
    if (loaded->empty())
        return fail(kExitNotFound, "process " + pid +
                                       " has no user-space mappings to resolve: a kernel "
                                       "thread, a zombie, or a process that has just ended");
    std::vector<ModuleToResolve> modules;
    for (const LoadedModule& module : *loaded) {
        const std::string buildId = module.identity ? module.identity->buildId() : "";
        modules.push_back({module.mapping.path, module.identity,
                           ModuleLoad{module.mapping.range(), module.state, buildId},
                           module.mapping.vdso});
    }
    return answerAndPrint(settings, command.search, [&modules](Resolver& resolver) {
        return resolver.resolveModules(modules);
    });
}

void addSingleSearch(CLI::App& app, CommandAction& action, RequestKind kind) {
    auto command = std::make_shared<SingleSearch>();
    command->kind = kind;
    CLI::App* sub = nullptr;
    switch (kind) {
        case RequestKind::kBinary:
            sub = app.add_subcommand("bin",
                                     "Find a binary module (executable, shared object, "
                                     "kernel or kernel module)");
            sub->add_option("NAME", command->name,
                            "The binary as recorded (may be left out with --build-id)");
            sub->footer(
                std::string(
                    "Examples:\n"
                    "  file-finder bin /usr/lib/x86_64-linux-gnu/libc.so.6\n"
                    "  file-finder bin libm.so.6 --search-dir=binaries:/opt/app/lib\n"
                    "  file-finder bin ext4 --kernel-release 6.1.0-13-amd64\n"
                    "  file-finder bin '[snd_hda_intel]' --kernel-release 6.1.0-13-amd64 \\\n"
                    "      --system-root ./linux-image-6.1.0-13-amd64\n"
                    "  file-finder bin vmlinux --kernel-release 6.1.0-13-amd64 --json\n"
                    "  file-finder bin --build-id 3a9f00c1d2e4f5 --search-dir=binaries:/srv/bin\n\n"
                    "Kernel modules are found by the names the kernel reports (- and _ alike,\n"
                    "with or without .ko, [brackets]), compressed ones unpacked; the kernel as\n"
                    "vmlinux or [kernel.kallsyms], only ever unpacked.\n\n") +
                kSearchOutput);
            break;
        case RequestKind::kSymbol:
            sub = app.add_subcommand("sym", "Find the symbol file of a binary");
            sub->add_option("NAME", command->name,
                            "The symbol file as recorded (may be left out with --build-id or "
                            "--binary: the binary's build-id and debug link name it)");
            sub->add_option("--binary", command->binary,
                            "The binary the symbol file belongs to (may be left out with "
                            "--build-id)")
                ->type_name("BIN");
            sub->footer(
                std::string("Examples:\n"
                            "  file-finder sym libx.so.1.debug --binary /opt/app/lib/libx.so.1\n"
                            "  file-finder sym .build-id/3a/9f00c1d2.debug --binary /usr/bin/ls\n"
                            "  file-finder sym --binary /usr/lib/x86_64-linux-gnu/libc.so.6\n"
                            "  file-finder sym app.debug --binary /opt/app/bin/app \\\n"
                            "      --search-dir=symbols,recursive:/srv/debug --checksum "
                            "md5:9e107d9d372bb6826bd81d3542a419d6\n"
                            "  file-finder sym --build-id 3a9f00c1d2e4f5 "
                            "--search-dir=symbols:/srv/debug\n\n"
                            "The symbol file must belong to the binary: the same build-id (or, "
                            "without one,\nthe CRC its debug link records), the same target, "
                            "and debug information.\n--no-identity-check accepts any file.\n\n") +
                kSearchOutput);
            break;
        case RequestKind::kSource:
            sub = app.add_subcommand("src", "Find a source file of a binary");
            sub->add_option("NAME", command->name, "The source file as recorded")->required();
            sub->add_option("--binary", command->binary, "The binary built from the source file")
                ->type_name("BIN")
                ->required();
            command->modificationTimeOption =
                sub->add_option("--mtime", command->modificationTime,
                                "Recorded modification time, seconds since the epoch")
                    ->type_name("SECONDS");
            command->sizeOption = sub->add_option("--size", command->size, "Recorded size in bytes")
                                      ->type_name("BYTES");
            sub->footer(
                std::string("Examples:\n"
                            "  file-finder src /build/app/main.c --binary /opt/app/bin/app\n"
                            "  file-finder src main.c --binary /opt/app/bin/app \\\n"
                            "      --search-dir=sources,recursive:/home/me/src/app --mtime "
                            "1700000000 --size 2048\n\n") +
                kSearchOutput);
            break;
    }
    sub->add_option("--checksum", command->checksum, "The file's expected checksum")
        ->type_name("md5:HEX|sha1:HEX");
    if (kind != RequestKind::kSource)
        sub->add_option("--build-id", command->buildId,
                        kind == RequestKind::kBinary
                            ? "The binary's recorded build-id: it must have it, and it is also "
                              "looked for as .build-id/xx/rest"
                            : "The recorded build-id of the binary: the symbol file must have "
                              "it, and it is also looked for as .build-id/xx/rest.debug")
            ->type_name("HEX");
    addSearchOptions(*sub, command->search);
    sub->callback([&action, command] { action = [command] { return runSingleSearch(*command); }; });
}

void addResolve(CLI::App& app, CommandAction& action) {
    auto command = std::make_shared<ResolveCommand>();
    CLI::App* sub = app.add_subcommand(
        "resolve", "Find the binaries and symbol files of a process, or the files of a manifest");
    CLI::Option* pid =
        sub->add_option("--pid", command->pid, "The process whose executable mappings to resolve")
            ->type_name("PID")
            ->check(CLI::Validator(
                [](std::string& value) -> std::string {
                    if (!value.empty() && value.size() <= 9 &&
                        value.find_first_not_of("0123456789") == std::string::npos &&
                        std::stoi(value) >= 1)
                        return "";
                    return "expects a process id, a whole number from 1 to 999999999, "
                           "not '" +
                           value + "'";
                },
                ""));
    CLI::Option* self =
        sub->add_flag("--self", command->self, "Resolve this process's own modules (the default)");
    CLI::Option* manifest =
        sub->add_option("--manifest", command->manifest,
                        "A list of requests, one a line, tab-separated: bin NAME [CHECKSUM], sym "
                        "NAME BINARY [CHECKSUM], src NAME BINARY [CHECKSUM]")
            ->type_name("FILE");
    pid->excludes(self)->excludes(manifest);
    self->excludes(manifest);
    addSearchOptions(*sub, command->search);
    sub->footer(
        "For each module of the process, the binary is searched, then its symbol file under\n"
        "the names the binary gives: the build-id name .build-id/xx/rest.debug, the\n"
        ".gnu_debuglink name, and the binary itself when it carries debug information.\n"
        "Both are held to the module as the process loaded it (its build-id, read from\n"
        "/proc/PID/map_files or the process's memory when the file on disk was deleted or\n"
        "replaced since); the vDSO's symbol file is looked for by its build-id. With --json\n"
        "each row of a module also has its buildId, range and state (loaded, deleted,\n"
        "replaced). Each module is resolved once. In a manifest, '#' lines and blank lines are "
        "skipped\n"
        "and CHECKSUM is md5:HEX or sha1:HEX; a malformed line is reported with its number\n"
        "and the rest is still resolved (the exit code is then 2).\n\n"
        "Examples:\n"
        "  file-finder resolve --self\n"
        "  file-finder resolve --pid 4242 --search-dir=symbols,recursive:/srv/debug\n"
        "  file-finder resolve --manifest run17.tsv --result-dir /data/run17 --json\n\n"
        "Prints one row per file with its confidence and search step, and the rejected\n"
        "candidates of each file not found. Exit codes: 0 all found, 1 something not found,\n"
        "2 bad usage or input, 3 internal error.");
    sub->callback([&action, command] { action = [command] { return runResolve(*command); }; });
}

}  // namespace

void addSearchCommands(CLI::App& app, CommandAction& action) {
    addSingleSearch(app, action, RequestKind::kBinary);
    addSingleSearch(app, action, RequestKind::kSymbol);
    addSingleSearch(app, action, RequestKind::kSource);
    addResolve(app, action);
}

}  // namespace ffcli
