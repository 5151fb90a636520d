// Operating-system calls of the library: the status of files, the system's names for the
// kernel and the user, and the spin lock's back-off.
#include "platform/posix.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <vector>

namespace FF_2_13 {
namespace posix {

namespace {
constexpr useconds_t kSpinBackoffMicroseconds = 10000;
std::atomic<BackoffHook> g_backoffHook{nullptr};

void fillStatus(const struct stat& st, FileStatus& status) {
    status.inode = st.st_ino;
    status.device = st.st_dev;
    status.modificationTime = static_cast<int64_t>(st.st_mtime);
    status.size = static_cast<uint64_t>(st.st_size);
    status.isDirectory = S_ISDIR(st.st_mode);
    status.isRegular = S_ISREG(st.st_mode);
    status.mode = st.st_mode;
}
}  // namespace

bool statFile(const char* path, FileStatus& status) {
    struct stat st;
    if (!path || ::stat(path, &st) != 0) return false;
    fillStatus(st, status);
    return true;
}

int descriptorStatus(const FileDescriptor& fd, FileStatus& status) {
    struct stat st;
    if (::fstat(fd.get(), &st) != 0) return errno;
    fillStatus(st, status);
    return 0;
}

int statusIn(const FileDescriptor& dir, const char* name, FileStatus& status) {
    struct stat st;
    if (::fstatat(dir.get(), name, &st, 0) != 0) return errno;
    fillStatus(st, status);
    return 0;
}

bool canOpenForReading(const char* path) {
    return path &&
           FileDescriptor(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)).isOpen();
}

FileDescriptor openRegularFile(const char* path, FileStatus& status) {
    if (!path) {
        errno = EFAULT;
        return FileDescriptor();
    }
    // O_NONBLOCK: opening a FIFO must not wait for a writer; it is refused below anyway.
    FileDescriptor fd(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat st;
    if (!fd.isOpen() || ::fstat(fd.get(), &st) != 0) return FileDescriptor();
    if (!S_ISREG(st.st_mode)) {
        errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
        return FileDescriptor();
    }
    fillStatus(st, status);
    return fd;
}

bool runningKernelRelease(std::string& release) {
    struct utsname names;
    if (::uname(&names) != 0) return false;
    release = names.release;
    return true;
}

bool loginName(std::string& name) {
    // The re-entrant forms: the plain ones return static buffers that another thread
    // may overwrite while we copy.
    char login[256];
    if (::getlogin_r(login, sizeof login) == 0 && login[0] != '\0') {
        name = login;
        return true;
    }
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
    struct passwd entry;
    struct passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_name && found->pw_name[0] != '\0') {
        name = found->pw_name;
        return true;
    }
    return false;
}

void spinBackoff() {
    if (BackoffHook hook = g_backoffHook.load()) {
        hook();
        return;
    }
    ::usleep(kSpinBackoffMicroseconds);
}

void setSpinBackoffHook(BackoffHook hook) {
    g_backoffHook.store(hook);
}

}  // namespace posix
}  // namespace FF_2_13
