// Reading an ELF file's debug links:
//  1. read the identification and the file header (class, byte order, table positions);
//  2. read the section header table, resolving the extended counts kept in section 0;
//  3. read the section-name table and, per section, the build-id notes (SHT_NOTE), the
//     debug link (".gnu_debuglink") and whether ".debug_info" has contents;
//  4. without a build id from the sections, read the notes of the PT_NOTE segments.
// Every read goes through ElfImage::read, which refuses ranges outside the file; a part
// that cannot be read is skipped and the others still answer.
#include "core/elf_debug_links.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

namespace ffcli {

namespace {

// Larger header tables, note areas, name tables or debug links than these are not
// believable; refusing them keeps a hostile header from making the reader allocate what
// it claims.
constexpr std::uint64_t kMaxNoteArea = 1 << 20;
constexpr std::uint64_t kMaxNameTable = 16 << 20;
constexpr std::uint64_t kMaxDebugLink = 64 << 10;
constexpr std::uint64_t kMaxHeaderTable = 64 << 20;
constexpr std::uint32_t kMaxBuildIdBytes = 1024;

constexpr std::uint32_t kPtNote = 4;
constexpr std::uint32_t kShtNote = 7;
constexpr std::uint32_t kShtNobits = 8;
constexpr std::uint32_t kNtGnuBuildId = 3;
constexpr std::uint32_t kShnXindex = 0xffff;
constexpr std::uint32_t kPnXnum = 0xffff;

// Random access to the bytes of the file, bounds-checked.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t size() const = 0;
    /// Fills `out` with the bytes at [offset, offset + out.size()); false when the range
    /// is not wholly inside the file or the read fails.
    virtual bool read(std::uint64_t offset, std::string& out) const = 0;

protected:
    bool inside(std::uint64_t offset, std::uint64_t length) const {
        return offset <= size() && length <= size() - offset;
    }
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string_view bytes) : m_bytes(bytes) {}
    std::uint64_t size() const override { return m_bytes.size(); }
    bool read(std::uint64_t offset, std::string& out) const override {
        if (!inside(offset, out.size())) return false;
        out.assign(m_bytes.data() + offset, out.size());
        return true;
    }

private:
    std::string_view m_bytes;
};

class FileSource : public ByteSource {
public:
    FileSource(std::ifstream& in, std::uint64_t size) : m_in(in), m_size(size) {}
    std::uint64_t size() const override { return m_size; }
    bool read(std::uint64_t offset, std::string& out) const override {
        if (!inside(offset, out.size())) return false;
        m_in.clear();
        m_in.seekg(static_cast<std::streamoff>(offset));
        m_in.read(&out[0], static_cast<std::streamsize>(out.size()));
        return static_cast<std::uint64_t>(m_in.gcount()) == out.size();
    }

private:
    std::ifstream& m_in;
    std::uint64_t m_size;
};

// Numbers out of a byte buffer in the file's byte order; callers check the length.
class Decoder {
public:
    explicit Decoder(bool bigEndian) : m_bigEndian(bigEndian) {}
    std::uint64_t get(const std::string& bytes, std::size_t offset, std::size_t width) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < width; ++i) {
            const std::size_t index = m_bigEndian ? offset + i : offset + width - 1 - i;
            value = (value << 8) | static_cast<unsigned char>(bytes[index]);
        }
        return value;
    }
    std::uint32_t u16(const std::string& b, std::size_t o) const {
        return static_cast<std::uint32_t>(get(b, o, 2));
    }
    std::uint32_t u32(const std::string& b, std::size_t o) const {
        return static_cast<std::uint32_t>(get(b, o, 4));
    }

private:
    bool m_bigEndian;
};

struct Section {
    std::uint32_t name, type;
    std::uint64_t offset, size, align;
    std::uint32_t link, info;
};

class ElfImage {
public:
    explicit ElfImage(const ByteSource& source) : m_source(source), m_decoder(false) {}

    ElfReadResult read() {
        ElfReadResult result;
        if (!readHeader()) {
            result.error = "not an ELF file";
            return result;
        }
        result.status = ElfReadStatus::kOk;
        readSections();
        readSectionContents(result.links);
        if (result.links.buildId.empty()) readSegmentNotes(result.links);
        return result;
    }

private:
    bool bytes(std::uint64_t offset, std::uint64_t length, std::string& out) const {
        if (length > m_source.size()) return false;
        out.assign(static_cast<std::size_t>(length), '\0');
        return m_source.read(offset, out);
    }

    bool readHeader() {
        std::string ident;
        if (!bytes(0, 16, ident) || ident.compare(0, 4,
                                                  "\x7f"
                                                  "ELF") != 0)
            return false;
        if (ident[4] != 1 && ident[4] != 2) return false;
        if (ident[5] != 1 && ident[5] != 2) return false;
        m_is64 = ident[4] == 2;
        m_decoder = Decoder(ident[5] == 2);
        std::string header;
        if (!bytes(0, m_is64 ? 64 : 52, header)) return false;
        const Decoder& d = m_decoder;
        if (m_is64) {
            m_phoff = d.get(header, 32, 8);
            m_shoff = d.get(header, 40, 8);
        } else {
            m_phoff = d.u32(header, 28);
            m_shoff = d.u32(header, 32);
        }
        const std::size_t at = m_is64 ? 54 : 42;
        m_phentsize = d.u16(header, at);
        m_phnum = d.u16(header, at + 2);
        m_shentsize = d.u16(header, at + 4);
        m_shnum = d.u16(header, at + 6);
        m_shstrndx = d.u16(header, at + 8);
        return true;
    }

    // A table of `count` entries of `entsize` bytes (at least `minimum`) at `offset`, read
    // in one piece; false when it does not fit in the file.
    bool table(std::uint64_t offset, std::uint64_t count, std::uint64_t entsize,
               std::uint64_t minimum, std::string& out) const {
        if (count == 0 || entsize < minimum || count > m_source.size() / entsize ||
            count * entsize > kMaxHeaderTable)
            return false;
        return bytes(offset, count * entsize, out);
    }

    Section sectionAt(const std::string& table, std::size_t at) const {
        const Decoder& d = m_decoder;
        Section s{};
        s.name = d.u32(table, at);
        s.type = d.u32(table, at + 4);
        if (m_is64) {
            s.offset = d.get(table, at + 24, 8);
            s.size = d.get(table, at + 32, 8);
            s.link = d.u32(table, at + 40);
            s.info = d.u32(table, at + 44);
            s.align = d.get(table, at + 48, 8);
        } else {
            s.offset = d.u32(table, at + 16);
            s.size = d.u32(table, at + 20);
            s.link = d.u32(table, at + 24);
            s.info = d.u32(table, at + 28);
            s.align = d.u32(table, at + 32);
        }
        return s;
    }

    void readSections() {
        if (m_shoff == 0) return;
        const std::uint64_t minimum = m_is64 ? 64 : 40;
        std::uint64_t count = m_shnum;
        std::uint32_t nameIndex = m_shstrndx;
        // With more sections than the header's fields hold, section 0 carries the count
        // (sh_size), the name table's index (sh_link) and the segment count (sh_info).
        std::string first;
        if (table(m_shoff, 1, m_shentsize, minimum, first)) {
            const Section zero = sectionAt(first, 0);
            if (count == 0) count = zero.size;
            if (nameIndex == kShnXindex) nameIndex = zero.link;
            if (m_phnum == kPnXnum) m_phnum = zero.info;
        }
        std::string raw;
        if (!table(m_shoff, count, m_shentsize, minimum, raw)) return;
        m_sections.reserve(static_cast<std::size_t>(count));
        for (std::uint64_t i = 0; i < count; ++i)
            m_sections.push_back(sectionAt(raw, static_cast<std::size_t>(i * m_shentsize)));
        if (nameIndex < m_sections.size()) {
            const Section& names = m_sections[nameIndex];
            if (names.type == kShtNobits || names.size > kMaxNameTable ||
                !bytes(names.offset, names.size, m_names))
                m_names.clear();
        }
    }

    // The NUL-terminated name at `offset` of the section-name table; "" when it is not
    // wholly inside the table.
    std::string_view sectionName(std::uint32_t offset) const {
        if (offset >= m_names.size()) return {};
        const std::size_t end = m_names.find('\0', offset);
        if (end == std::string::npos) return {};
        return std::string_view(m_names).substr(offset, end - offset);
    }

    void readSectionContents(ElfDebugLinks& links) const {
        for (const Section& section : m_sections) {
            if (section.type == kShtNobits) continue;
            const std::string_view name = sectionName(section.name);
            if (section.type == kShtNote && links.buildId.empty())
                readNotes(section.offset, section.size, section.align, links);
            else if (name == ".gnu_debuglink" && links.debugLink.empty())
                readDebugLink(section, links);
            else if (name == ".debug_info" && section.size > 0)
                links.hasDebugInfo = true;
        }
    }

    void readSegmentNotes(ElfDebugLinks& links) const {
        std::string raw;
        if (m_phoff == 0 || !table(m_phoff, m_phnum, m_phentsize, m_is64 ? 56 : 32, raw)) return;
        const Decoder& d = m_decoder;
        for (std::uint64_t i = 0; i < m_phnum && links.buildId.empty(); ++i) {
            const std::size_t at = static_cast<std::size_t>(i * m_phentsize);
            if (d.u32(raw, at) != kPtNote) continue;
            if (m_is64)
                readNotes(d.get(raw, at + 8, 8), d.get(raw, at + 32, 8), d.get(raw, at + 48, 8),
                          links);
            else
                readNotes(d.u32(raw, at + 4), d.u32(raw, at + 16), d.u32(raw, at + 28), links);
        }
    }

    // Walks the notes of one area: each is namesz, descsz and type (32-bit words), then
    // the name and the descriptor, each padded to the area's alignment (8 for areas
    // aligned so, else 4).
    void readNotes(std::uint64_t offset, std::uint64_t size, std::uint64_t align,
                   ElfDebugLinks& links) const {
        std::string area;
        if (size < 12 || size > kMaxNoteArea || !bytes(offset, size, area)) return;
        const std::uint64_t pad = align == 8 ? 8 : 4;
        const auto padded = [pad](std::uint64_t n) { return (n + pad - 1) / pad * pad; };
        std::uint64_t at = 0;
        while (at <= area.size() && area.size() - at >= 12) {
            const std::uint32_t nameSize = m_decoder.u32(area, static_cast<std::size_t>(at));
            const std::uint32_t descSize = m_decoder.u32(area, static_cast<std::size_t>(at + 4));
            const std::uint32_t type = m_decoder.u32(area, static_cast<std::size_t>(at + 8));
            const std::uint64_t nameAt = at + 12;
            const std::uint64_t descAt = nameAt + padded(nameSize);
            // The last note may end without its padding, never without its bytes.
            if (descAt > area.size() || descSize > area.size() - descAt) return;
            if (type == kNtGnuBuildId && nameSize == 4 &&
                area.compare(static_cast<std::size_t>(nameAt), 4, "GNU\0", 4) == 0 &&
                descSize > 0 && descSize <= kMaxBuildIdBytes) {
                static const char kHex[] = "0123456789abcdef";
                std::string hex;
                for (std::uint32_t i = 0; i < descSize; ++i) {
                    const auto byte = static_cast<unsigned char>(area[descAt + i]);
                    hex += kHex[byte >> 4];
                    hex += kHex[byte & 15];
                }
                links.buildId = hex;
                return;
            }
            at = descAt + padded(descSize);
        }
    }

    // The section holds the file name, NUL-terminated, padded to 4 bytes, then the CRC.
    void readDebugLink(const Section& section, ElfDebugLinks& links) const {
        std::string contents;
        if (section.size > kMaxDebugLink || !bytes(section.offset, section.size, contents)) return;
        const std::size_t end = contents.find('\0');
        if (end == 0 || end == std::string::npos) return;
        const std::string name = contents.substr(0, end);
        // A debug link names a file beside the binary; a path there is not one we follow.
        if (name.find('/') != std::string::npos) return;
        links.debugLink = name;
        const std::size_t crcAt = (end + 1 + 3) / 4 * 4;
        if (contents.size() >= crcAt + 4) links.debugLinkCrc = m_decoder.u32(contents, crcAt);
    }

    const ByteSource& m_source;
    Decoder m_decoder;
    bool m_is64 = false;
    std::uint64_t m_phoff = 0, m_shoff = 0;
    std::uint32_t m_phentsize = 0, m_phnum = 0, m_shentsize = 0, m_shnum = 0, m_shstrndx = 0;
    std::vector<Section> m_sections;
    std::string m_names;
};

}  // namespace

std::string ElfDebugLinks::buildIdPath() const {
    if (buildId.size() < 4) return "";
    return ".build-id/" + buildId.substr(0, 2) + "/" + buildId.substr(2) + ".debug";
}

ElfReadResult readElfDebugLinks(const std::string& path) {
    ElfReadResult result;
    result.status = ElfReadStatus::kCannotOpen;
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        result.error = error ? error.message() : "not a regular file";
        return result;
    }
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream in(path, std::ios::binary);
    if (error || !in) {
        result.error = error ? error.message() : "cannot be opened for reading";
        return result;
    }
    FileSource source(in, size);
    return ElfImage(source).read();
}

ElfReadResult parseElfDebugLinks(std::string_view image) {
    MemorySource source(image);
    return ElfImage(source).read();
}

}  // namespace ffcli
