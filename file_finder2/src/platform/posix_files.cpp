// Operating-system calls on descriptors and single files: reading, writing, links and
// private directories.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/posix.h"

namespace FF_2_13 {
namespace posix {

namespace {
// Large enough that a small file comes in one read and its end in a second.
constexpr size_t kWholeFileReadSize = 64 * 1024;
}  // namespace

FileDescriptor::~FileDescriptor() {
    if (m_fd < 0) return;
    const int saved = errno;
    ::close(m_fd);
    errno = saved;
}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        FileDescriptor old(m_fd);  // closed on the way out, errno kept
        m_fd = other.m_fd;
        other.m_fd = -1;
    }
    return *this;
}

bool FileDescriptor::close() noexcept {
    const int fd = m_fd;
    m_fd = -1;
    return fd < 0 || ::close(fd) == 0;
}

void adviseSequentialReading(int fd) {
    (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
}

std::ptrdiff_t readSome(int fd, void* buffer, size_t size) {
    for (;;) {
        const ssize_t count = ::read(fd, buffer, size);
        if (count >= 0 || errno != EINTR) return count;
    }
}

std::ptrdiff_t readSomeAt(int fd, std::uint64_t offset, void* buffer, size_t size) {
    for (;;) {
        const ssize_t count = ::pread(fd, buffer, size, static_cast<off_t>(offset));
        if (count >= 0 || errno != EINTR) return count;
    }
}

bool writeAll(int fd, const void* data, size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(fd, next, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        next += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool readWholeFile(const char* path, std::string& contents) {
    FileDescriptor fd(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!fd.isOpen()) return false;
    contents.clear();
    std::string buffer(kWholeFileReadSize, '\0');
    for (;;) {
        const std::ptrdiff_t count = readSome(fd.get(), &buffer[0], buffer.size());
        if (count < 0) return false;
        if (count == 0) return true;
        contents.append(buffer, 0, static_cast<size_t>(count));
    }
}

bool isRegularFileNoFollow(const char* path) {
    struct stat st;
    return path && ::lstat(path, &st) == 0 && S_ISREG(st.st_mode);
}

bool isLinkToRegularFile(const char* path) {
    struct stat link, st;
    return path && ::lstat(path, &link) == 0 && S_ISLNK(link.st_mode) && ::stat(path, &st) == 0 &&
           S_ISREG(st.st_mode);
}

bool makePrivateDirectory(const char* path) {
    return path && ::mkdir(path, 0700) == 0;
}

int makeHardLink(const char* existing, const char* newName) {
    return ::link(existing, newName) == 0 ? 0 : errno;
}

std::string openDescriptorPath(int fd) {
    std::string path = "/proc/self/fd/" + std::to_string(fd);
    struct stat st;
    return ::stat(path.c_str(), &st) == 0 ? path : std::string();
}

}  // namespace posix
}  // namespace FF_2_13
