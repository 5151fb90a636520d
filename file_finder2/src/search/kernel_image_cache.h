// The per-user cache of unpacked kernel images. A compressed kernel image that a search
// turns up ("vmlinuz-6.1.0-18-amd64") is no module a profiler can read; the kernel it
// carries is unpacked once per user and per checksum of the compressed file:
//
//   <user data>/vmlinux_cache/<md5 of the vmlinuz>/vmlinux
//
// and every later search that finds the same compressed image reuses it. The lazy
// iterator asks for it when a compressed image was rejected, and judges the unpacked
// kernel in its place.
#pragma once

#include <string>

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

    /// The unpacked kernel of the compressed image `compressed`, extracted into the cache
    /// when it is not there yet.
    static Outcome unpack(const char* compressed, std::string& image);
};

}  // namespace FF_2_13
