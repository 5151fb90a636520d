// The unpacking of kernel images and modules in every format (unpackCompressedFile) on
// arbitrary bytes as the compressed file: every decoder, the scan for streams, and the
// output that takes only ELF files.
//
// Properties, besides not crashing and not leaking (AddressSanitizer's leak check):
// - kuUnpacked leaves exactly the output beside the image, and it is an ELF file;
// - any other answer leaves no file under the output name, also when one stood there
//   before the call, and no temporary file either;
// - a format is named exactly when the answer is about a stream.
#include <string>
#include <vector>

#include "files/kernel_unpacker.h"
#include "fuzz_support.h"

namespace {
// Keeps a bomb from spending the fuzzer's time on writing: far beyond any seed.
constexpr std::uint64_t kFuzzOutputLimit = 16 << 20;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace FF_2_13;
    fffuzz::clearScratch();
    const std::string image = fffuzz::writeScratchFile("vmlinuz", data, size);
    const uint8_t old[] = {'o', 'l', 'd'};
    const std::string kernel = fffuzz::writeScratchFile("vmlinux", old, sizeof old);

    const KernelUnpackResult result = unpackCompressedFile(image, kernel, kFuzzOutputLimit);

    const bool unpacked = result.status == kuUnpacked;
    const std::vector<std::string> left = fffuzz::scratchEntries();
    FUZZ_CHECK(left == (unpacked ? std::vector<std::string>{"vmlinux", "vmlinuz"}
                                 : std::vector<std::string>{"vmlinuz"}),
               unpacked ? "unpacked without exactly the output beside the image"
                        : "a failure left a file beside the image");
    if (unpacked)
        FUZZ_CHECK(fffuzz::readScratchFile("vmlinux").compare(0, 4, "\x7F\x45\x4C\x46") == 0,
                   "unpacked something that is not an ELF file");
    const bool aboutAStream = result.status == kuUnpacked || result.status == kuCorruptStream ||
                              result.status == kuTruncatedStream || result.status == kuNotElf ||
                              result.status == kuTooLarge || result.status == kuUnsupportedFormat;
    if (aboutAStream || result.status == kuUnknownFormat)
        FUZZ_CHECK(aboutAStream == (result.format != kcNone), "a format without a stream");
    return 0;
}
