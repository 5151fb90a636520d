// A compressed kernel image for the extraction benchmarks: a gzip stream of about 100 MB
// (of data that compresses about as well as a kernel, about 3:1) behind 16 KiB of boot
// code, and the same stream alone for zcat. Made once, deterministically, and kept:
//
//   ffbench::KernelImageFiles f = ffbench::ensureKernelImage("/var/cache/file_finder2/bench-data");
//   // f.image: boot code + stream; f.stream: the stream alone
#pragma once

#include <zlib.h>

#include <boost/filesystem.hpp>
#include <cstdint>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace ffbench {

constexpr size_t kBootCodeSize = 16384;
constexpr std::uintmax_t kStreamSize = 100u * 1000 * 1000;

struct KernelImageFiles {
    boost::filesystem::path image;   // "vmlinuz": boot code, then the gzip stream
    boost::filesystem::path stream;  // "vmlinuz.gz": the gzip stream alone
};

namespace detail {

// Data made of tokens drawn with a skewed distribution from a fixed vocabulary: repeats for
// the matcher and skewed bytes for the entropy coder, about 3:1 under gzip, as a kernel.
class KernelLikeSource {
public:
    KernelLikeSource() : m_random(11) {
        std::geometric_distribution<int> byte(0.05);
        std::uniform_int_distribution<int> length(2, 14);
        for (auto& token : m_vocabulary) {
            token.resize(length(m_random));
            for (char& c : token) c = static_cast<char>(byte(m_random) & 0xFF);
        }
    }
    void fill(std::string& piece, size_t size) {
        std::geometric_distribution<size_t> pick(0.003);
        piece.clear();
        while (piece.size() < size) piece += m_vocabulary[pick(m_random) % m_vocabulary.size()];
    }

private:
    std::mt19937 m_random;
    std::vector<std::string> m_vocabulary = std::vector<std::string>(4096);
};

// Writes 16 KiB of boot code followed by the gzip stream to `image`, and the stream alone
// to `stream`, in pieces, until the stream has reached kStreamSize.
inline void makeImage(const boost::filesystem::path& image, const boost::filesystem::path& stream) {
    std::ofstream imageOut(image.string(), std::ios::binary);
    std::ofstream streamOut(stream.string(), std::ios::binary);
    std::mt19937 random(5);
    std::string bootCode(kBootCodeSize, '\0');
    for (char& c : bootCode) c = static_cast<char>(random() % 0x1F);  // no gzip signature
    imageOut << bootCode;

    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);  // as kernels are packed
    KernelLikeSource source;
    std::string piece;
    std::vector<unsigned char> out(1 << 20);
    std::uintmax_t written = 0;
    for (bool last = false; !last;) {
        last = written >= kStreamSize;
        if (!last) source.fill(piece, 1 << 20);
        z.next_in = reinterpret_cast<Bytef*>(last ? nullptr : &piece[0]);
        z.avail_in = last ? 0 : static_cast<uInt>(piece.size());
        do {
            z.next_out = out.data();
            z.avail_out = static_cast<uInt>(out.size());
            deflate(&z, last ? Z_FINISH : Z_NO_FLUSH);
            const size_t produced = out.size() - z.avail_out;
            imageOut.write(reinterpret_cast<char*>(out.data()), produced);
            streamOut.write(reinterpret_cast<char*>(out.data()), produced);
            written += produced;
        } while (z.avail_out == 0);
    }
    deflateEnd(&z);
    if (!imageOut || !streamOut) throw std::runtime_error("cannot write " + image.string());
}

}  // namespace detail

/// The image and the stream under `dir`/ff-bench-kernel-image, made when missing.
inline KernelImageFiles ensureKernelImage(const boost::filesystem::path& dir) {
    const boost::filesystem::path home = dir / "ff-bench-kernel-image";
    boost::filesystem::create_directories(home);
    KernelImageFiles f{home / "vmlinuz", home / "vmlinuz.gz"};
    if (!boost::filesystem::exists(f.image) || !boost::filesystem::exists(f.stream) ||
        boost::filesystem::file_size(f.stream) < kStreamSize)
        detail::makeImage(f.image, f.stream);
    return f;
}

/// An uncompressed kernel for the benchmarks of every format: an ELF identification, then
/// `size` bytes of the same kernel-like data, in `dir`/ff-bench-kernel-elf/vmlinux, made
/// when missing. scripts/compare.sh packs it with each format's own tool.
inline boost::filesystem::path ensureKernelElf(const boost::filesystem::path& dir,
                                               std::uintmax_t size = 64u << 20) {
    const boost::filesystem::path home = dir / "ff-bench-kernel-elf";
    boost::filesystem::create_directories(home);
    const boost::filesystem::path elf = home / "vmlinux";
    if (boost::filesystem::exists(elf) && boost::filesystem::file_size(elf) == size) return elf;
    std::ofstream out(elf.string(), std::ios::binary | std::ios::trunc);
    std::string piece("\x7F\x45\x4C\x46\x02\x01\x01", 7);  // 7F "ELF", 64-bit, LE
    piece.resize(16, '\0');
    out << piece;
    detail::KernelLikeSource source;
    for (std::uintmax_t written = piece.size(); written < size; written += piece.size()) {
        source.fill(piece, 1 << 20);
        if (piece.size() > size - written) piece.resize(size - written);
        out << piece;
    }
    if (!out) throw std::runtime_error("cannot write " + elf.string());
    return elf;
}

}  // namespace ffbench
