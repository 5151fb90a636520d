// File: resolver.h
//
// Resolving many requests through a FileLocator, as `file-finder resolve` does:
//
// - a list of requests (a manifest) is answered in order, each distinct request once;
// - one request may be asked under several names (a recorded name, then the build-id
//   name): the first name that finds a file ends it;
// - the modules of a process are answered module by module: first the binary itself,
//   held to the identity the process loaded, then its symbol file under the names a Linux
//   system files it by (symbolFileNames). A module whose file is gone still gets its
//   symbol file looked for, by what the process loaded; the vDSO, which has no file, only
//   that.
//
// A search that throws std::exception (a directory that cannot be listed, a file that
// vanished) is recorded for its request and the others go on.
//
//   Resolver resolver(locator, [](std::size_t done, std::size_t total) { ... });
//   std::vector<ResolveRow> rows = resolver.resolveModules(modules);
//   return exitCodeFor(rows);
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/process_modules.h"
#include "core/search_request.h"

namespace ffcli {

/// Where a module of a process is loaded, and whether its file is still the one mapped.
struct ModuleLoad {
    std::string range;
    LoadState state = LoadState::kLoaded;
    /// As loaded; "" when it has none or could not be read.
    std::string buildId;
};

struct ResolveRow {
    Request request;
    Outcome outcome;
    /// The names tried besides request.name, in order.
    std::vector<std::string> otherNames;
    /// Rows of a process's module.
    std::optional<ModuleLoad> load;
};

/// A module to resolve.
struct ModuleToResolve {
    std::string path;
    /// As loaded; empty (or unreadable) to read it from the binary found.
    FF_2_13::ObjectPtr<FF_2_13::IFileIdentity> identity;
    std::optional<ModuleLoad> load;
    /// The vDSO: there is no binary to look for, only its symbol file.
    bool inMemoryOnly = false;
};

/// Told after each answered request: how many are done, how many are known so far.
using ResolveProgress = std::function<void(std::size_t done, std::size_t total)>;

class Resolver {
public:
    explicit Resolver(FileLocator& locator, ResolveProgress progress = {});

    /// One row per distinct request (a repeated one is answered once, where it first
    /// stands).
    std::vector<ResolveRow> resolveRequests(const std::vector<Request>& requests);

    /// One row: `request` under each of `names` until one finds its file. With no names,
    /// a row that says so.
    std::vector<ResolveRow> resolveUnderNames(const Request& request,
                                              const std::vector<std::string>& names);

    /// Per distinct module (path and loaded build-id), the row of its binary and the row
    /// of its symbol file: the latter when the binary was found or its identity is known.
    std::vector<ResolveRow> resolveModules(const std::vector<ModuleToResolve>& modules);

private:
    Outcome answer(const Request& request);
    ResolveRow firstFound(const Request& request, const std::vector<std::string>& names);
    ResolveRow resolveSymbolFile(const ModuleToResolve& module, const Outcome& binary);
    void tick();

    FileLocator& m_locator;
    ResolveProgress m_progress;
    std::size_t m_done = 0;
    std::size_t m_total = 0;
};

/// ".build-id/xx/rest": the name of a binary by its build-id (hex); "" for a shorter id.
std::string buildIdBinaryName(const std::string& buildId);
/// ".build-id/xx/rest.debug": the name of its symbol file.
std::string buildIdDebugName(const std::string& buildId);

/// The names to look for the symbol file of a binary under, best first: the build-id
/// name, the debug link name, then `binary` itself when it is on disk and carries debug
/// information. Empty when the identity names none of these.
std::vector<std::string> symbolFileNames(const FF_2_13::IFileIdentity& identity,
                                         const std::string& binary, bool binaryOnDisk);

/// 0 when every row found its file, 1 otherwise.
int exitCodeFor(const std::vector<ResolveRow>& rows);

}  // namespace ffcli
