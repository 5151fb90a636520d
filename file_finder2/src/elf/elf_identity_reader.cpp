// Reading an ELF file's identity:
//  1. open it with libelf (a descriptor read piece by piece, or a private copy of an
//     image) and read the ELF header: class and machine;
//  2. survey the section headers: the debug information sections, the size of the
//     debug link and of every note area, and whether the section-name table is small
//     enough to read;
//  3. the build-id note (dwelf_elf_gnu_build_id: the note sections, or the PT_NOTE
//     segments of a file without sections), when every note area it would read is small;
//  4. the debug link (dwelf_elf_gnu_debuglink), when its section is small.
// A part that cannot be read is left out and the others still answer.
#include "elf/elf_identity_reader.h"

#include <elfutils/libdwelf.h>
#include <gelf.h>
#include <libelf.h>

#include <mutex>
#include <system_error>
#include <vector>

#include "platform/posix.h"

namespace FF_2_13 {

namespace {

// Larger note areas, name tables or debug links than these are not believable; refusing
// them keeps a header from making libelf read (and allocate) what it claims.
constexpr GElf_Xword kMaxNoteArea = 1 << 20;
constexpr GElf_Xword kMaxNameTable = 16 << 20;
constexpr GElf_Xword kMaxDebugLink = 64 << 10;
constexpr ssize_t kMaxBuildIdBytes = 1024;
// The smallest header table entries (32-bit ELF): more entries than fit in the file are
// a lie, whatever libelf made of them.
constexpr std::uint64_t kMinSectionHeaderSize = 40;
constexpr std::uint64_t kMinProgramHeaderSize = 32;

void initialiseLibelf() {
    static std::once_flag once;
    std::call_once(once, [] { elf_version(EV_CURRENT); });
}

std::string libelfError() {
    const char* message = elf_errmsg(-1);
    return message ? message : "unknown libelf error";
}

class ElfHandle {
public:
    explicit ElfHandle(Elf* elf) : m_elf(elf) {}
    ~ElfHandle() {
        if (m_elf) elf_end(m_elf);
    }
    ElfHandle(const ElfHandle&) = delete;
    ElfHandle& operator=(const ElfHandle&) = delete;
    Elf* get() const { return m_elf; }

private:
    Elf* m_elf;
};

bool hasContents(const GElf_Shdr& header) {
    return header.sh_type != SHT_NOBITS && header.sh_size > 0;
}

// What the section headers say, in one pass over them.
struct SectionSurvey {
    bool anySection = false;     // dwelf then takes notes from sections only
    bool notesFit = true;        // every note section within kMaxNoteArea
    bool namesReadable = false;  // the section-name table within kMaxNameTable
    bool debugLinkFits = false;  // the first ".gnu_debuglink" within kMaxDebugLink
    bool hasDebugInfo = false;
};

SectionSurvey surveySections(Elf* elf, std::uint64_t fileSize) {
    SectionSurvey survey;
    std::size_t count = 0;
    if (elf_getshdrnum(elf, &count) != 0 || count > fileSize / kMinSectionHeaderSize) return survey;
    survey.anySection = elf_nextscn(elf, nullptr) != nullptr;
    std::size_t namesIndex = 0;
    if (elf_getshdrstrndx(elf, &namesIndex) == 0) {
        GElf_Shdr names;
        Elf_Scn* section = elf_getscn(elf, namesIndex);
        survey.namesReadable = section && gelf_getshdr(section, &names) &&
                               names.sh_type == SHT_STRTAB && names.sh_size <= kMaxNameTable;
    }
    bool debugLinkSeen = false;
    for (Elf_Scn* section = elf_nextscn(elf, nullptr); section;
         section = elf_nextscn(elf, section)) {
        GElf_Shdr header;
        if (!gelf_getshdr(section, &header)) continue;
        if (header.sh_type == SHT_NOTE && header.sh_size > kMaxNoteArea) survey.notesFit = false;
        if (!survey.namesReadable) continue;
        const char* name = elf_strptr(elf, namesIndex, header.sh_name);
        if (!name) continue;
        const std::string_view text(name);
        if (text == ".gnu_debuglink" && !debugLinkSeen) {
            debugLinkSeen = true;
            survey.debugLinkFits = hasContents(header) && header.sh_size <= kMaxDebugLink;
        } else if (text == ".debug_info" || text == ".zdebug_info" || text == ".gnu_debugdata") {
            survey.hasDebugInfo = survey.hasDebugInfo || hasContents(header);
        }
    }
    return survey;
}

bool segmentNotesFit(Elf* elf, std::uint64_t fileSize) {
    std::size_t count = 0;
    if (elf_getphdrnum(elf, &count) != 0 || count > fileSize / kMinProgramHeaderSize) return false;
    for (std::size_t i = 0; i < count; ++i) {
        GElf_Phdr header;
        if (gelf_getphdr(elf, static_cast<int>(i), &header) && header.p_type == PT_NOTE &&
            header.p_filesz > kMaxNoteArea)
            return false;
    }
    return true;
}

std::string hexOf(const void* bytes, std::size_t size) {
    static const char kDigits[] = "0123456789abcdef";
    const auto* byte = static_cast<const unsigned char*>(bytes);
    std::string hex;
    hex.reserve(2 * size);
    for (std::size_t i = 0; i < size; ++i) {
        hex += kDigits[byte[i] >> 4];
        hex += kDigits[byte[i] & 15];
    }
    return hex;
}

void readBuildId(Elf* elf, ElfIdentity& identity) {
    const void* bits = nullptr;
    const ssize_t length = dwelf_elf_gnu_build_id(elf, &bits);
    if (bits && length > 0 && length <= kMaxBuildIdBytes)
        identity.buildId = hexOf(bits, static_cast<std::size_t>(length));
}

void readDebugLink(Elf* elf, ElfIdentity& identity) {
    GElf_Word crc = 0;
    const char* name = dwelf_elf_gnu_debuglink(elf, &crc);
    if (!name) return;
    identity.debugLinkCrc = crc;
    // A debug link names a file beside the binary; a path there is not one we follow.
    const std::string text(name);
    if (text.find('/') == std::string::npos) identity.debugLink = text;
}

// Steps 1 to 4 on an open libelf handle of a file of `fileSize` bytes.
ElfIdentity readOpenElf(Elf* elf, std::uint64_t fileSize) {
    ElfIdentity identity;
    if (!elf) {
        identity.error = "not an ELF file: " + libelfError();
        return identity;
    }
    if (elf_kind(elf) != ELF_K_ELF) {
        identity.error =
            elf_kind(elf) == ELF_K_AR ? "an archive, not an ELF file" : "not an ELF file";
        return identity;
    }
    GElf_Ehdr header;
    if (!gelf_getehdr(elf, &header)) {
        identity.error = "a damaged ELF header: " + libelfError();
        return identity;
    }
    identity.status = irsElf;
    identity.elfClass = header.e_ident[EI_CLASS];
    identity.machine = header.e_machine;

    const SectionSurvey sections = surveySections(elf, fileSize);
    identity.hasDebugInfo = sections.hasDebugInfo;
    if (sections.anySection ? sections.notesFit : segmentNotesFit(elf, fileSize))
        readBuildId(elf, identity);
    if (sections.debugLinkFits) readDebugLink(elf, identity);
    return identity;
}

}  // namespace

ElfIdentity readElfIdentity(const char* path) {
    initialiseLibelf();
    ElfIdentity identity;
    posix::FileStatus status;
    const posix::FileDescriptor file = posix::openRegularFile(path ? path : "", status);
    if (!file.isOpen()) {
        identity.status = irsCannotOpen;
        identity.error = std::system_category().message(errno);
        return identity;
    }
    // ELF_C_READ, not a mapping: pieces are read with pread, so a file truncated while it
    // is read gives a read error instead of a fault.
    const ElfHandle elf(elf_begin(file.get(), ELF_C_READ, nullptr));
    return readOpenElf(elf.get(), status.size);
}

ElfIdentity readElfIdentity(const void* bytes, std::size_t size) {
    initialiseLibelf();
    // libelf may convert data in place in an image it is given: it gets a copy.
    std::vector<char> image(static_cast<const char*>(bytes),
                            static_cast<const char*>(bytes) + (bytes ? size : 0));
    if (image.empty()) {
        ElfIdentity identity;
        identity.error = "not an ELF file: the image is empty";
        return identity;
    }
    const ElfHandle elf(elf_memory(image.data(), image.size()));
    return readOpenElf(elf.get(), image.size());
}

std::string describeElfTarget(int elfClass, int machine) {
    if (elfClass != ELFCLASS32 && elfClass != ELFCLASS64) return "";
    const char* name = dwelf_elf_e_machine_string(machine);
    return std::string(elfClass == ELFCLASS64 ? "64-bit " : "32-bit ") +
           (name ? name : "machine " + std::to_string(machine));
}

}  // namespace FF_2_13
