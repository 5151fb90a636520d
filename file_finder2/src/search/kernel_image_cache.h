// The per-user cache of unpacked kernel images and modules. A compressed kernel image that
// a search turns up ("vmlinuz-6.1.0-18-amd64") is no module a profiler can read, nor is a
// compressed module ("ext4.ko.xz"); what they carry is unpacked once per user and per
// checksum of the compressed file:
//
//   <user data>/vmlinux_cache/<md5 of the vmlinuz>/vmlinux
//   <user data>/module_cache/<md5 of the ext4.ko.xz>/ext4.ko
//
// and every later search that finds the same compressed file reuses it. The lazy
// iterator asks for it and judges the unpacked file in the compressed one's place.
#pragma once

#include <string>

#include "ff_kernel_image.h"

namespace FF_2_13 {

class KernelImageCache {
public:
    enum class Outcome {
        unpacked,     ///< `image` names the unpacked kernel, made now or by an earlier search
        notUnpacked,  ///< the file carries no kernel that could be unpacked
        unhashable,   ///< the file's checksum could not be computed: it has no cache entry
    };

    /// True when the file name of `path` begins with "vmlinuz": a compressed image, plain
    /// or of a release ("vmlinuz-6.1.0").
    static bool isCompressedImage(const char* path);

    /// The unpacked kernel of the compressed image `compressed`, extracted from its gzip
    /// stream into the cache when it is not there yet.
    static Outcome unpack(const char* compressed, std::string& image);

    /// The same in every format unpackKernelImage knows, saying why when it fails (an
    /// entry already in the cache answers kuUnpacked without a format). An image whose
    /// checksum cannot be computed cannot be read: kuInputNotReadable.
    static KernelUnpackResult unpackAnyFormat(const char* compressed, std::string& image);
    /// The unpacked module of a compressed module ("ext4.ko.xz" gives ".../ext4.ko").
    static KernelUnpackResult unpackModule(const char* compressed, std::string& module);
};

}  // namespace FF_2_13
