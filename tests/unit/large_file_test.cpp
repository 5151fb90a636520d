// Files over 2 GiB and 64-bit inode numbers on 32-bit builds: the build asks for large-file
// support, so the size check sees a file's true length rather than failing with EOVERFLOW or
// keeping the low 32 bits. The files are sparse: a few kilobytes of disk.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "platform/posix.h"
#include "temp_dir.h"

#if !defined(_FILE_OFFSET_BITS) || _FILE_OFFSET_BITS != 64
#error "the project builds with _FILE_OFFSET_BITS=64 (cmake/FileFinderOptions.cmake)"
#endif
static_assert(sizeof(off_t) == 8 && sizeof(ino_t) == 8,
              "file sizes, offsets and inodes are 64-bit");
static_assert(sizeof(FF_2_13::posix::FileStatus::size) == 8 &&
                  sizeof(FF_2_13::posix::FileStatus::inode) == 8,
              "FileStatus keeps them whole");

// 2 GiB + 1 is negative as a signed 32-bit size; 4 GiB + 4097 keeps only 4097 in 32 bits.
TEST(LargeFile, StatFileReportsSizesBeyondThirtyTwoBits) {
    fftest::TempDir dir;
    for (uint64_t size : {(uint64_t(2) << 30) + 1, (uint64_t(4) << 30) + 4097}) {
        const std::string path = dir / std::to_string(size);
        const int fd = ::open(path.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0644);
        struct stat st;
        const bool sparse = fd >= 0 && ::pwrite(fd, "z", 1, static_cast<off_t>(size - 1)) == 1 &&
                            ::fstat(fd, &st) == 0 && uint64_t(st.st_blocks) * 512 < 64 << 20;
        const int error = errno;
        ::close(fd);
        if (!sparse) GTEST_SKIP() << "no sparse file past 2 GiB here: " << std::strerror(error);
        FF_2_13::posix::FileStatus status;
        ASSERT_TRUE(FF_2_13::posix::statFile(path.c_str(), status)) << path;
        EXPECT_EQ(size, status.size);
        EXPECT_TRUE(status.isRegular && !status.isDirectory);
    }
}
