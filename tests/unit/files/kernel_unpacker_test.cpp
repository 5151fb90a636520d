// Unpacking of kernel images and modules in every compression, on bzImage-like images
// made here: boot-code-like bytes, the stream of each format's own tool, padding.
#include "files/kernel_unpacker.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <string>
#include <vector>

#include "compressed_files.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
using fftest::readFile;

namespace {

struct Format {
    kernel_compression_t format;
    const char* tool;
    // Where a flipped bit must be noticed: the middle for formats with a checksum; where
    // the data must have a fixed value for lz4 (a block size) and lzma (the first byte).
    size_t flipAt;  // 0: the middle of the stream
};

const Format kFormats[] = {
    {kcGzip, "gzip -9 -n -c", 0},  // as kernels are packed: no name
    {kcGzip, "gzip -c", 0},        // the file's name in the header (flags 08)
    {kcXz, "xz -c --check=crc32 --x86 --lzma2=dict=1MiB", 0},  // as kernels are packed
    {kcXz, "xz -c", 0},
    {kcLzma, "xz --format=lzma -c", 13},
    {kcBzip2, "bzip2 -9 -c", 0},
    {kcLz4, "lz4 -l -9 -c", 7},
    {kcZstd, "zstd -19 -c", 0},
};

// Bytes as in boot code, with no magic of any format in them.
std::string bootCode() {
    std::string code;
    for (int i = 0; i < 16384; ++i) code.push_back(static_cast<char>(0x30 + (i * 7) % 0x20));
    return code;
}

// What a kernel build appends to the stream (the unpacked size), then padding.
const std::string kTrailer = std::string("\x00\x10\x00\x00", 4) + std::string(4096, '\0');

class KernelUnpacker : public ::testing::Test {
protected:
    fftest::TempDir dir;
    const std::string image = dir / "vmlinuz";
    const std::string output = dir / "vmlinux";
    const std::string elf = fftest::elfLikeFile(600000);

    KernelUnpackResult unpack(const std::string& contents,
                              std::uint64_t maxSize = kMaxUnpackedSize) {
        dir.makeFile("vmlinuz", contents);
        return unpackCompressedFile(image, output, maxSize);
    }
    bool nothingLeft() {
        return fftest::entryNames(dir.path()) ==
               std::vector<std::string>{"compressed", "to-compress", "vmlinuz"};
    }
};

#define EXPECT_RESULT(result, expectedStatus, expectedFormat)                    \
    do {                                                                         \
        const KernelUnpackResult r_ = (result);                                  \
        EXPECT_EQ(r_.status, expectedStatus) << utils::describeKernelUnpack(r_); \
        EXPECT_EQ(r_.format, expectedFormat);                                    \
    } while (0)

TEST_F(KernelUnpacker, EveryFormatUnpacksByteForByteAndDamageIsNamed) {
    for (const Format& f : kFormats) {
        SCOPED_TRACE(f.tool);
        const std::string stream = fftest::compressWith(f.tool, elf, dir);
        ASSERT_FALSE(stream.empty());
        EXPECT_RESULT(unpack(bootCode() + stream + kTrailer), kuUnpacked, f.format);
        EXPECT_EQ(readFile(output), elf);
        // A compressed module is the stream alone.
        EXPECT_RESULT(unpack(stream), kuUnpacked, f.format);

        EXPECT_RESULT(unpack(bootCode() + stream.substr(0, stream.size() / 2)), kuTruncatedStream,
                      f.format);
        EXPECT_TRUE(nothingLeft());

        std::string flipped = stream;
        flipped[f.flipAt ? f.flipAt : stream.size() / 2] ^= 0x80;
        EXPECT_RESULT(unpack(bootCode() + flipped + kTrailer), kuCorruptStream, f.format);
        EXPECT_TRUE(nothingLeft());
    }
}

TEST_F(KernelUnpacker, Lz4LegacyFramesOfSeveralBlocksEndAtTheShortBlock) {
    const std::string big = fftest::elfLikeFile(9 << 20);  // two blocks of the legacy frame
    const std::string stream = fftest::compressWith("lz4 -l -c", big, dir);
    EXPECT_RESULT(unpack(bootCode() + stream + kTrailer), kuUnpacked, kcLz4);
    EXPECT_TRUE(readFile(output) == big);
}

TEST_F(KernelUnpacker, StrayMagicBeforeTheKernelIsPassedOver) {
    // A gzip signature in the boot code, and a gzip stream of something that is no kernel.
    const std::string text = fftest::compressWith("gzip -c", std::string(5000, 'x'), dir);
    const std::string xz = fftest::compressWith("xz -c", elf, dir);
    const std::string boot = bootCode() + "\x1F\x8B\x08\x00garbage" + text;
    EXPECT_RESULT(unpack(boot + xz + kTrailer), kuUnpacked, kcXz);
    EXPECT_EQ(readFile(output), elf);
}

TEST_F(KernelUnpacker, RefusalsSayWhyAndLeaveNoOutput) {
    const std::string text = fftest::compressWith("zstd -c", std::string(5000, 'x'), dir);
    const struct {
        std::string contents;
        kernel_unpack_status_t status;
        kernel_compression_t format;
    } cases[] = {
        {bootCode(), kuUnknownFormat, kcNone},
        {"", kuUnknownFormat, kcNone},
        {bootCode() + text + kTrailer, kuNotElf, kcZstd},
        {bootCode() + std::string("\x89LZO\0\r\n\x1A\n", 9) + "\x10\x30", kuUnsupportedFormat,
         kcLzo},
    };
    for (const auto& c : cases) {
        dir.makeFile("vmlinux", "from an earlier run");
        EXPECT_RESULT(unpack(c.contents), c.status, c.format);
        EXPECT_TRUE(nothingLeft());
    }
    EXPECT_RESULT(unpackCompressedFile(dir / "missing", output), kuInputNotReadable, kcNone);
    EXPECT_RESULT(unpackCompressedFile(dir.path(), output), kuInputNotReadable, kcNone);
    EXPECT_RESULT(utils::unpackKernelImage(nullptr, output.c_str()), kuInputNotReadable, kcNone);
}

// An ELF header then 64 MiB of zeros: unpacking stops at the limit and keeps nothing.
// (Memory while unpacking is measured by bench_kernel_image.)
TEST_F(KernelUnpacker, DecompressionBombStopsAtTheLimit) {
    std::string bomb = fftest::elfLikeFile(16);
    bomb.resize(64 << 20, '\0');
    EXPECT_RESULT(unpack(bootCode() + fftest::compressWith("xz -c", bomb, dir), 8 << 20),
                  kuTooLarge, kcXz);
    EXPECT_TRUE(nothingLeft());
}

TEST_F(KernelUnpacker, FullDiskFailsAsOutputNotWritableAndLeavesNothing) {
    dir.makeFile("vmlinuz", bootCode() + fftest::compressWith("zstd -c", elf, dir));
    fftest::openToEveryone(dir.path());
    ::chmod(dir.path().c_str(), 0777);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  ::signal(SIGXFSZ, SIG_IGN);  // EFBIG instead of death past the limit
                  const rlimit limit{100000, 100000};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  const KernelUnpackResult r = unpackCompressedFile(image, output);
                  return r.status == kuOutputNotWritable && r.systemError == EFBIG;
              }));
    EXPECT_TRUE(nothingLeft());
}

}  // namespace
