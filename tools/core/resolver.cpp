#include "core/resolver.h"

#include <algorithm>
#include <set>

#include "core/exit_codes.h"

namespace ffcli {

using FF_2_13::IFileIdentity;
using FF_2_13::irsElf;
using FF_2_13::ObjectPtr;

namespace {

// Equal for equal requests, different otherwise: every field, each ended by a NUL.
std::string requestKey(const Request& request) {
    std::string key = kindWord(request.kind);
    for (const std::string& field :
         {request.name, request.binary, request.checksum ? request.checksum->text() : "",
          request.modificationTime ? std::to_string(*request.modificationTime) : "",
          request.size ? std::to_string(*request.size) : "", request.buildId()})
        key += '\0' + field;
    return key;
}

bool readable(const ObjectPtr<IFileIdentity>& identity) {
    return identity && identity->status() == irsElf;
}

// Why a module's symbol file has no name to be looked for under.
std::string noNamesReason(const IFileIdentity& identity) {
    switch (identity.status()) {
        case FF_2_13::irsCannotOpen:
            return std::string("cannot read the binary: ") + identity.error();
        case FF_2_13::irsNotElf:
            return "the binary is not an ELF file, so it names no symbol file";
        default:
            return "the binary names no separate debug file (no build-id note, no "
                   ".gnu_debuglink) and carries no debug information";
    }
}

}  // namespace

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

std::vector<ResolveRow> Resolver::resolveRequests(const std::vector<Request>& requests) {
    std::vector<ResolveRow> rows;
    std::set<std::string> seen;
    m_total += requests.size();
    for (const Request& request : requests) {
        if (!seen.insert(requestKey(request)).second) {
            --m_total;
            continue;
        }
        rows.push_back({request, answer(request), {}, {}});
    }
    return rows;
}

std::vector<ResolveRow> Resolver::resolveUnderNames(const Request& request,
                                                    const std::vector<std::string>& names) {
    ++m_total;
    return {firstFound(request, names)};
}

// The caller has counted one search; each further name counts one more.
ResolveRow Resolver::firstFound(const Request& request, const std::vector<std::string>& names) {
    ResolveRow row;
    row.request = request;
    Outcome combined;
    for (std::size_t i = 0; i < names.size(); ++i) {
        Request attempt = request;
        attempt.name = names[i];
        if (i > 0) ++m_total;
        Outcome outcome = answer(attempt);
        // What every name met belongs to the row: its reason counts all of it.
        combined.rejected.insert(combined.rejected.end(), outcome.rejected.begin(),
                                 outcome.rejected.end());
        combined.tried.insert(combined.tried.end(), outcome.tried.begin(), outcome.tried.end());
        if (!outcome.error.empty()) combined.error = outcome.error;
        if (!outcome.serverMiss.empty()) combined.serverMiss = outcome.serverMiss;
        if (outcome.found()) {
            row.request.name = names[i];
            row.otherNames.assign(names.begin(), names.begin() + i);
            combined.path = outcome.path;
            combined.confidence = outcome.confidence;
            combined.step = outcome.step;
            combined.server = outcome.server;
            combined.serverMiss.clear();
            combined.error.clear();
            break;
        }
    }
    if (names.empty()) {
        tick();
    } else if (!combined.found()) {
        row.request.name = names.front();
        row.otherNames.assign(names.begin() + 1, names.end());
    }
    row.outcome = combined;
    return row;
}

std::vector<ResolveRow> Resolver::resolveModules(const std::vector<ModuleToResolve>& modules) {
    std::vector<ResolveRow> rows;
    std::set<std::string> seen;
    // Two searches per module, the binary and its symbol file, as far as is known now.
    m_total += 2 * modules.size();
    for (const ModuleToResolve& module : modules) {
        const std::string buildId = module.identity ? module.identity->buildId() : "";
        if (!seen.insert(module.path + '\0' + buildId).second) {
            m_total -= 2;
            continue;
        }
        Outcome binary;
        if (module.inMemoryOnly) {
            --m_total;
        } else {
            Request request;
            request.kind = RequestKind::kBinary;
            request.name = module.path;
            if (readable(module.identity)) request.identity = module.identity;
            binary = answer(request);
            rows.push_back({request, binary, {}, module.load});
        }
        if (binary.found() || readable(module.identity))
            rows.push_back(resolveSymbolFile(module, binary));
        else
            --m_total;
    }
    return rows;
}

ResolveRow Resolver::resolveSymbolFile(const ModuleToResolve& module, const Outcome& binary) {
    Request request;
    request.kind = RequestKind::kSymbol;
    request.binary = binary.found() ? binary.path : module.path;
    request.identity = readable(module.identity) ? module.identity
                                                 : IFileIdentity::readFile(request.binary.c_str());
    const std::vector<std::string> names =
        symbolFileNames(*request.identity, request.binary, binary.found());
    ResolveRow row = firstFound(request, names);
    row.load = module.load;
    if (names.empty()) {
        row.request.name = request.binary;
        row.outcome.error = noNamesReason(*request.identity);
    }
    return row;
}

std::string buildIdBinaryName(const std::string& buildId) {
    if (buildId.size() < 4) return "";
    return ".build-id/" + buildId.substr(0, 2) + "/" + buildId.substr(2);
}

std::string buildIdDebugName(const std::string& buildId) {
    const std::string name = buildIdBinaryName(buildId);
    return name.empty() ? "" : name + ".debug";
}

std::vector<std::string> symbolFileNames(const IFileIdentity& identity, const std::string& binary,
                                         bool binaryOnDisk) {
    std::vector<std::string> names;
    const std::string byBuildId = buildIdDebugName(identity.buildId());
    if (!byBuildId.empty()) names.push_back(byBuildId);
    if (*identity.debugLink()) names.push_back(identity.debugLink());
    if (binaryOnDisk && identity.hasDebugInfo()) names.push_back(binary);
    return names;
}

int exitCodeFor(const std::vector<ResolveRow>& rows) {
    const bool allFound = std::all_of(rows.begin(), rows.end(),
                                      [](const ResolveRow& row) { return row.outcome.found(); });
    return allFound ? kExitAllFound : kExitNotFound;
}

}  // namespace ffcli
