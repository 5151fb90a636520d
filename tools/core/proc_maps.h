// File: proc_maps.h
//
// The binaries a running process has mapped, read from /proc/PID/maps: one line per
// mapping,
//
//   7f3a1c000000-7f3a1c028000 r--p 00000000 08:01 1311 /usr/lib/x86_64-linux-gnu/libc.so.6
//   7f3a1c028000-7f3a1c1bd000 r-xp 00028000 08:01 1311 /usr/lib/x86_64-linux-gnu/libc.so.6
//
// The mappings of one file (one path, device and inode) make one module; a module counts
// when one of its mappings is executable and its path begins with '/'. The vDSO, which
// the kernel maps without a file ("[vdso]"), counts too; other pseudo-mappings ("[stack]",
// anonymous memory) do not. A file removed or replaced since it was mapped shows as
// "PATH (deleted)" and is kept with that suffix taken off and `deleted` set; a library
// replaced and then loaded again is two modules of one path. Modules come in the order of
// their first mapping.
//
//   std::string error;
//   std::optional<std::vector<MappedModule>> modules = readProcMaps("self", error);
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace ffcli {

struct MappedModule {
    /// The file's path, or "[vdso]".
    std::string path;
    /// The mapped file was removed or replaced after it was mapped (maps says so).
    bool deleted = false;
    bool vdso = false;
    /// From the lowest start to the highest end of its mappings.
    std::uint64_t start = 0, end = 0;
    /// The mapping of the file's first bytes (the ELF header, the program headers and
    /// usually the notes), or the first mapping when none maps offset 0.
    std::uint64_t headerStart = 0, headerEnd = 0;
    /// The file as maps identifies it.
    unsigned int deviceMajor = 0, deviceMinor = 0;
    std::uint64_t inode = 0;

    /// start-end as maps writes it.
    std::string range() const;
};

/// "7f3a1c000000-7f3a1c1bd000": an address range as maps (and map_files) write it.
std::string addressRange(std::uint64_t start, std::uint64_t end);

/// The modules of a maps text. Lines that do not have the shape of a mapping are skipped.
std::vector<MappedModule> parseProcMaps(std::istream& maps);

/// Reads /proc/`pid`/maps (`pid` a number or "self"). Empty, with `error` set, when the
/// file cannot be read (no such process, no permission).
std::optional<std::vector<MappedModule>> readProcMaps(const std::string& pid, std::string& error);

}  // namespace ffcli
