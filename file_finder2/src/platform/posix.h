// The few operating-system calls the library makes, behind small functions in one place
// (posix.cpp), so that the rest of src/ includes no <sys/...> header.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace FF_2_13 {
namespace posix {

/// What the library reads of a file's status (following symbolic links).
struct FileStatus {
    uint64_t inode = 0;
    uint64_t device = 0;
    int64_t modificationTime = 0;  // seconds
    uint64_t size = 0;
    bool isDirectory = false;
    bool isRegular = false;
    uint32_t mode = 0;  // st_mode: type and permission bits
};

/// The longest path the system takes in one call is one byte shorter (PATH_MAX counts
/// the terminating NUL): a longer name fails with ENAMETOOLONG whatever it names.
constexpr size_t kPathMax = 4096;

/// stat() of `path`; false when it fails.
bool statFile(const char* path, FileStatus& status);

/// True when `path` can be opened for reading (it is opened and closed at once). Does
/// not wait on a FIFO without a writer.
bool canOpenForReading(const char* path);

/// Release of the running kernel (`uname`), or false.
bool runningKernelRelease(std::string& release);

/// Login name of the process's user: getlogin_r, else the effective user's
/// password entry; false when neither gives a name.
bool loginName(std::string& name);

/// True when `path` itself (not what a symbolic link points to) is a regular file.
bool isRegularFileNoFollow(const char* path);

/// Creates one directory with mode 0700; false when it exists or cannot be made.
bool makePrivateDirectory(const char* path);

enum class CopyResult { done, targetExists, failed };
/// Copies `source` to `target` without ever exposing a partial file under `target`:
/// the bytes go to a temporary file beside it (created exclusively, not through a
/// symbolic link), which is flushed to disk and then renamed to `target` without
/// replacing an existing entry. On any failure the temporary file is removed.
CopyResult copyFileIntoPlace(const char* source, const char* target);
/// Creates `path` as a new, empty regular file open for writing: never over an existing
/// entry and never through a symbolic link (O_CREAT | O_EXCL | O_NOFOLLOW), mode 0666
/// less the umask, as a stream would create it. Returns the descriptor, or -1.
int createNewFile(const char* path);

/// A name that opens the very file behind the open descriptor `fd`, whatever has become
/// of its directory entry since: "/proc/self/fd/<fd>". Empty when /proc is not mounted.
std::string openDescriptorPath(int fd);

/// Closes a descriptor from createNewFile.
void closeDescriptor(int fd);
/// Replaces the file `path` with `contents` so that a reader, or the file system after a
/// crash, sees the old file or the new one and never a mix: the text goes to a new
/// temporary file beside `path` ("<path>.tmp-<pid>-<n>"), is flushed to disk, takes the
/// old file's permission bits and is renamed over `path`. On failure the temporary file
/// is removed, `path` is untouched and `error` says which step failed and why.
bool replaceFileAtomically(const std::string& path, const std::string& contents,
                           std::string& error);

/// The spin lock's back-off between two looks at its state.
void spinBackoff();

/// Test seam: replaces the back-off (null restores the 10 ms sleep). Not thread-safe;
/// set it before the threads that use spin locks start.
using BackoffHook = void (*)();
void setSpinBackoffHook(BackoffHook hook);

/// The type of a directory entry as the listing itself reports it, before any stat.
enum class EntryKind { directory, symbolicLink, unknown, other };

/// One directory listing read straight from the kernel (getdents64), so that every entry
/// comes with its type and needs no stat of its own. The directory is opened with
/// O_DIRECTORY: a name that is not a directory fails with ENOTDIR without being opened
/// (a FIFO never blocks). One object lists one directory at a time and may be opened
/// again after close(); the destructor closes what is still open. Errors are errno values.
class DirectoryListing {
  public:
    struct Entry {
        const char* name = nullptr;  // valid until the next call of next()
        EntryKind kind = EntryKind::unknown;
    };

    DirectoryListing() noexcept = default;
    ~DirectoryListing();
    DirectoryListing(const DirectoryListing&) = delete;
    DirectoryListing& operator=(const DirectoryListing&) = delete;

    /// Opens `path`, following symbolic links (closing any listing still open): 0 or errno.
    int open(const char* path);
    /// Status of the open directory itself (fstat): 0 or errno.
    int status(FileStatus& status) const;
    /// The next entry other than "." and "..": true with `entry` set; false at the end
    /// (`error` 0) or when reading failed (`error` set).
    bool next(Entry& entry, int& error);
    /// Status of entry `name` of the open directory, following symbolic links (fstatat
    /// relative to the listing, no path walk from the root): 0 or errno.
    int entryStatus(const char* name, FileStatus& status) const;
    void close() noexcept;

  private:
    int m_fd = -1;
    std::unique_ptr<char[]> m_buffer;  // kept between listings: one allocation per object
    size_t m_filled = 0;
    size_t m_offset = 0;
};

}  // namespace posix
}  // namespace FF_2_13
