#include "elf/file_crc32.h"

#include <zlib.h>

#include <vector>

#include "platform/posix.h"

namespace FF_2_13 {

namespace {

// Debug files run to hundreds of megabytes: read in pieces, never whole.
constexpr std::size_t kChunkSize = 64 * 1024;

}  // namespace

bool fileCrc32(const char* path, std::uint32_t& crc) {
    posix::FileStatus status;
    const posix::FileDescriptor file = posix::openRegularFile(path, status);
    if (!file.isOpen()) return false;
    posix::adviseSequentialReading(file.get());
    std::vector<unsigned char> buffer(kChunkSize);
    uLong sum = crc32(0L, Z_NULL, 0);
    for (;;) {
        const std::ptrdiff_t count = posix::readSome(file.get(), buffer.data(), buffer.size());
        if (count < 0) return false;
        if (count == 0) break;
        sum = crc32(sum, buffer.data(), static_cast<uInt>(count));
    }
    crc = static_cast<std::uint32_t>(sum);
    return true;
}

}  // namespace FF_2_13
