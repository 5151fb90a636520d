// MD5 and SHA1 of files through the helper-library adapter.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mulkit2/digest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

#include "mulkit2_chunk_reader.h"

#include "temp_dir.h"
#include "unprivileged.h"

namespace {

// Large enough for the read-ahead thread, and for its 2 MiB ring to wrap around.
std::string largeContents() {
    std::string contents(3 * 1024 * 1024 + 123, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<char>((i * 2654435761u) >> 13);
    return contents;
}

template <class Digest>
std::string digestOf(const std::string& path, unsigned int chunk = 4096) {
    Digest digest;
    if (!digest.update_from_file(mulkit2::path_t(path.c_str()), chunk)) return "failed";
    return digest.get_digest_base16();
}

}  // namespace

TEST(FileDigest, KnownVectorsInLowerCaseHex) {
    fftest::TempDir dir;
    const std::string empty = dir.makeFile("empty", "");
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", digestOf<mulkit2::md5_t>(empty));
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", digestOf<mulkit2::sha1_t>(empty));
    mulkit2::md5_t finished;
    ASSERT_TRUE(finished.update("abc", 3));
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", finished.get_digest_base16());
    EXPECT_FALSE(finished.update("d", 1)) << "a finished digest takes nothing more";
}

// A small file is read whole; a large one ahead on a second thread, round its ring.
TEST(FileDigest, NeitherChunkSizeNorReadingAheadChangesTheDigest) {
    fftest::TempDir dir;
    for (const std::string& contents : {largeContents().substr(0, 10000), largeContents()}) {
        const std::string file = dir.makeFile("data", contents);
        mulkit2::md5_t md5;
        mulkit2::sha1_t sha1;
        ASSERT_TRUE(md5.update(contents.data(), contents.size()));
        ASSERT_TRUE(sha1.update(contents.data(), contents.size()));
        for (unsigned int chunk : {7u, 4096u, 4099u, 256u * 1024, 1u << 20}) {
            if (chunk < 4096 && contents.size() > 10000) continue;  // 450,000 reads
            EXPECT_EQ(md5.get_digest_base16(), digestOf<mulkit2::md5_t>(file, chunk)) << chunk;
            EXPECT_EQ(sha1.get_digest_base16(), digestOf<mulkit2::sha1_t>(file, chunk)) << chunk;
        }
    }
}

// The read-ahead ring on its own: order, every way of stopping early, read errors.
TEST(ChunkReader, ReadAheadDeliversTheFileInOrderAndStopsCleanly) {
    fftest::TempDir dir;
    const std::string contents = largeContents();
    const std::string file = dir.makeFile("large", contents);
    auto readWith = [&](const mulkit2::detail::chunk_consumer_t& consume, int flags = O_RDONLY) {
        const int fd = ::open(file.c_str(), flags);
        const bool complete = mulkit2::detail::read_in_chunks(fd, 4096, contents.size(), consume);
        ::close(fd);
        return complete;
    };

    std::string seen;
    std::size_t chunks = 0;
    EXPECT_TRUE(readWith([&](const unsigned char* data, std::size_t size) {
        EXPECT_LE(size, 4096u);
        seen.append(reinterpret_cast<const char*>(data), size);
        return ++chunks > 0;
    }));
    EXPECT_TRUE(seen == contents) << "bytes lost, repeated or out of order";

    chunks = 0;
    EXPECT_FALSE(readWith([&](const unsigned char*, std::size_t) { return ++chunks < 300; }));
    EXPECT_EQ(300u, chunks) << "a refused chunk ends the reading";
    EXPECT_THROW(readWith([](const unsigned char*, std::size_t) -> bool {
                     throw std::runtime_error("consumer failed");
                 }),
                 std::runtime_error);
    EXPECT_FALSE(readWith([](const unsigned char*, std::size_t) { return true; }, O_WRONLY))
        << "a read error fails the whole read";
}

TEST(FileDigest, UnreadableFileIsAFailure) {
    fftest::TempDir dir;
    const std::string secret = dir.makeFile("secret", "abc");
    ASSERT_EQ(0, ::chmod(secret.c_str(), 0));
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(secret.c_str(), 0));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  mulkit2::sha1_t sha1;
                  return !sha1.update_from_file(mulkit2::path_t(secret.c_str()), 4096) &&
                         sha1.get_digest_base16().empty();
              }));
}
