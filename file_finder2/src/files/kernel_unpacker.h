// The unpacking of a compressed kernel image or module in every format kernels are shipped
// with (the public entry point is utils::unpackKernelImage), with the size limit as a
// parameter for the tests.
//
// unpackCompressedFile(image, output, limit):
//   1. open the image;
//   2. find the next place where a stream of a known format starts (stream_signatures.h);
//   3. decode it (stream_decoders.h) into an output that takes only an ELF file
//      (stream_io.h); a complete ELF file is renamed into place and that is the answer;
//   4. otherwise remember the failure, and go on with the next place after this one;
//      a failure of the output (full disk, the limit) or of reading ends the search;
//   5. with no stream left, answer the failure of the stream that got furthest (the most
//      bytes unpacked; the first of equals), or kuUnknownFormat when there was none.
#pragma once

#include <cstdint>
#include <string>

#include "ff_kernel_image.h"

namespace FF_2_13 {

/// More than any kernel or module unpacks to: a stream that goes on is a bomb.
constexpr std::uint64_t kMaxUnpackedSize = std::uint64_t(1) << 30;

KernelUnpackResult unpackCompressedFile(const std::string& image, const std::string& output,
                                        std::uint64_t maxSize = kMaxUnpackedSize);

/// True when the file `path` starts with an ELF identification: nothing to unpack, as in
/// the "vmlinuz" of architectures whose boot loaders take the kernel as it is.
bool isElfFile(const std::string& path);

}  // namespace FF_2_13
