// The few operating-system calls the library makes, behind small functions in one place
// (ff_posix.cpp), so that the rest of src/ includes no <sys/...> header.
#pragma once

#include <cstdint>
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
};

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

/// The spin lock's back-off between two looks at its state.
void spinBackoff();

/// Test seam: replaces the back-off (null restores the 10 ms sleep). Not thread-safe;
/// set it before the threads that use spin locks start.
using BackoffHook = void (*)();
void setSpinBackoffHook(BackoffHook hook);

}  // namespace posix
}  // namespace FF_2_13
