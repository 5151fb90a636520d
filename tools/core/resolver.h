// File: resolver.h
//
// Resolving many requests through a FileLocator, as `file-finder resolve` does:
//
// - a list of requests (a manifest) is answered in order, each distinct request once;
// - a list of binaries (the modules of a process) is answered binary by binary: first the
//   binary itself, then, when it was found, its symbol file under the names a Linux
//   system files it by (symbolFileNames): the build-id name, the debug link name, and the
//   binary itself when it carries its own debug information. The first name that finds
//   a file ends the symbol search.
//
// A search that throws std::exception (a directory that cannot be listed, a file that
// vanished) is recorded for its request and the others go on.
//
//   Resolver resolver(locator, [](std::size_t done, std::size_t total) { ... });
//   std::vector<ResolveRow> rows = resolver.resolveModules({"/usr/bin/ls"});
//   return exitCodeFor(rows);
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "core/elf_debug_links.h"
#include "core/search_request.h"

namespace ffcli {

struct ResolveRow {
    Request request;
    Outcome outcome;
    /// Symbol files of a module: the names tried besides request.name, in order.
    std::vector<std::string> otherNames;
};

/// Told after each answered request: how many are done, how many are known so far.
using ResolveProgress = std::function<void(std::size_t done, std::size_t total)>;

class Resolver {
public:
    explicit Resolver(FileLocator& locator, ResolveProgress progress = {});

    /// One row per distinct request (a repeated one is answered once, where it first
    /// stands).
    std::vector<ResolveRow> resolveRequests(const std::vector<Request>& requests);

    /// Per distinct binary, its row and, when it was found, the row of its symbol file.
    std::vector<ResolveRow> resolveModules(const std::vector<std::string>& binaries);

private:
    Outcome answer(const Request& request);
    ResolveRow resolveSymbolFile(const std::string& binary);
    void tick();

    FileLocator& m_locator;
    ResolveProgress m_progress;
    std::size_t m_done = 0;
    std::size_t m_total = 0;
};

/// The names to look for the symbol file of `binary` under, best first: the build-id name
/// (".build-id/xx/rest.debug"), the debug link name, then `binary` itself when it
/// carries debug information. Empty when the binary names none of these.
std::vector<std::string> symbolFileNames(const ElfDebugLinks& links, const std::string& binary);

/// 0 when every row found its file, 1 otherwise.
int exitCodeFor(const std::vector<ResolveRow>& rows);

}  // namespace ffcli
