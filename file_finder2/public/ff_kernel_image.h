// File: ff_kernel_image.h
//
// Kernel image utilities of namespace FF_2_13: the names of the two kinds of Linux kernel
// image, and the unpacking of a compressed image ("vmlinuz") into the kernel proper
// ("vmlinux"), which can then be validated like any other binary module. Free functions;
// nothing to create.
//
// Two unpackers: extractVmlinux knows gzip only and keeps its long-standing leniency (a
// cut-off stream counts as unpacked); unpackKernelImage knows every compression kernels
// and modules are shipped with, refuses whatever is not a whole ELF file, and says why:
//
//   const KernelUnpackResult r = utils::unpackKernelImage("/boot/vmlinuz-6.1.0-13-amd64",
//                                                         "/tmp/vmlinux");
//   if (r.status != kuUnpacked)
//       std::cerr << utils::describeKernelUnpack(r) << '\n';  // "corrupt xz stream"
//
// All of them are safe to call from several threads at once, also for one image: each
// extraction writes a file of its own and only a finished file appears under the output
// name. No exception leaves them.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>

#include "ff_export.h"

namespace FF_2_13 {

/// File name of an uncompressed kernel image.
inline constexpr char VMLINUX[] = "vmlinux";
/// File name of a compressed kernel image.
inline constexpr char VMLINUZ[] = "vmlinuz";

/// The compression of a kernel image or module, as recognised by its stream's magic.
enum kernel_compression_t : int {
    kcNone = 0,   ///< no stream of any known format was found
    kcGzip = 1,   ///< 1F 8B 08, any header flags (zlib)
    kcXz = 2,     ///< FD "7zXZ" 00 (liblzma)
    kcLzma = 3,   ///< the .lzma header of 13 bytes, properties 5D (liblzma)
    kcBzip2 = 4,  ///< "BZh1".."BZh9" and a block magic (libbz2)
    kcLz4 = 5,    ///< the lz4 legacy frame, 02 21 4C 18, as kernels are packed (liblz4)
    kcZstd = 6,   ///< 28 B5 2F FD (libzstd)
    kcLzo = 7,    ///< the lzop container: recognised, not unpacked
};

/// How an unpacking ended.
enum kernel_unpack_status_t : int {
    kuUnpacked = 0,           ///< the output file holds the unpacked ELF file
    kuInputNotReadable = 1,   ///< the image cannot be opened or read (systemError says why)
    kuUnknownFormat = 2,      ///< no stream of a known format in it
    kuUnsupportedFormat = 3,  ///< only a stream of a format this library does not unpack
    kuCorruptStream = 4,      ///< the stream is damaged (a checksum, a bad block...)
    kuTruncatedStream = 5,    ///< the stream stops before its end
    kuNotElf = 6,             ///< the stream unpacks to something that is not an ELF file
    kuTooLarge = 7,           ///< it unpacks to more than 1 GiB: no kernel is that large
    kuOutputNotWritable = 8,  ///< the output cannot be created or written (systemError)
};

/// What unpackKernelImage did: the status, the format of the stream it is about (kcNone
/// when there was none), and the errno value of a failed read or write (0 otherwise).
struct KernelUnpackResult {
    kernel_unpack_status_t status;
    kernel_compression_t format;
    int systemError;
};

namespace utils {

/// Unpacks the kernel (or kernel module) carried in `image` into the file `output`.
/// The stream is found by the magic of its format anywhere in the file (a bzImage's boot
/// code comes first; a compressed module starts with it); a candidate that does not
/// unpack to an ELF file is passed over for the next. Bytes after the stream are ignored.
/// Memory stays within the format's own window (xz's dictionary, zstd's window, an lz4
/// block) plus a few buffers, whatever the size of the image.
///
/// Only a complete stream that unpacks to an ELF file appears under `output` (replacing
/// what was there); on any failure nothing is left there, not even an earlier file. The
/// output directory must exist. Null arguments give kuInputNotReadable. The outcome is
/// logged: an info line on success, an error line with describeKernelUnpack's text
/// otherwise.
FF_EXPORT KernelUnpackResult unpackKernelImage(const char* image, const char* output);

/// The name of a format: "gzip", "xz", "lzma", "bzip2", "lz4", "zstd", "lzo"; "" for
/// kcNone and unknown values.
FF_EXPORT const char* kernelCompressionName(kernel_compression_t format);

/// A short English text of what happened, with the format where there is one: "unpacked
/// from xz", "corrupt xz stream", "no compressed stream of a known format",
/// "cannot write the output: No space left on device". For logs and users.
FF_EXPORT std::string describeKernelUnpack(const KernelUnpackResult& result);

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
