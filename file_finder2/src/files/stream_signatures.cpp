// Recognition of compressed streams by their magic bytes.
#include "files/stream_signatures.h"

#include <cstring>
#include <vector>

#include "files/stream_io.h"

namespace FF_2_13 {

namespace {

constexpr size_t kScanWindow = 256 * 1024;

bool startsWith(const unsigned char* bytes, size_t available, const char* magic, size_t size) {
    return available >= size && std::memcmp(bytes, magic, size) == 0;
}

std::uint64_t littleEndian(const unsigned char* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return value;
}

// The .lzma header: properties (lc=3, lp=0, pb=2 is what every packer writes: 5D), a
// dictionary size of 2^n or 2^n + 2^(n-1) from 4 KiB up, and the unpacked size, unknown
// (all FF) when the packer read a pipe, as kernel builds do.
bool isLzmaHeader(const unsigned char* bytes, size_t available) {
    if (available < kLongestStreamHeader || bytes[0] != 0x5D) return false;
    const std::uint32_t dictionary = static_cast<std::uint32_t>(littleEndian(bytes + 1, 4));
    if (dictionary < 4096) return false;
    const std::uint32_t lowest = dictionary & (~dictionary + 1);
    const std::uint32_t rest = dictionary - lowest;
    if (rest != 0 && rest != 2 * lowest) return false;
    const std::uint64_t size = littleEndian(bytes + 5, 8);
    return size == ~std::uint64_t(0) || size < (std::uint64_t(1) << 38);
}

}  // namespace

kernel_compression_t formatAt(const unsigned char* bytes, size_t available) {
    if (available == 0) return kcNone;
    switch (bytes[0]) {
        case 0x1F:  // magic, deflate, flags without the reserved bits
            return available >= 4 && bytes[1] == 0x8B && bytes[2] == 0x08 && (bytes[3] & 0xE0) == 0
                       ? kcGzip
                       : kcNone;
        case 0xFD:
            return startsWith(bytes, available, "\xFD\x37\x7A\x58\x5A\x00", 6) ? kcXz : kcNone;
        case 0x5D:
            return isLzmaHeader(bytes, available) ? kcLzma : kcNone;
        case 'B':  // "BZh", the block size 1-9, then a block's magic (pi) or the end (sqrt pi)
            return available >= 10 && startsWith(bytes, available, "BZh", 3) && bytes[3] >= '1' &&
                           bytes[3] <= '9' &&
                           (std::memcmp(bytes + 4, "\x31\x41\x59\x26\x53\x59", 6) == 0 ||
                            std::memcmp(bytes + 4, "\x17\x72\x45\x38\x50\x90", 6) == 0)
                       ? kcBzip2
                       : kcNone;
        case 0x02:
            return startsWith(bytes, available, "\x02\x21\x4C\x18", 4) ? kcLz4 : kcNone;
        case 0x28:
            return startsWith(bytes, available, "\x28\xB5\x2F\xFD", 4) ? kcZstd : kcNone;
        case 0x89:
            return startsWith(bytes, available, "\x89LZO\0\r\n\x1A\n", 9) ? kcLzo : kcNone;
        default:
            return kcNone;
    }
}

bool findStreamCandidate(StreamReader& reader, std::uint64_t from, StreamCandidate& found) {
    std::vector<unsigned char> window(kScanWindow);
    for (std::uint64_t start = from;;) {
        size_t filled = 0;
        if (!reader.readAt(start, window.data(), window.size(), filled)) return false;
        if (filled == 0) return false;
        // A header cut by the window's end is looked at again at the start of the next.
        const bool last = filled < window.size();
        const size_t positions = last ? filled : filled - (kLongestStreamHeader - 1);
        for (size_t i = 0; i < positions; ++i) {
            const kernel_compression_t format = formatAt(&window[i], filled - i);
            if (format == kcNone) continue;
            found.offset = start + i;
            found.format = format;
            return true;
        }
        if (last) return false;
        start += positions;
    }
}

}  // namespace FF_2_13
