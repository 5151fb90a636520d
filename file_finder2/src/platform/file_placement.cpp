// Files that appear under their final name only once they are complete: each is written
// to a new file beside its target, flushed to disk, and renamed into place.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "platform/posix.h"

namespace FF_2_13 {
namespace posix {

namespace {

// Names taken by other writers, or left by crashed runs, tried before giving up.
constexpr int kTemporaryNameAttempts = 100;
constexpr size_t kCopyBufferSize = 64 * 1024;

std::atomic<unsigned> g_temporaryFileCounter{0};

std::string errnoText(const std::string& what, int error) {
    return what + ": " + std::system_category().message(error);
}

// "/a/b/history.json" -> "/a/b"; "history.json" -> "."; "/history.json" -> "/".
std::string directoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// A rename reaches the disk with its directory. Should that flush fail, the new file is
// in place all the same: the caller's answer does not change.
void flushDirectoryOf(const std::string& path) {
    FileDescriptor directory(::open(directoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.isOpen()) (void)::fsync(directory.get());
}

bool copyContents(int from, int to) {
    std::vector<char> buffer(kCopyBufferSize);
    for (;;) {
        const std::ptrdiff_t got = readSome(from, buffer.data(), buffer.size());
        if (got <= 0) return got == 0;
        if (!writeAll(to, buffer.data(), static_cast<size_t>(got))) return false;
    }
}

// Moves `from` to `to` unless `to` exists: 0, or errno (EEXIST: someone was faster).
int renameNoReplace(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // File systems without the flag: a hard link fails on an existing name too.
    if (::link(from, to) != 0) return errno;
    ::unlink(from);
    return 0;
}

}  // namespace

FileDescriptor createFileBeside(const std::string& target, unsigned mode, std::string& name) {
    for (int attempt = 0; attempt < kTemporaryNameAttempts; ++attempt) {
        name = target + ".tmp-" + std::to_string(::getpid()) + "-" +
               std::to_string(g_temporaryFileCounter++);
        FileDescriptor fd(
            ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
        if (fd.isOpen() || errno != EEXIST) return fd;
    }
    return FileDescriptor();  // errno: EEXIST
}

CopyResult copyFileIntoPlace(const char* source, const char* target, unsigned mode) {
    FileStatus status;
    FileDescriptor in = openRegularFile(source, status);
    if (!in.isOpen()) return CopyResult::failed;
    std::string temporary;
    FileDescriptor out = createFileBeside(target, mode, temporary);
    if (!out.isOpen()) return CopyResult::failed;
    const bool written =
        copyContents(in.get(), out.get()) && ::fsync(out.get()) == 0 && out.close();
    const int renamed = written ? renameNoReplace(temporary.c_str(), target) : errno;
    if (renamed == 0) return CopyResult::done;
    ::unlink(temporary.c_str());
    errno = renamed;
    return renamed == EEXIST ? CopyResult::targetExists : CopyResult::failed;
}

FileReplacement::FileReplacement(std::string path, unsigned newFileMode)
    : m_path(std::move(path)), m_newFileMode(newFileMode) {}

FileReplacement::~FileReplacement() {
    if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
}

bool FileReplacement::write(const std::string& contents, std::string& error) {
    std::string temporary;
    FileDescriptor fd = createFileBeside(m_path, m_newFileMode, temporary);
    if (!fd.isOpen()) {
        error = errnoText("cannot create \"" + temporary + "\"", errno);
        return false;
    }
    m_temporary = temporary;  // removed from here on unless committed
    auto fail = [&](const std::string& what) {
        error = errnoText(what, errno);
        return false;
    };
    struct stat old;
    if (::stat(m_path.c_str(), &old) == 0 && S_ISREG(old.st_mode) &&
        ::fchmod(fd.get(), old.st_mode & 07777) != 0)
        return fail("cannot give \"" + temporary + "\" the permissions of \"" + m_path + "\"");
    if (!writeAll(fd.get(), contents.data(), contents.size()))
        return fail("cannot write \"" + temporary + "\"");
    if (::fsync(fd.get()) != 0) return fail("cannot flush \"" + temporary + "\"");
    if (!fd.close()) return fail("cannot close \"" + temporary + "\"");
    return true;
}

bool FileReplacement::commit(std::string& error) {
    if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        error = errnoText("cannot rename \"" + m_temporary + "\" to \"" + m_path + "\"", errno);
        return false;
    }
    m_temporary.clear();
    flushDirectoryOf(m_path);
    return true;
}

bool replaceFileAtomically(const std::string& path, const std::string& contents,
                           std::string& error) {
    FileReplacement replacement(path);
    return replacement.write(contents, error) && replacement.commit(error);
}

}  // namespace posix
}  // namespace FF_2_13
