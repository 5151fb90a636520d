// Reading what identifies an ELF file, through elfutils' libelf and libdw. The one place
// of the library that includes their headers; everything else sees ElfIdentity.
//
//   ElfIdentity binary = readElfIdentity("/usr/lib/libx.so.1");
//   if (binary.status == irsElf && !binary.buildId.empty()) ...
//
// Files are read through a descriptor, a piece at a time (never mapped, so a file cut
// short while it is read cannot fault the process); images in memory are copied first.
// Sizes and counts in the file are believed only as far as the file's size allows, and
// the pieces read (notes, the debug link, the section-name table) only up to fixed
// limits, so a hostile header cannot make the reader allocate what it claims.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "ff_identity.h"

namespace FF_2_13 {

struct ElfIdentity {
    identity_read_status_t status = irsNotElf;
    std::string error;  // why the status is not irsElf
    std::string buildId;
    std::string debugLink;
    std::optional<std::uint32_t> debugLinkCrc;
    int elfClass = 0;
    int machine = 0;
    bool hasDebugInfo = false;
};

/// Reads the file `path` (which must be a regular file).
ElfIdentity readElfIdentity(const char* path);

/// Reads an image of `size` bytes.
ElfIdentity readElfIdentity(const void* bytes, std::size_t size);

/// "64-bit AMD x86-64", "32-bit Intel 80386", "64-bit machine 4711"; "" for class 0.
std::string describeElfTarget(int elfClass, int machine);

}  // namespace FF_2_13
