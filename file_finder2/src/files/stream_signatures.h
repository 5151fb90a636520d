// Recognition of a compressed stream by the magic bytes it starts with, and the scan of a
// file for the next place where one starts. A bzImage carries its kernel somewhere after
// its boot code, so every byte is a possible start; a compressed module starts with its
// stream.
//
//   StreamCandidate next;
//   for (uint64_t from = 0; findStreamCandidate(reader, from, next); from = next.offset + 1)
//       tryToUnpack(next.format, next.offset);
#pragma once

#include <cstddef>
#include <cstdint>

#include "ff_kernel_image.h"

namespace FF_2_13 {

class StreamReader;

/// The longest header recognitionAt() looks at (the .lzma header).
constexpr size_t kLongestStreamHeader = 13;

/// The format whose stream starts at `bytes`, or kcNone. `available` bytes may be read;
/// a header that does not fit is not recognised. Headers are checked beyond the magic
/// where the format allows (gzip's reserved flags, the .lzma header's dictionary and size,
/// bzip2's block magic), so that stray bytes in boot code are seldom taken for a stream.
kernel_compression_t formatAt(const unsigned char* bytes, size_t available);

struct StreamCandidate {
    std::uint64_t offset = 0;
    kernel_compression_t format = kcNone;
};

/// The first place at or after `from` where a stream of a known format starts; false at
/// the end of the file or on a read error (the reader keeps the errno value).
bool findStreamCandidate(StreamReader& reader, std::uint64_t from, StreamCandidate& found);

}  // namespace FF_2_13
