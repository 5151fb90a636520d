// File: elf_debug_links.h
//
// The names under which a Linux system files the separate debug information of an ELF
// binary, read from the binary itself:
//
// - the build-id note (NT_GNU_BUILD_ID, owner "GNU"): debuggers look for the debug file
//   as ".build-id/" + the first byte in hex + "/" + the other bytes in hex + ".debug"
//   under a debug directory, e.g. /usr/lib/debug/.build-id/3a/9f00c1....debug;
// - the ".gnu_debuglink" section: a file name (usually "<binary>.debug") and the CRC-32
//   of that file, looked for next to the binary, in its ".debug" sub-directory and under
//   the debug directory.
//
//   ElfReadResult result = readElfDebugLinks("/usr/bin/ls");
//   if (result.status == ElfReadStatus::kOk && !result.links.buildId.empty())
//       search(result.links.buildIdPath());
//
// The reader needs nothing but the file: 32- and 64-bit, either byte order. It reads only
// the headers, the notes, the section-name table and the debug link, each checked against
// the file's size, so a truncated or hostile file gives partial or empty answers, never
// a crash and never a huge allocation. Notes are taken from SHT_NOTE sections first and
// from PT_NOTE segments when the sections have none (a file stripped of its section
// headers). Thread-safe: no state beyond the call.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ffcli {

struct ElfDebugLinks {
    /// The build id in lower-case hex; empty when the file has no build-id note.
    std::string buildId;
    /// The file name of the ".gnu_debuglink" section; empty when there is none (or it is
    /// not a plain file name).
    std::string debugLink;
    /// The CRC-32 stored after the debug link name, when the section is long enough.
    std::optional<std::uint32_t> debugLinkCrc;
    /// True when the file carries a ".debug_info" section with contents: the binary is
    /// its own symbol file.
    bool hasDebugInfo = false;

    /// ".build-id/xx/rest.debug"; empty when the build id is shorter than two bytes.
    std::string buildIdPath() const;
};

enum class ElfReadStatus {
    kOk,          ///< an ELF file; `links` holds what it names (possibly nothing)
    kCannotOpen,  ///< missing, not a regular file, or unreadable
    kNotElf,      ///< readable, but no ELF header of a known class and byte order
};

struct ElfReadResult {
    ElfReadStatus status = ElfReadStatus::kNotElf;
    ElfDebugLinks links;
    /// Why the status is not kOk, for a user.
    std::string error;
};

/// Reads the debug links of the file `path`.
ElfReadResult readElfDebugLinks(const std::string& path);

/// Reads the debug links of an ELF image held in memory.
ElfReadResult parseElfDebugLinks(std::string_view image);

}  // namespace ffcli
