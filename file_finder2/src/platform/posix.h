// The few operating-system calls the library makes, behind small functions in one place
// (posix.cpp: status, names, back-off; posix_files.cpp: descriptors and single files;
// posix_directories.cpp: directories opened, listed and looked into by descriptor;
// file_placement.cpp: files put in place whole), so that the rest of src/, and the host
// adapters in host/, include no <sys/...> header.
#pragma once

#include <cstddef>
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
/// True when `path` is a symbolic link that leads to a regular file.
bool isLinkToRegularFile(const char* path);

/// Creates one directory with mode 0700; false when it exists or cannot be made.
bool makePrivateDirectory(const char* path);

/// Makes `newName` a second name of the file `existing` (link(2)): 0, or the errno value
/// (EEXIST when `newName` is taken).
int makeHardLink(const char* existing, const char* newName);

/// An open file descriptor, closed when the object goes. The destructor leaves errno as
/// it was, so a function may return "false with errno set" through it.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1) noexcept : m_fd(fd) {}
    ~FileDescriptor();
    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(other.m_fd) { other.m_fd = -1; }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const noexcept { return m_fd; }
    bool isOpen() const noexcept { return m_fd >= 0; }
    /// Closes it now. False with errno set when close(2) fails, which for a file just
    /// written may be the first word of a lost write.
    bool close() noexcept;

private:
    int m_fd;
};

/// Opens `path` for reading when it is a regular file (following symbolic links), with
/// its status; closed, with errno set, otherwise. Does not wait on a FIFO.
FileDescriptor openRegularFile(const char* path, FileStatus& status);
/// Tells the kernel that `fd` will be read from start to end (more read-ahead). Only a
/// hint: a refusal changes nothing.
void adviseSequentialReading(int fd);
/// One read(2) of up to `size` bytes, again when a signal interrupts it: the count, 0 at
/// the end of the file, -1 with errno set.
std::ptrdiff_t readSome(int fd, void* buffer, size_t size);
/// readSome() at `offset` (pread(2)), leaving the descriptor's position alone.
std::ptrdiff_t readSomeAt(int fd, std::uint64_t offset, void* buffer, size_t size);
/// Writes all `size` bytes, again after a short or interrupted write; false with errno set.
bool writeAll(int fd, const void* data, size_t size);
/// The whole contents of the file `path`; false with errno set.
bool readWholeFile(const char* path, std::string& contents);

/// Creates a new file beside `target`, "<target>.tmp-<pid>-<n>", for a file that is put
/// under `target` only once it is complete: exclusively (two writers never share one, a
/// name left by a crashed run is skipped), never through a symbolic link, with `mode` less
/// the umask. Returns it open for writing with its name, or closed with errno set.
FileDescriptor createFileBeside(const std::string& target, unsigned mode, std::string& name);

/// A name that opens the very file behind the open descriptor `fd`, whatever has become
/// of its directory entry since: "/proc/self/fd/<fd>". Empty when /proc is not mounted.
std::string openDescriptorPath(int fd);

enum class CopyResult { done, targetExists, failed };
/// Copies `source` to `target` without ever exposing a partial file under `target`:
/// the bytes go to a file from createFileBeside (with `mode`), which is flushed to disk
/// and then renamed to `target` without replacing an existing entry. On any failure the
/// temporary file is removed and errno says why.
CopyResult copyFileIntoPlace(const char* source, const char* target, unsigned mode = 0644);

/// A new version of the file `path`, put in its place whole, so that a reader, or the
/// file system after a crash, sees the old file or the new one and never a mix:
///   posix::FileReplacement replacement(path);
///   if (replacement.write(text, error) && replacement.commit(error)) ...
/// write() puts the text into a file from createFileBeside, with the old file's permission
/// bits (a new file gets `newFileMode` less the umask), and flushes it to disk; commit()
/// renames it over `path` and flushes the directory. Whatever was not committed is removed
/// when the object goes, and `path` is then untouched. `error` says which step failed and
/// why.
class FileReplacement {
public:
    explicit FileReplacement(std::string path, unsigned newFileMode = 0666);
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    bool write(const std::string& contents, std::string& error);
    /// Only after a successful write().
    bool commit(std::string& error);

private:
    const std::string m_path;
    const unsigned m_newFileMode;
    std::string m_temporary;  // written and not yet renamed
};

/// FileReplacement's write() and commit() in one.
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

/// Opens the directory `path` for listing, following symbolic links, with O_DIRECTORY: a
/// name that is not a directory fails with ENOTDIR without being opened (a FIFO never
/// blocks). A relative `path` starts at the working directory. Closed, with errno set, on
/// failure.
FileDescriptor openDirectory(const char* path);
/// The same for the entry `name` of the open directory `parent`: the system resolves one
/// name from the parent's descriptor instead of every element of a full path.
FileDescriptor openDirectoryIn(const FileDescriptor& parent, const char* name);
/// Status of the file behind an open descriptor (fstat): 0 or errno.
int descriptorStatus(const FileDescriptor& fd, FileStatus& status);
/// Status of the entry `name` of the open directory `dir`, following symbolic links
/// (fstatat relative to `dir`): 0 or errno.
int statusIn(const FileDescriptor& dir, const char* name, FileStatus& status);
/// The soft limit on the process's open descriptors (RLIMIT_NOFILE); `fallback` when
/// the system gives none or an unlimited one.
size_t openDescriptorLimit(size_t fallback);

/// Reads the listings of open directories straight from the kernel (getdents64), so that
/// every entry comes with its type and needs no stat of its own. One reader lists one
/// directory at a time, through one buffer that serves every directory it reads; the
/// descriptor stays its owner's, who keeps it open until the listing is read.
///
///   posix::DirectoryReader reader;
///   reader.start(dir);
///   for (posix::DirectoryReader::Entry entry; reader.next(entry, error);) use(entry.name);
class DirectoryReader {
public:
    struct Entry {
        const char* name = nullptr;  // valid until the next call of next()
        EntryKind kind = EntryKind::unknown;
    };

    DirectoryReader() = default;
    DirectoryReader(const DirectoryReader&) = delete;
    DirectoryReader& operator=(const DirectoryReader&) = delete;

    /// Starts the listing of `dir`, a directory just opened (its position is the start).
    void start(const FileDescriptor& dir);
    /// The next entry other than "." and "..": true with `entry` set; false at the end
    /// (`error` 0) or when reading failed (`error` set to the errno value).
    bool next(Entry& entry, int& error);

private:
    int m_fd = -1;
    std::unique_ptr<char[]> m_buffer;  // allocated at the first start()
    size_t m_filled = 0;
    size_t m_offset = 0;
};

}  // namespace posix
}  // namespace FF_2_13
