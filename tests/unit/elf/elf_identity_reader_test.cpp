// The ELF identity reader on images made here byte by byte: both classes, both byte
// orders, with and without sections. Hostile headers are fuzz_elf_identity's; files made by
// the compiler and binutils are read in identity_validators_test.
#include "elf/elf_identity_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "elf/file_identity.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

// Every image has the build-id 3a9f00c1d2 and the debug link's CRC 0x11223344.
struct ElfSpec {
    bool is64 = true;
    bool bigEndian = false;
    bool debugInfo = false;
    bool sections = true;
    std::string debugLink = "app.debug";
};
const std::string kBuildId("\x3a\x9f\x00\xc1\xd2", 5);

// Offsets of the parts of the images below.
constexpr std::size_t kNoteAt = 0x100, kLinkAt = 0x200, kNamesAt = 0x300, kInfoAt = 0x380,
                      kPhdrAt = 0x400, kShdrAt = 0x480;
const std::string kNames =
    std::string("\0.shstrtab\0.note.gnu.build-id\0.gnu_debuglink\0.debug_info\0", 57);
constexpr std::uint32_t kShstrtabName = 1, kNoteName = 11, kLinkName = 30, kInfoName = 45;

// Writes integers of the image's byte order into an image.
class ElfWriter {
public:
    ElfWriter(bool bigEndian, std::string image) : m_big(bigEndian), m_bytes(std::move(image)) {}
    void put(std::size_t at, std::uint64_t value, std::size_t width) {
        for (std::size_t i = 0; i < width; ++i)
            m_bytes[at + i] = static_cast<char>((value >> 8 * (m_big ? width - 1 - i : i)) & 0xFF);
    }
    void bytes(std::size_t at, const std::string& data) { m_bytes.replace(at, data.size(), data); }
    const std::string& image() const { return m_bytes; }

private:
    bool m_big;
    std::string m_bytes;
};

// A small ELF file: header, one PT_NOTE segment, and the sections null, .shstrtab,
// .note.gnu.build-id, .gnu_debuglink and .debug_info.
std::string buildElf(const ElfSpec& layout) {
    const bool w = layout.is64;
    const std::size_t word = w ? 8 : 4, shentsize = w ? 64 : 40, at = w ? 54 : 42;
    ElfWriter out(layout.bigEndian, std::string(kShdrAt + 5 * shentsize, '\0'));
    out.bytes(0, "\177ELF");
    out.put(4, w ? 2 : 1, 1);                 // class
    out.put(5, layout.bigEndian ? 2 : 1, 1);  // byte order
    out.put(6, 1, 1);                         // version
    out.put(16, 3, 2);                        // ET_DYN
    out.put(18, w ? 62 : 3, 2);               // EM_X86_64, EM_386
    out.put(20, 1, 4);                        // EV_CURRENT
    out.put(at - 2, w ? 64 : 52, 2);          // e_ehsize
    out.put(w ? 32 : 28, kPhdrAt, word);
    out.put(at, w ? 56 : 32, 2);
    out.put(at + 2, 1, 2);
    if (layout.sections) {
        out.put(w ? 40 : 32, kShdrAt, word);
        out.put(at + 4, shentsize, 2);
        out.put(at + 6, 5, 2);
        out.put(at + 8, 1, 2);
    }
    // The note: namesz, descsz, type, "GNU\0", the id padded to 4 bytes.
    const std::size_t noteSize = 16 + (kBuildId.size() + 3) / 4 * 4;
    out.put(kNoteAt, 4, 4);
    out.put(kNoteAt + 4, kBuildId.size(), 4);
    out.put(kNoteAt + 8, 3, 4);
    out.bytes(kNoteAt + 12, std::string("GNU\0", 4));
    out.bytes(kNoteAt + 16, kBuildId);
    // The debug link: the name, NUL, padding to 4, the CRC.
    const std::size_t crcAt = (layout.debugLink.size() + 1 + 3) / 4 * 4;
    out.bytes(kLinkAt, layout.debugLink);
    out.put(kLinkAt + crcAt, 0x11223344, 4);
    out.bytes(kNamesAt, kNames);
    out.bytes(kInfoAt, "debug info bytes");
    // The PT_NOTE segment: type, offset, file size, alignment.
    out.put(kPhdrAt, 4, 4);
    out.put(kPhdrAt + (w ? 8 : 4), kNoteAt, word);
    out.put(kPhdrAt + (w ? 32 : 16), noteSize, word);
    out.put(kPhdrAt + (w ? 48 : 28), 4, word);
    struct Sh {
        std::uint32_t name, type;
        std::size_t offset, size;
    };
    const Sh sections[] = {{0, 0, 0, 0},
                           {kShstrtabName, 3, kNamesAt, kNames.size()},
                           {kNoteName, 7, kNoteAt, noteSize},
                           {kLinkName, 1, kLinkAt, crcAt + 4},
                           {kInfoName, 1, kInfoAt, layout.debugInfo ? 16u : 0u}};
    for (std::size_t i = 0; i < 5; ++i) {
        const std::size_t sh = kShdrAt + i * shentsize;
        out.put(sh, sections[i].name, 4);
        out.put(sh + 4, sections[i].type, 4);
        out.put(sh + (w ? 24 : 16), sections[i].offset, word);
        out.put(sh + (w ? 32 : 20), sections[i].size, word);
        out.put(sh + (w ? 48 : 32), i == 0 ? 0 : 4, word);
    }
    return out.image();
}

ElfIdentity read(const std::string& image) {
    return readElfIdentity(image.data(), image.size());
}

}  // namespace

TEST(ElfIdentityReader, ReadsBothClassesInBothByteOrders) {
    for (bool is64 : {false, true}) {
        for (bool big : {false, true}) {
            SCOPED_TRACE(std::string(is64 ? "64" : "32") + (big ? " big" : " little") + " endian");
            const ElfIdentity identity = read(buildElf({is64, big, true}));
            ASSERT_EQ(identity.status, irsElf) << identity.error;
            EXPECT_EQ(identity.buildId, "3a9f00c1d2");
            EXPECT_EQ(identity.debugLink, "app.debug");
            EXPECT_EQ(identity.debugLinkCrc, 0x11223344u);
            EXPECT_TRUE(identity.hasDebugInfo);
            EXPECT_EQ(identity.elfClass, is64 ? 2 : 1);
            EXPECT_EQ(identity.machine, is64 ? 62 : 3);
        }
    }
    EXPECT_EQ(describeElfTarget(2, 62), "64-bit AMD x86-64");
    EXPECT_EQ(describeElfTarget(1, 0xbeef), "32-bit machine 48879");
    EXPECT_EQ(describeElfTarget(0, 62), "");
}

TEST(ElfIdentityReader, TakesTheBuildIdFromSegmentsWhenThereAreNoSections) {
    const ElfIdentity identity = read(buildElf({true, false, false, false}));
    ASSERT_EQ(identity.status, irsElf);
    EXPECT_EQ(identity.buildId, "3a9f00c1d2");
    EXPECT_EQ(identity.debugLink, "");
    EXPECT_FALSE(identity.debugLinkCrc.has_value());
    EXPECT_FALSE(identity.hasDebugInfo);
}

TEST(ElfIdentityReader, NamesNoDebugLinkThatIsAPath) {
    const ElfIdentity identity = read(buildElf({true, false, false, true, "../../etc/shadow"}));
    EXPECT_EQ(identity.debugLink, "");
    EXPECT_EQ(identity.debugLinkCrc, 0x11223344u);  // still the CRC of whatever it names
}

TEST(ElfIdentityReader, TellsNonElfInputFromUnreadableFiles) {
    fftest::TempDir dir;
    const struct {
        std::string path;
        identity_read_status_t status;
    } cases[] = {
        {dir.makeFile("libc.so", "/* GNU ld script */\nGROUP ( libc.so.6 )\n"), irsNotElf},
        {dir.makeFile("empty", ""), irsNotElf},
        {dir.makeFile("archive.a", "!<arch>\n"), irsNotElf},
        {dir.makeFile("elf-magic-only", "\177ELF"), irsNotElf},
        {dir.makeDir("sub"), irsCannotOpen},
        {dir / "missing", irsCannotOpen},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const ElfIdentity identity = readElfIdentity(c.path.c_str());
        EXPECT_EQ(identity.status, c.status);
        EXPECT_FALSE(identity.error.empty());
    }
    EXPECT_EQ(readElfIdentity(nullptr).status, irsCannotOpen);
    EXPECT_EQ(readElfIdentity(nullptr, 10).status, irsNotElf);
    // An unknown class is not an ELF file libelf reads.
    std::string image = buildElf(ElfSpec{});
    image[4] = 3;
    EXPECT_EQ(read(image).status, irsNotElf);
    // A file reads as its image does.
    const std::string file = dir.makeFile("app", buildElf(ElfSpec{}));
    EXPECT_EQ(readElfIdentity(file.c_str()).buildId, "3a9f00c1d2");
}

TEST(FileIdentity, IsMadeFromARecordedBuildIdOfWholeBytes) {
    const ObjectPtr<IFileIdentity> recorded = IFileIdentity::fromBuildId("3A9F00c1d2");
    ASSERT_TRUE(recorded);
    EXPECT_EQ(recorded->status(), irsRecorded);
    EXPECT_STREQ(recorded->buildId(), "3a9f00c1d2");
    EXPECT_EQ(recorded->elfClass(), 0);
    EXPECT_STREQ(recorded->target(), "");
    for (const char* bad : {"", "3a", "3a9", "3a9f0g", "3a 9f"}) {
        SCOPED_TRACE(bad);
        EXPECT_FALSE(IFileIdentity::fromBuildId(bad));
    }
    EXPECT_FALSE(IFileIdentity::fromBuildId(nullptr));
}
