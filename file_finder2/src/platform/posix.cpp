// Operating-system calls of the library: the status of files, the system's names for the
// kernel and the user, the spin lock's back-off, and directory listings.
#include "platform/posix.h"

#include <dirent.h>
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

namespace {
// Large enough that an ordinary directory comes in one read (the C library's own size).
constexpr size_t kListingBufferSize = 32 * 1024;

EntryKind entryKind(unsigned char type) {
    switch (type) {
        case DT_DIR:
            return EntryKind::directory;
        case DT_LNK:
            return EntryKind::symbolicLink;
        case DT_UNKNOWN:
            return EntryKind::unknown;
        default:
            return EntryKind::other;
    }
}
}  // namespace

DirectoryListing::~DirectoryListing() {
    close();
}

int DirectoryListing::open(const char* path) {
    close();
    if (!m_buffer) m_buffer.reset(new char[kListingBufferSize]);
    m_fd = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return m_fd < 0 ? errno : 0;
}

int DirectoryListing::status(FileStatus& status) const {
    struct stat st;
    if (::fstat(m_fd, &st) != 0) return errno;
    fillStatus(st, status);
    return 0;
}

bool DirectoryListing::next(Entry& entry, int& error) {
    error = 0;
    for (;;) {
        if (m_offset >= m_filled) {
            const ssize_t got = ::getdents64(m_fd, m_buffer.get(), kListingBufferSize);
            if (got < 0) error = errno;
            if (got <= 0) return false;
            m_filled = static_cast<size_t>(got);
            m_offset = 0;
        }
        const auto* record = reinterpret_cast<const struct dirent64*>(m_buffer.get() + m_offset);
        m_offset += record->d_reclen;
        const char* name = record->d_name;
        if (record->d_ino == 0) continue;  // a deleted entry, as readdir skips them
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
        entry.name = name;
        entry.kind = entryKind(record->d_type);
        return true;
    }
}

int DirectoryListing::entryStatus(const char* name, FileStatus& status) const {
    struct stat st;
    if (::fstatat(m_fd, name, &st, 0) != 0) return errno;
    fillStatus(st, status);
    return 0;
}

void DirectoryListing::close() noexcept {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
    m_filled = 0;
    m_offset = 0;
}

}  // namespace posix
}  // namespace FF_2_13
