// Operating-system calls for copying files into place and making private directories.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "platform/posix.h"

namespace FF_2_13 {
namespace posix {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return m_fd; }
    bool close() {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

bool writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool copyContents(int from, int to) {
    std::vector<char> buffer(1 << 16);
    for (;;) {
        const ssize_t got = ::read(from, buffer.data(), buffer.size());
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (got == 0) return true;
        if (!writeAll(to, buffer.data(), static_cast<size_t>(got))) return false;
    }
}

std::string temporaryNameBeside(const std::string& target) {
    static thread_local std::mt19937_64 random{std::random_device{}()};
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, ".part-%016llx",
                  static_cast<unsigned long long>(random()));
    return target + suffix;
}

// Moves `from` to `to` unless `to` exists. EEXIST tells the caller someone was faster.
int renameNoReplace(const char* from, const char* to) {
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS) return errno;
    // File systems without the flag: a hard link fails on an existing name too.
    if (::link(from, to) != 0) return errno;
    ::unlink(from);
    return 0;
}

}  // namespace

bool isRegularFileNoFollow(const char* path) {
    struct stat st;
    return path && ::lstat(path, &st) == 0 && S_ISREG(st.st_mode);
}

bool makePrivateDirectory(const char* path) {
    return path && ::mkdir(path, 0700) == 0;
}

CopyResult copyFileIntoPlace(const char* source, const char* target) {
    FileDescriptor in(::open(source, O_RDONLY | O_CLOEXEC));
    if (in.get() < 0) return CopyResult::failed;
    struct stat st;
    if (::fstat(in.get(), &st) != 0 || !S_ISREG(st.st_mode)) return CopyResult::failed;

    const std::string temporary = temporaryNameBeside(target);
    FileDescriptor out(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (out.get() < 0) return CopyResult::failed;
    const bool written = copyContents(in.get(), out.get()) && ::fsync(out.get()) == 0;
    if (!out.close() || !written) {
        ::unlink(temporary.c_str());
        return CopyResult::failed;
    }
    const int renamed = renameNoReplace(temporary.c_str(), target);
    if (renamed != 0) {
        ::unlink(temporary.c_str());
        return renamed == EEXIST ? CopyResult::targetExists : CopyResult::failed;
    }
    return CopyResult::done;
}

}  // namespace posix
}  // namespace FF_2_13
