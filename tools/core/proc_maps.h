// File: proc_maps.h
//
// The binaries a running process has mapped, read from /proc/PID/maps: one line per
// mapping,
//
//   7f3a1c000000-7f3a1c028000 r-xp 00028000 08:01 1311 /usr/lib/x86_64-linux-gnu/libc.so.6
//
// Only file-backed executable mappings count: the permissions carry 'x' and the path
// begins with '/'. Pseudo-mappings ("[vdso]", "[stack]", anonymous memory) are skipped;
// a file replaced or removed since it was mapped shows as "PATH (deleted)" and is kept
// with that suffix taken off and `deleted` set. Each path is listed once, in the order of
// its first executable mapping.
//
//   std::string error;
//   std::optional<std::vector<MappedModule>> modules = readProcMaps("self", error);
#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace ffcli {

struct MappedModule {
    std::string path;
    /// The mapped file was removed or replaced after it was mapped.
    bool deleted = false;
};

/// The executable file mappings of a maps text, de-duplicated in first-seen order. Lines
/// that do not have the shape of a mapping are skipped.
std::vector<MappedModule> parseProcMaps(std::istream& maps);

/// Reads /proc/`pid`/maps (`pid` a number or "self"). Empty, with `error` set, when the
/// file cannot be read (no such process, no permission).
std::optional<std::vector<MappedModule>> readProcMaps(const std::string& pid, std::string& error);

}  // namespace ffcli
