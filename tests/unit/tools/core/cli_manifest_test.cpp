// Manifests and checksum texts of the file-finder command.
#include "core/manifest.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ffcli;

namespace {

Manifest parse(const std::string& text) {
    std::istringstream in(text);
    return parseManifest(in);
}

const std::string kMd5 = "9e107d9d372bb6826bd81d3542a419d6";
const std::string kSha1 = "2fd4e1c67a2d28fced849ee1bb76e7391b93eb12";

}  // namespace

TEST(Manifest, ReadsEveryKindOfRequest) {
    const Manifest manifest = parse(
        "# run 17\n"
        "bin\t/usr/lib/libx.so.1\tmd5:" +
        kMd5 +
        "\n"
        "\n"
        "   \t \n"
        "  # indented comment\n"
        "sym\tlibx.so.1.debug\t/usr/lib/libx.so.1\r\n"
        "src\t/build/my dir/a.c\t/usr/lib/libx.so.1\tsha1:" +
        kSha1 +
        "\n"
        "bin\tvmlinux");
    EXPECT_TRUE(manifest.errors.empty());
    ASSERT_EQ(manifest.requests.size(), 4u);
    EXPECT_EQ(manifest.requests[0].kind, RequestKind::kBinary);
    EXPECT_EQ(manifest.requests[0].checksum->text(), "md5:" + kMd5);
    EXPECT_EQ(manifest.requests[1].kind, RequestKind::kSymbol);
    EXPECT_EQ(manifest.requests[1].binary, "/usr/lib/libx.so.1");
    EXPECT_FALSE(manifest.requests[1].checksum.has_value());
    EXPECT_EQ(manifest.requests[2].name, "/build/my dir/a.c");
    EXPECT_EQ(manifest.requests[2].checksum->type, FF_2_13::ctSHA1);
    EXPECT_EQ(manifest.requests[3].name, "vmlinux");
}

TEST(Manifest, ReportsMalformedLinesByNumberAndKeepsTheRest) {
    const Manifest manifest = parse(
        "bin\t/a\n"
        "lib\t/b\n"           // 2: unknown kind
        "sym\tx.debug\n"      // 3: no binary
        "bin\t/c\tmd5:123\n"  // 4: short checksum
        "bin /d\n"            // 5: blanks, not tabs
        "src\ta.c\t/bin/x\tmd5:" +
        kMd5 +
        "\textra\n"            // 6
        "sym\t\t/bin/x\n"      // 7: empty name
        "bin\t/e\tcrc:1234\n"  // 8: unknown type
        "bin\t/f\n");
    std::vector<std::size_t> lines;
    for (const ManifestError& e : manifest.errors) lines.push_back(e.line);
    EXPECT_EQ(lines, (std::vector<std::size_t>{2, 3, 4, 5, 6, 7, 8}));
    ASSERT_EQ(manifest.requests.size(), 2u);
    EXPECT_EQ(manifest.requests[1].name, "/f");
    EXPECT_NE(manifest.errors[2].message.find("32 hexadecimal digits"), std::string::npos);
}

TEST(Checksum, ParsesMd5AndSha1AndRefusesTheRest) {
    ExpectedChecksum sum;
    std::string error;
    EXPECT_TRUE(
        parseChecksum("md5:" + std::string("9E107D9D372BB6826BD81D3542A419D6"), sum, error));
    EXPECT_EQ(sum.text(), "md5:" + kMd5);
    EXPECT_TRUE(parseChecksum("sha1:" + kSha1, sum, error));
    EXPECT_EQ(sum.type, FF_2_13::ctSHA1);
    for (const std::string& bad :
         std::vector<std::string>{"", "md5", "md5:", "md5:" + kSha1, "sha1:" + kMd5, "MD5:" + kMd5,
                                  "md5:" + kMd5.substr(1) + "g", "sha256:00"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(parseChecksum(bad, sum, error));
        EXPECT_FALSE(error.empty());
    }
    EXPECT_EQ(sum.text(), "sha1:" + kSha1);  // unchanged by the refusals
}
