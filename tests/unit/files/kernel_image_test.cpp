// Unpacking of compressed kernel images, on gzip data made here with zlib.
#include "ff_kernel_image.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <zlib.h>

#include <boost/filesystem.hpp>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "gzip.h"
#include "log_capture.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
using fftest::gzip;
using fftest::readFile;
namespace fs = boost::filesystem;

namespace {

constexpr size_t kChunk = 262144;

// Bytes that compress about as well as machine code: skewed, with repeats.
std::string kernelLikeBytes(size_t size, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::geometric_distribution<int> skewed(0.08);
    std::string bytes;
    bytes.reserve(size);
    while (bytes.size() < size) bytes.push_back(static_cast<char>(skewed(random) & 0xFF));
    return bytes;
}

// Raw deflate data of `bytes` in blocks that are not final, ending on a byte boundary.
std::string deflateUnfinished(const std::string& bytes) {
    z_stream stream{};
    deflateInit2(&stream, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::vector<unsigned char> out(deflateBound(&stream, bytes.size()) + 16);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_SYNC_FLUSH);
    deflateEnd(&stream);
    return std::string(reinterpret_cast<char*>(out.data()), out.size() - stream.avail_out);
}

// A stored deflate block, starting on a byte boundary.
std::string storedBlock(bool final, const std::string& bytes) {
    const unsigned n = static_cast<unsigned>(bytes.size());
    const std::string header{static_cast<char>(final ? 1 : 0), static_cast<char>(n & 0xFF),
                             static_cast<char>(n >> 8), static_cast<char>(~n & 0xFF),
                             static_cast<char>((~n >> 8) & 0xFF)};
    return header + bytes;
}

const std::string kGzipHeader("\x1F\x8B\x08\0\0\0\0\0\0\x03", 10);

std::string gzipTrailer(uLong crc, uLong size) {
    std::string trailer;
    for (uLong value : {crc, size})
        for (int shift = 0; shift < 32; shift += 8)
            trailer.push_back(static_cast<char>(value >> shift));
    return trailer;
}

class ExtractVmlinux : public ::testing::Test {
protected:
    fftest::TempDir dir;
    const std::string image = dir / "vmlinuz";
    const std::string kernel = dir / "vmlinux";
    const std::string data = kernelLikeBytes(600000);

    bool extract(const std::string& contents) {
        dir.makeFile("vmlinuz", contents);
        return utils::extractVmlinux(image.c_str(), kernel.c_str());
    }
    void expectFailedAndNothingLeft(const fftest::LogCapture& log) {
        EXPECT_EQ(fftest::entryNames(dir.path()), std::vector<std::string>{"vmlinuz"});
        EXPECT_TRUE(log.hasErrorLine("Failed to extract vmlinux from " + image,
                                     "file_finder2/src/ff_utils"));
    }
};

TEST_F(ExtractVmlinux, UnpacksPlainGzipFileWhole) {
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    ASSERT_TRUE(extract(gzip(data)));
    EXPECT_EQ(readFile(kernel), data);
    EXPECT_EQ(fftest::entryNames(dir.path()), (std::vector<std::string>{"vmlinux", "vmlinuz"}));
    EXPECT_EQ(log.texts(), std::vector<std::string>{kernel + " was extracted from " + image});
}

// The stream is found behind boot code with near misses in it; a second stream and junk
// after the kernel change nothing. The scan restarts after the byte that broke a partial
// match, so a stray 1F before the stream swallows the stream's first byte, while a mismatch
// on another byte leaves the stream's own start intact.
TEST_F(ExtractVmlinux, FindsTheStreamBehindBootCodeAndIgnoresWhatFollows) {
    const std::string boot =
        kernelLikeBytes(16384, 3) + std::string("\x1F\x8B\x08\x01\x1F\x8B\x09\0\x90", 9);
    const struct {
        std::string before, after;
        bool found;
    } cases[] = {
        {boot, gzip("another stream") + std::string(300000, '\x1F'), true},
        {"\x1F", "", false},
        {std::string("\x1F\x8B\x00", 3), "", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before.substr(0, 3));
        fftest::LogCapture log;
        EXPECT_EQ(c.found, extract(c.before + gzip(data) + c.after));
        if (c.found)
            EXPECT_EQ(readFile(kernel), data);
        else
            expectFailedAndNothingLeft(log);
    }
}

// Missing inputs and output directories are in the bad-input table.
TEST_F(ExtractVmlinux, FailureRemovesTheOutputAndSaysSo) {
    std::string badBlock = gzip(data);
    badBlock[10] = '\x07';  // final block of the reserved type 3
    for (const std::string& contents : {std::string(), kernelLikeBytes(100000), badBlock}) {
        dir.makeFile("vmlinux", "from an earlier run");
        fftest::LogCapture log;
        EXPECT_FALSE(extract(contents));
        expectFailedAndNothingLeft(log);
    }
}

TEST_F(ExtractVmlinux, TruncatedStreamCountsAsSuccessAndKeepsPartialOutput) {
    const std::string stream = gzip(data);
    ASSERT_TRUE(extract(stream.substr(0, stream.size() / 2)));
    const std::string partial = readFile(kernel);
    EXPECT_GT(partial.size(), 0u);
    EXPECT_LT(partial.size(), data.size());
    EXPECT_EQ(partial, data.substr(0, partial.size()));
    EXPECT_EQ(fftest::entryNames(dir.path()), (std::vector<std::string>{"vmlinux", "vmlinuz"}));
}

TEST_F(ExtractVmlinux, ReplacesLinkAtOutputWithoutWritingThroughIt) {
    const std::string target = dir.makeFile("elsewhere", "keep me");
    dir.makeSymlink("vmlinux", target);
    ASSERT_TRUE(extract(gzip(data)));
    EXPECT_FALSE(fs::is_symlink(kernel));
    EXPECT_EQ(readFile(kernel), data);
    EXPECT_EQ(readFile(target), "keep me");
}

TEST_F(ExtractVmlinux, OutputEndingExactlyAtChunkEndIsNotAnError) {
    // A stream whose first 256 KiB chunk ends exactly where the output fills its buffer for
    // the second time: inflate has nothing to do until the next chunk comes. Built by hand:
    // a run of zeros, then four stored blocks that pad the chunk, then a final one.
    std::string zeros, deflated;
    size_t stored = 0;
    for (int round = 0; round < 20; ++round) {
        zeros.assign(2 * kChunk - stored, '\0');
        deflated = deflateUnfinished(zeros);
        const size_t next = kChunk - kGzipHeader.size() - deflated.size() - 4 * 5;
        if (next == stored) break;
        stored = next;
    }
    ASSERT_EQ(zeros.size() + stored, 2 * kChunk);
    std::string stream = kGzipHeader + deflated;
    std::string plain = zeros;
    for (size_t i = 0, offset = 0; i < 4; ++i) {
        const std::string bytes = data.substr(offset, stored / 4 + (i < 3 ? 0 : stored % 4));
        offset += bytes.size();
        stream += storedBlock(false, bytes);
        plain += bytes;
    }
    ASSERT_EQ(stream.size(), kChunk);
    stream += storedBlock(true, "the end");
    plain += "the end";
    stream += gzipTrailer(
        crc32(0, reinterpret_cast<const Bytef*>(plain.data()), static_cast<uInt>(plain.size())),
        plain.size());

    ASSERT_TRUE(extract(stream));
    EXPECT_EQ(readFile(kernel), plain);
}

// A disk that fills up fails the extraction and takes the partial output away. (Memory
// stays bounded however far a stream inflates: bench_kernel_image measures it.)
TEST_F(ExtractVmlinux, AFullDiskFailsAndLeavesNothing) {
    dir.makeFile("vmlinuz", gzip(std::string(4 << 20, '\0')));
    fftest::openToEveryone(dir.path());
    ::chmod(dir.path().c_str(), 0777);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  // Writes past 1 MiB fail with EFBIG instead of killing the process.
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit{1 << 20, 1 << 20};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  fftest::LogCapture log;
                  return !utils::extractVmlinux(image.c_str(), kernel.c_str()) &&
                         log.hasErrorLine("I/O error when extracting: " + kernel + " from " + image,
                                          "file_finder2/src/ff_utils");
              }));
    EXPECT_EQ(fftest::entryNames(dir.path()), std::vector<std::string>{"vmlinuz"});
}

TEST(Uncompress, RefusesBadStreamsAndReadsNoFurtherThanTheChunkHoldingTheStreamEnd) {
    fftest::TempDir dir;
    std::ofstream out(dir / "out", std::ios::binary);
    std::ifstream unreadable(dir.makeDir("a-directory"), std::ios::binary);
    ASSERT_TRUE(unreadable.is_open());  // reading it fails, and throws: swallowed
    unreadable.exceptions(std::ios::badbit);
    EXPECT_FALSE(utils::uncompress(unreadable, out));
    std::ifstream empty(dir.makeFile("empty", ""), std::ios::binary);
    EXPECT_TRUE(utils::uncompress(empty, out));  // at its end before inflating: success

    std::ifstream in(dir.makeFile("in", gzip("kernel") + std::string(3 * kChunk, 'x')),
                     std::ios::binary);
    ASSERT_TRUE(utils::uncompress(in, out));
    out.close();
    EXPECT_EQ(readFile(dir / "out"), "kernel");
    EXPECT_EQ(in.tellg(), std::streampos(kChunk));
}

}  // namespace
