#include "core/resolver.h"

#include <algorithm>
#include <set>

#include "core/exit_codes.h"

namespace ffcli {

Resolver::Resolver(FileLocator& locator, ResolveProgress progress)
    : m_locator(locator), m_progress(std::move(progress)) {}

Outcome Resolver::answer(const Request& request) {
    Outcome outcome;
    try {
        outcome = m_locator.locate(request);
    } catch (const std::exception& e) {
        outcome = Outcome();
        outcome.error = e.what();
    }
    tick();
    return outcome;
}

void Resolver::tick() {
    ++m_done;
    if (m_progress) m_progress(m_done, std::max(m_done, m_total));
}

namespace {

// Equal for equal requests, different otherwise: every field, each ended by a NUL.
std::string requestKey(const Request& request) {
    std::string key = kindWord(request.kind);
    for (const std::string& field :
         {request.name, request.binary, request.checksum ? request.checksum->text() : "",
          request.modificationTime ? std::to_string(*request.modificationTime) : "",
          request.size ? std::to_string(*request.size) : ""})
        key += '\0' + field;
    return key;
}

}  // namespace

std::vector<ResolveRow> Resolver::resolveRequests(const std::vector<Request>& requests) {
    std::vector<ResolveRow> rows;
    std::set<std::string> seen;
    m_total += requests.size();
    for (const Request& request : requests) {
        if (!seen.insert(requestKey(request)).second) {
            --m_total;
            continue;
        }
        rows.push_back({request, answer(request), {}});
    }
    return rows;
}

std::vector<ResolveRow> Resolver::resolveModules(const std::vector<std::string>& binaries) {
    std::vector<ResolveRow> rows;
    std::set<std::string> seen;
    // Two searches per module, the binary and its symbol file, as far as is known now.
    m_total += 2 * binaries.size();
    for (const std::string& binary : binaries) {
        if (!seen.insert(binary).second) {
            m_total -= 2;
            continue;
        }
        Request request;
        request.kind = RequestKind::kBinary;
        request.name = binary;
        rows.push_back({request, answer(request), {}});
        const Outcome& found = rows.back().outcome;
        if (found.found()) {
            rows.push_back(resolveSymbolFile(found.path));
        } else {
            --m_total;
        }
    }
    return rows;
}

ResolveRow Resolver::resolveSymbolFile(const std::string& binary) {
    ResolveRow row;
    row.request.kind = RequestKind::kSymbol;
    row.request.binary = binary;
    const ElfReadResult elf = readElfDebugLinks(binary);
    const std::vector<std::string> names = elf.status == ElfReadStatus::kOk
                                               ? symbolFileNames(elf.links, binary)
                                               : std::vector<std::string>();
    if (names.empty()) {
        row.request.name = binary;
        switch (elf.status) {
            case ElfReadStatus::kCannotOpen:
                row.outcome.error = "cannot read the binary: " + elf.error;
                break;
            case ElfReadStatus::kNotElf:
                row.outcome.error = "the binary is not an ELF file, so it names no symbol file";
                break;
            case ElfReadStatus::kOk:
                row.outcome.error =
                    "the binary names no separate debug file (no build-id note, no "
                    ".gnu_debuglink) and carries no debug information";
                break;
        }
        tick();
        return row;
    }
    Outcome combined;
    for (std::size_t i = 0; i < names.size(); ++i) {
        Request attempt = row.request;
        attempt.name = names[i];
        if (i > 0) ++m_total;
        Outcome outcome = answer(attempt);
        combined.rejected.insert(combined.rejected.end(), outcome.rejected.begin(),
                                 outcome.rejected.end());
        if (!outcome.error.empty()) combined.error = outcome.error;
        if (outcome.found()) {
            row.request.name = names[i];
            row.otherNames.assign(names.begin(), names.begin() + i);
            combined.path = outcome.path;
            combined.confidence = outcome.confidence;
            combined.step = outcome.step;
            combined.error.clear();
            break;
        }
    }
    if (!combined.found()) {
        row.request.name = names.front();
        row.otherNames.assign(names.begin() + 1, names.end());
    }
    row.outcome = combined;
    return row;
}

std::vector<std::string> symbolFileNames(const ElfDebugLinks& links, const std::string& binary) {
    std::vector<std::string> names;
    if (!links.buildIdPath().empty()) names.push_back(links.buildIdPath());
    if (!links.debugLink.empty()) names.push_back(links.debugLink);
    if (links.hasDebugInfo) names.push_back(binary);
    return names;
}

int exitCodeFor(const std::vector<ResolveRow>& rows) {
    const bool allFound = std::all_of(rows.begin(), rows.end(),
                                      [](const ResolveRow& row) { return row.outcome.found(); });
    return allFound ? kExitAllFound : kExitNotFound;
}

}  // namespace ffcli
