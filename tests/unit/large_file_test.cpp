// Files over 2 GiB and 64-bit inode numbers on 32-bit builds. The build asks for large-file
// support, so stat's size and inode fields are 64 bits wide on i386 as on x86-64, and the
// size check sees a file's true length rather than failing with EOVERFLOW or keeping only
// the low 32 bits. The files here are sparse: they cost a few kilobytes of disk.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "platform/posix.h"
#include "temp_dir.h"

#if !defined(_FILE_OFFSET_BITS) || _FILE_OFFSET_BITS != 64
#error "the project builds with _FILE_OFFSET_BITS=64 (cmake/FileFinderOptions.cmake)"
#endif
static_assert(sizeof(off_t) == 8, "file sizes and offsets are 64-bit");
static_assert(sizeof(ino_t) == 8, "inode numbers are 64-bit");
static_assert(sizeof(FF_2_13::posix::FileStatus::size) == 8, "FileStatus::size is 64-bit");
static_assert(sizeof(FF_2_13::posix::FileStatus::inode) == 8, "FileStatus::inode is 64-bit");

using namespace FF_2_13;

namespace {

constexpr uint64_t kGiB = uint64_t(1) << 30;

// Makes `path` a sparse file of `size` bytes whose last byte is written. False, with `why`
// set, when the file system refuses that size or would allocate all of it.
bool makeSparseFile(const std::string& path, uint64_t size, std::string& why) {
    const int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
    struct stat st;
    const bool written = fd >= 0 && ::pwrite(fd, "z", 1, static_cast<off_t>(size - 1)) == 1 &&
                         ::fstat(fd, &st) == 0 && uint64_t(st.st_blocks) * 512 < 64 << 20;
    if (!written) why = std::string("no sparse file past 2 GiB here: ") + std::strerror(errno);
    ::close(fd);
    return written;
}

}  // namespace

// 2 GiB + 1 is negative as a signed 32-bit size; 4 GiB + 4097 keeps only 4097 in 32 bits.
TEST(LargeFile, StatFileReportsSizesBeyondThirtyTwoBits) {
    fftest::TempDir dir;
    for (uint64_t size : {2 * kGiB + 1, 4 * kGiB + 4097}) {
        const std::string path = dir / ("big-" + std::to_string(size));
        std::string refused;
        if (!makeSparseFile(path, size, refused)) GTEST_SKIP() << refused;

        posix::FileStatus status;
        ASSERT_TRUE(posix::statFile(path.c_str(), status)) << path;
        EXPECT_EQ(status.size, size);
        EXPECT_TRUE(status.isRegular);
        EXPECT_FALSE(status.isDirectory);
    }
}
