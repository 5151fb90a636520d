// Small ELF files and their compressed forms, made by the formats' own command-line tools,
// for the tests of kernel image and module unpacking.
#pragma once

#include <string>

namespace fftest {

class TempDir;

/// `size` bytes that start with the identification of a 64-bit little-endian ELF file and
/// go on with bytes that compress about as well as machine code.
std::string elfLikeFile(size_t size, unsigned seed = 1);

/// `data` compressed by the shell command `tool` given a file name ("xz -c", "lz4 -l -c"...),
/// which writes standard output; scratch files go to `dir`. Empty when the tool fails.
std::string compressWith(const std::string& tool, const std::string& data, const TempDir& dir);

}  // namespace fftest
