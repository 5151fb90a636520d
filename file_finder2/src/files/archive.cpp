// Archiving of files and private temporary directories.
//
// archiveFile keeps a file at <archive>/[<sub>/]<name>/<md5>/<name>:
//   1. create each directory level that is missing;
//   2. compute the file's MD5 (the digest names the version of the file);
//   3. report an existing regular file at the target as already archived (6), and a
//      symbolic link there when it leads to a regular file of the same digest;
//   4. copy into a temporary file beside the target, created exclusively and never
//      through a symbolic link, and rename it into place without replacing anything, so
//      that a crash or a full disk never leaves a torn file under the final name;
//   5. remove the source only after the copy is complete, when asked.
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "base/log.h"
#include "ff_checksum.h"
#include "ff_utils.h"
#include "platform/posix.h"
#include "tarnbase2/tarnbase2.h"

namespace FF_2_13 {
namespace utils {

namespace {

constexpr const char* kLogSource = log_source::kUtils;
constexpr int kTempDirAttempts = 30;

// Another thread or process may make the same level at the same moment: a directory
// that stands there afterwards, whoever made it, is what counts.
bool ensureDirectory(const std::string& dir) {
    return isDirectory(dir.c_str()) || createDir(dir.c_str()) || isDirectory(dir.c_str());
}

// A regular file under the final name is the archived copy. So is a symbolic link to a
// regular file with the digest the path names (an archive arranged by hand, or shared
// between machines): its content is what would be copied. A link to anything else, or
// to other bytes, is left alone and refused.
bool holdsArchivedCopy(const std::string& target, const IChecksum& md5) {
    if (posix::isRegularFileNoFollow(target.c_str())) return true;
    if (!posix::isLinkToRegularFile(target.c_str())) return false;
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    ObjectPtr<IChecksum> linked =
        calculator ? calculator->calculateChecksum(target.c_str(), ctMD5) : ObjectPtr<IChecksum>();
    return linked && linked->isEqualTo(md5);
}

}  // namespace

unsigned int archiveFile(const char* file, const char* archiveDir, const char* subDir,
                         std::string& archivedPath, bool removeSource) {
    if (isStringEmpty(file) || isStringEmpty(archiveDir)) return kArchiveCannotCreateDirectory;
    std::string path = archiveDir;
    if (!ensureDirectory(path)) return kArchiveCannotCreateDirectory;
    if (subDir) {
        path = addSubPart(path.c_str(), subDir);
        if (!ensureDirectory(path)) return kArchiveCannotCreateDirectory;
    }
    const std::string name = getFileNameOnly(file);
    path = addSubPart(path.c_str(), name.c_str());
    if (!ensureDirectory(path)) return kArchiveCannotCreateDirectory;

    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    if (!calculator) return kArchiveNoCalculator;
    ObjectPtr<IChecksum> md5 = calculator->calculateChecksum(file, ctMD5);
    if (!md5) return kArchiveNoChecksum;

    path = addSubPart(path.c_str(), md5->value());
    if (!ensureDirectory(path)) return kArchiveCannotCreateDirectory;

    const std::string target = addSubPart(path.c_str(), name.c_str());
    archivedPath = target;
    if (holdsArchivedCopy(target, *md5)) return kArchiveAlreadyThere;

    switch (posix::copyFileIntoPlace(file, target.c_str())) {
        case posix::CopyResult::done:
            break;
        case posix::CopyResult::targetExists:  // another thread or process was faster
            return holdsArchivedCopy(target, *md5) ? kArchiveAlreadyThere : kArchiveCopyFailed;
        case posix::CopyResult::failed:
            return kArchiveCopyFailed;
    }
    if (removeSource) removeFile(file);  // a source that stays is harmless
    return kArchiveDone;
}

unsigned int createUniqueTempDir(std::string& dir) {
    const char* base = tarnbase2::IProductLocations::get()->userDataDir();
    boost::system::error_code ignored;  // a missing base shows as 30 failed attempts below
    boost::filesystem::create_directories(base, ignored);
    for (int attempt = 0; attempt < kTempDirAttempts; ++attempt) {
        const std::string name = boost::filesystem::unique_path("ff-%%%%-%%%%-%%%%-%%%%").string();
        const std::string candidate = addSubPart(base, name.c_str());
        // Private to its user: fetched files of a remote system wait here.
        if (posix::makePrivateDirectory(candidate.c_str())) {
            dir = candidate;
            return kArchiveDone;
        }
    }
    FF_LOG_ERROR_AT(kLogSource, log_source::kTempDirFailureLine, "Cannot create temp directory");
    return kArchiveCannotCreateDirectory;
}

}  // namespace utils
}  // namespace FF_2_13
