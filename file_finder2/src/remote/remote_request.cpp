// What a search asks its remote source for.
#include "remote/remote_request.h"

#include <cctype>
#include <exception>

#include "elf/elf_identity_reader.h"
#include "ff_utils.h"

namespace FF_2_13 {

namespace {

constexpr char kBuildIdDir[] = ".build-id/";
constexpr char kDebugSuffix[] = ".debug";

bool isLowerHex(const std::string& text) {
    for (char c : text)
        if (!std::isxdigit(static_cast<unsigned char>(c)) ||
            std::isupper(static_cast<unsigned char>(c)))
            return false;
    return true;
}

std::string buildIdOfBinary(const char* binary) {
    if (utils::isStringEmpty(binary) || !utils::fileExists(binary)) return std::string();
    const ElfIdentity identity = readElfIdentity(binary);
    return identity.status == irsElf ? identity.buildId : std::string();
}

}  // namespace

std::string buildIdOfName(const std::string& name, bool debugFile) {
    const std::string::size_type dir = name.rfind(kBuildIdDir);
    if (dir == std::string::npos || (dir > 0 && name[dir - 1] != '/')) return std::string();
    std::string rest = name.substr(dir + sizeof kBuildIdDir - 1);  // "3a/9f00c1d2e4[.debug]"
    const std::string suffix = debugFile ? kDebugSuffix : "";
    if (rest.size() < suffix.size() ||
        rest.compare(rest.size() - suffix.size(), suffix.size(), suffix) != 0)
        return std::string();
    rest.erase(rest.size() - suffix.size());
    if (rest.size() < 5 || rest[2] != '/') return std::string();
    const std::string id = rest.substr(0, 2) + rest.substr(3);
    return isLowerHex(id) && id.size() % 2 == 0 ? id : std::string();
}

std::optional<RemoteRequest> remoteRequestOf(const SearchRequest& request) {
    RemoteRequest remote;
    switch (request.category) {
        case scBinaryFiles:
            remote.kind = rfExecutable;
            remote.buildId = buildIdOfName(request.fileName, false);
            break;
        case scSymbolFiles:
            remote.kind = rfDebugFile;
            remote.buildId = buildIdOfName(request.fileName, true);
            if (remote.buildId.empty()) remote.buildId = buildIdOfBinary(request.binaryFile);
            break;
        case scSourceFiles:
            // A server knows a source by the path the debug information records.
            if (!utils::isAbsolutePath(request.fileName)) return std::nullopt;
            remote.kind = rfSource;
            remote.sourcePath = request.fileName;
            remote.buildId = buildIdOfBinary(request.binaryFile);
            break;
        default:
            return std::nullopt;
    }
    if (remote.buildId.empty()) return std::nullopt;
    return remote;
}

ObjectPtr<IRemoteFile> fetchFrom(IRemoteSource& source, const RemoteRequest& request) {
    try {
        ObjectPtr<IRemoteFile> file =
            source.fetch(request.kind, request.buildId.c_str(),
                         request.kind == rfSource ? request.sourcePath.c_str() : nullptr);
        if (file) return file;
        return IRemoteFile::missed("the remote source gave no answer");
    } catch (const std::exception& e) {
        return IRemoteFile::missed((std::string("the remote source failed: ") + e.what()).c_str());
    } catch (...) {
        return IRemoteFile::missed("the remote source failed");
    }
}

}  // namespace FF_2_13
