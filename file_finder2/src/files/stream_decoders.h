// One decoder per compression a kernel or module is shipped with, each through the
// format's own library, each streaming from a StreamReader (at the stream's first byte)
// into an UnpackedOutput, and each stopping at the end of its stream: what follows (the
// size a kernel build appends, padding, the rest of a bzImage) is never read as data.
//
// Memory is what the format needs and no more: a dictionary or window of the size the
// stream declares (bounded by kMaxDecoderWindow), an lz4 block of at most 8 MiB, and
// buffers of 256 KiB.
#pragma once

#include <cstdint>

#include "ff_kernel_image.h"

namespace FF_2_13 {

class StreamReader;
class UnpackedOutput;

/// The largest dictionary or window a stream may ask for (xz, lzma, zstd): kernels are
/// packed with 32 to 128 MiB at most; more is a stream built to exhaust memory.
constexpr std::uint64_t kMaxDecoderWindow = std::uint64_t(256) << 20;

enum class DecodeEnd {
    complete,       ///< the stream ended properly and every byte was written
    corrupt,        ///< the data is damaged, or asks for more memory than allowed
    truncated,      ///< the file ends inside the stream
    outputRefused,  ///< the output did not take the data (its state says why)
    readFailed,     ///< the compressed file could not be read (the reader says why)
    unsupported,    ///< a format this library does not unpack
};

/// Decodes the stream of `format` that starts at the reader's position.
DecodeEnd decodeStream(kernel_compression_t format, StreamReader& in, UnpackedOutput& out);

}  // namespace FF_2_13
