// The CRC-32 of a whole file, the checksum a ".gnu_debuglink" section records for the
// separate debug file it names (the CRC of zlib and of the linker's gnu_debuglink_crc32).
#pragma once

#include <cstdint>

namespace FF_2_13 {

/// The CRC-32 of the regular file `path`, read in pieces; false when it cannot be read.
bool fileCrc32(const char* path, std::uint32_t& crc);

}  // namespace FF_2_13
