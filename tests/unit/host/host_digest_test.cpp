// MD5 and SHA1 of files through the helper-library adapter: the hash is fed in the chunk the
// caller names, from reads of their own size, and any chunk gives the same digest.
#include <gtest/gtest.h>
#include <mulkit2/digest.h>
#include <sys/stat.h>

#include <climits>

#include "temp_dir.h"
#include "unprivileged.h"

namespace {

template <class Digest>
std::string digestOf(const std::string& path, unsigned int chunk = 4096) {
    Digest digest;
    return digest.update_from_file(mulkit2::path_t(path.c_str()), chunk)
               ? digest.get_digest_base16()
               : "failed";
}

}  // namespace

TEST(FileDigest, AnyChunkGivesTheDigestOfTheWholeContents) {
    fftest::TempDir dir;
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e",
              digestOf<mulkit2::md5_t>(dir.makeFile("empty", "")));
    EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", digestOf<mulkit2::sha1_t>(dir / "empty"));
    std::string large(1024 * 1024 + 123, '\0');
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<char>((i * 2654435761u) >> 13);
    for (const std::string& contents : {large.substr(0, 10000), large}) {
        const std::string file = dir.makeFile("data", contents);
        mulkit2::md5_t md5;
        mulkit2::sha1_t sha1;
        ASSERT_TRUE(md5.update(contents.data(), contents.size()) &&
                    sha1.update(contents.data(), contents.size()));
        // Smaller than a read, not dividing it, as large as it and larger.
        for (unsigned int chunk : {7u, 4096u, 4099u, 256u * 1024, 1u << 20, UINT_MAX}) {
            EXPECT_EQ(md5.get_digest_base16(), digestOf<mulkit2::md5_t>(file, chunk)) << chunk;
            EXPECT_EQ(sha1.get_digest_base16(), digestOf<mulkit2::sha1_t>(file, chunk)) << chunk;
        }
        EXPECT_FALSE(md5.update("d", 1)) << "a finished digest takes nothing more";
    }
}

TEST(FileDigest, UnreadableFilesAndReadErrorsAreFailures) {
    // /proc/self/mem is a regular file whose first read fails (nothing is mapped at 0).
    EXPECT_EQ("failed", digestOf<mulkit2::md5_t>("/proc/self/mem"));
    fftest::TempDir dir;
    const std::string secret = dir.makeFile("secret", "abc");
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(secret.c_str(), 0));
    EXPECT_EQ(
        0, fftest::runUnprivileged([&] { return digestOf<mulkit2::sha1_t>(secret) == "failed"; }));
}
