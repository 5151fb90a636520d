// MD5 and SHA1 of files through the helper-library adapter.
#include <gtest/gtest.h>
#include <mulkit2/digest.h>
#include <sys/stat.h>

#include <climits>
#include <string>

#include "temp_dir.h"
#include "unprivileged.h"

namespace {

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

// Chunks smaller than a read, not dividing it, as large as it and larger; a small file
// and one of several reads with a short tail.
TEST(FileDigest, ChunkSizeDoesNotChangeTheDigest) {
    fftest::TempDir dir;
    std::string large(1024 * 1024 + 123, '\0');
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char>((i * 2654435761u) >> 13);
    for (const std::string& contents : {large.substr(0, 10000), large}) {
        const std::string file = dir.makeFile("data", contents);
        mulkit2::md5_t md5;
        mulkit2::sha1_t sha1;
        ASSERT_TRUE(md5.update(contents.data(), contents.size()));
        ASSERT_TRUE(sha1.update(contents.data(), contents.size()));
        for (unsigned int chunk : {7u, 4096u, 4099u, 256u * 1024, 1u << 20, UINT_MAX}) {
            EXPECT_EQ(md5.get_digest_base16(), digestOf<mulkit2::md5_t>(file, chunk)) << chunk;
            EXPECT_EQ(sha1.get_digest_base16(), digestOf<mulkit2::sha1_t>(file, chunk)) << chunk;
        }
    }
}

// A regular file whose first read fails (EIO: nothing is mapped at address 0).
TEST(FileDigest, ReadErrorIsAFailure) {
    mulkit2::md5_t md5;
    EXPECT_FALSE(md5.update_from_file(mulkit2::path_t("/proc/self/mem"), 4096));
    EXPECT_EQ("", md5.get_digest_base16());
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
