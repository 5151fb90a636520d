// Operating-system calls on directories: opening them by name or relative to an open
// parent, and reading their listings straight from the kernel.
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>

#include <cerrno>
#include <limits>

#include "platform/posix.h"

namespace FF_2_13 {
namespace posix {

namespace {
// Large enough that an ordinary directory comes in one read (the C library's own size).
constexpr size_t kListingBufferSize = 32 * 1024;
constexpr int kDirectoryOpenFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

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

FileDescriptor openDirectory(const char* path) {
    return FileDescriptor(::open(path, kDirectoryOpenFlags));
}

FileDescriptor openDirectoryIn(const FileDescriptor& parent, const char* name) {
    return FileDescriptor(::openat(parent.get(), name, kDirectoryOpenFlags));
}

size_t openDescriptorLimit(size_t fallback) {
    struct rlimit limit;
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
        limit.rlim_cur > std::numeric_limits<size_t>::max())
        return fallback;
    return static_cast<size_t>(limit.rlim_cur);
}

void DirectoryReader::start(const FileDescriptor& dir) {
    if (!m_buffer) m_buffer.reset(new char[kListingBufferSize]);
    m_fd = dir.get();
    m_filled = 0;
    m_offset = 0;
}

bool DirectoryReader::next(Entry& entry, int& error) {
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

}  // namespace posix
}  // namespace FF_2_13
