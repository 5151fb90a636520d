#include "remote/debuginfod_miss_markers.h"

#include <sys/stat.h>
#include <unistd.h>

#include <boost/filesystem.hpp>
#include <cstdlib>

#include "platform/posix.h"

namespace FF_2_13 {

namespace {

std::string nonEmptyVariable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool isNewEmptyFile(const std::string& path, std::int64_t sinceSeconds) {
    posix::FileStatus status;
    return posix::statFile(path.c_str(), status) && status.isRegular && status.size == 0 &&
           status.modificationTime >= sinceSeconds;
}

}  // namespace

std::string debuginfodCacheDirectory() {
    const std::string own = nonEmptyVariable("DEBUGINFOD_CACHE_PATH");
    if (!own.empty()) return own;
    std::string home = nonEmptyVariable("HOME");
    if (home.empty()) home = "/";
    const std::string legacy = home + "/.debuginfod_client_cache";
    struct stat status;
    if (::stat(legacy.c_str(), &status) == 0) return legacy;
    const std::string xdg = nonEmptyVariable("XDG_CACHE_HOME");
    return (xdg.empty() ? home + "/.cache" : xdg) + "/debuginfod_client";
}

void forgetMissMarkers(remote_file_kind_t kind, const std::string& buildId,
                       std::int64_t sinceSeconds) {
    const std::string dir = debuginfodCacheDirectory() + "/" + buildId;
    if (kind != rfSource) {
        const std::string marker = dir + (kind == rfDebugFile ? "/debuginfo" : "/executable");
        if (isNewEmptyFile(marker, sinceSeconds)) ::unlink(marker.c_str());
        return;
    }
    boost::system::error_code error;
    for (boost::filesystem::directory_iterator it(dir, error), end; !error && it != end;
         it.increment(error)) {
        const std::string path = it->path().string();
        if (it->path().filename().string().rfind("source", 0) == 0 &&
            isNewEmptyFile(path, sinceSeconds))
            ::unlink(path.c_str());
    }
}

}  // namespace FF_2_13
