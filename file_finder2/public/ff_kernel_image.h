// File: ff_kernel_image.h
//
// Kernel image utilities of namespace FF_2_13: the names of the two kinds of Linux kernel
// image, and the unpacking of a compressed image ("vmlinuz") into the kernel proper
// ("vmlinux"), which can then be validated like any other binary module. Free functions;
// nothing to create.
//
//   std::string kernel = cacheDir + "/" + FF_2_13::VMLINUX;
//   if (FF_2_13::utils::extractVmlinux("/boot/vmlinuz-6.1.0-13-amd64", kernel.c_str())) {
//       // `kernel` holds the uncompressed kernel
//   }
//
// Both functions are safe to call from several threads at once, also for one image:
// each extraction writes a file of its own and only a finished file appears under the
// output name. No exception leaves them.
#pragma once

#include <iosfwd>

#include "ff_export.h"

namespace FF_2_13 {

/// File name of an uncompressed kernel image.
inline constexpr char VMLINUX[] = "vmlinux";
/// File name of a compressed kernel image.
inline constexpr char VMLINUZ[] = "vmlinuz";

namespace utils {

/// Unpacks the kernel carried in the compressed image `vmlinuz` into the file `vmlinux`.
/// The kernel is the gzip stream that starts at the first occurrence of the bytes
/// 1F 8B 08 00 (found by a naive scan: after 1F 1F 8B 08 00 the scan has moved past the
/// second 1F and finds nothing there). Bytes after the stream are ignored.
///
/// True when the stream was inflated and written without error; a stream cut off before
/// its end also counts, and its partial output stays in place. On failure (no input, no
/// signature, corrupt data, an output that cannot be written, a null argument) the answer
/// is false, an error line is logged and no file is left under `vmlinux`: one that was
/// there before is removed. The output directory must exist. The file appears under its
/// name only when complete, so a concurrent reader never sees it half written.
FF_EXPORT bool extractVmlinux(const char* vmlinuz, const char* vmlinux);

/// Inflates the gzip stream starting at the read position of `in` and writes all it
/// produces to `out`, through two 256 KiB buffers. True when no inflate error occurred:
/// a stream that runs out of input before its end counts as success, and so does an
/// input already at its end. False when either stream is not good at the start, on
/// corrupt data, and on a read or write error (also when the streams throw: no
/// exception leaves). Stops at the end of the stream: `in` is read no further than the
/// 256 KiB chunk that holds it.
FF_EXPORT bool uncompress(std::ifstream& in, std::ofstream& out);

}  // namespace utils
}  // namespace FF_2_13
