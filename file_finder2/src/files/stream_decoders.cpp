// Decoders of gzip, xz, lzma, bzip2, lz4 (legacy frames) and zstd streams. Each one:
//  1. reads the compressed file in 256 KiB pieces from where the stream starts;
//  2. hands the library each piece and writes what comes out;
//  3. ends at the library's end-of-stream mark; the end of the file before it is a
//     truncated stream, any error of the library a corrupt one.
#include "files/stream_decoders.h"

#include <bzlib.h>
#include <lz4.h>
#include <lzma.h>
#include <zlib.h>
#include <zstd.h>

#include <memory>

#include "files/stream_io.h"

namespace FF_2_13 {

namespace {

constexpr size_t kChunkSize = 256 * 1024;
// A gzip header and trailer around a deflate stream with a 32 KiB window.
constexpr int kGzipWindowBits = 15 + 16;
// The lz4 legacy frame: blocks that each unpack to 8 MiB, the last one to less.
constexpr int kLz4LegacyBlockSize = 8 << 20;
constexpr std::uint32_t kLz4LegacyMagic = 0x184C2102;

// The buffers of one decoding, on the heap: a caller's thread may have a small stack.
struct Buffers {
    std::unique_ptr<unsigned char[]> in{new unsigned char[kChunkSize]};
    std::unique_ptr<unsigned char[]> out{new unsigned char[kChunkSize]};
};

// Writes what the library produced into out; false when the output refused it.
bool deliver(UnpackedOutput& out, const unsigned char* data, size_t size) {
    return out.write(data, size) == UnpackedOutput::Write::ok;
}

DecodeEnd decodeGzip(StreamReader& in, UnpackedOutput& out) {
    Buffers buffers;
    z_stream stream{};
    if (inflateInit2(&stream, kGzipWindowBits) != Z_OK) return DecodeEnd::corrupt;
    struct End {
        z_stream& s;
        ~End() { inflateEnd(&s); }
    } end{stream};
    for (;;) {
        const std::ptrdiff_t got = in.read(buffers.in.get(), kChunkSize);
        if (got < 0) return DecodeEnd::readFailed;
        if (got == 0) return DecodeEnd::truncated;
        stream.next_in = buffers.in.get();
        stream.avail_in = static_cast<uInt>(got);
        do {
            stream.next_out = buffers.out.get();
            stream.avail_out = kChunkSize;
            const int result = inflate(&stream, Z_NO_FLUSH);
            if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
                return DecodeEnd::corrupt;
            if (!deliver(out, buffers.out.get(), kChunkSize - stream.avail_out))
                return DecodeEnd::outputRefused;
            if (result == Z_STREAM_END) return DecodeEnd::complete;
        } while (stream.avail_out == 0);
    }
}

// xz and lzma: the same library, two decoders.
DecodeEnd decodeWithLiblzma(StreamReader& in, UnpackedOutput& out, bool xz) {
    Buffers buffers;
    lzma_stream stream = LZMA_STREAM_INIT;
    const lzma_ret made = xz ? lzma_stream_decoder(&stream, kMaxDecoderWindow, 0)
                             : lzma_alone_decoder(&stream, kMaxDecoderWindow);
    if (made != LZMA_OK) return DecodeEnd::corrupt;
    struct End {
        lzma_stream& s;
        ~End() { lzma_end(&s); }
    } end{stream};
    lzma_action action = LZMA_RUN;
    for (;;) {
        if (stream.avail_in == 0 && action == LZMA_RUN) {
            const std::ptrdiff_t got = in.read(buffers.in.get(), kChunkSize);
            if (got < 0) return DecodeEnd::readFailed;
            if (got == 0) action = LZMA_FINISH;  // the decoder tells whether that was early
            stream.next_in = buffers.in.get();
            stream.avail_in = static_cast<size_t>(got);
        }
        stream.next_out = buffers.out.get();
        stream.avail_out = kChunkSize;
        const lzma_ret result = lzma_code(&stream, action);
        if (!deliver(out, buffers.out.get(), kChunkSize - stream.avail_out))
            return DecodeEnd::outputRefused;
        if (result == LZMA_STREAM_END) return DecodeEnd::complete;
        if (result == LZMA_BUF_ERROR && action == LZMA_FINISH) return DecodeEnd::truncated;
        if (result != LZMA_OK) return DecodeEnd::corrupt;
    }
}

DecodeEnd decodeBzip2(StreamReader& in, UnpackedOutput& out) {
    Buffers buffers;
    bz_stream stream{};
    if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) return DecodeEnd::corrupt;
    struct End {
        bz_stream& s;
        ~End() { BZ2_bzDecompressEnd(&s); }
    } end{stream};
    for (;;) {
        const std::ptrdiff_t got = in.read(buffers.in.get(), kChunkSize);
        if (got < 0) return DecodeEnd::readFailed;
        if (got == 0) return DecodeEnd::truncated;
        stream.next_in = reinterpret_cast<char*>(buffers.in.get());
        stream.avail_in = static_cast<unsigned>(got);
        do {
            stream.next_out = reinterpret_cast<char*>(buffers.out.get());
            stream.avail_out = kChunkSize;
            const int result = BZ2_bzDecompress(&stream);
            if (result != BZ_OK && result != BZ_STREAM_END) return DecodeEnd::corrupt;
            if (!deliver(out, buffers.out.get(), kChunkSize - stream.avail_out))
                return DecodeEnd::outputRefused;
            if (result == BZ_STREAM_END) return DecodeEnd::complete;
        } while (stream.avail_in > 0 || stream.avail_out == 0);
    }
}

std::uint32_t littleEndian32(const unsigned char* bytes) {
    return std::uint32_t(bytes[0]) | std::uint32_t(bytes[1]) << 8 | std::uint32_t(bytes[2]) << 16 |
           std::uint32_t(bytes[3]) << 24;
}

// The legacy frame has no end mark: the stream ends where the next word is no block size
// (zero, the magic of a following frame, or more than a block can take: the unpacked size
// a kernel build appends is larger than any block), or at the end of the file, or after a
// block that unpacked to less than a whole block.
DecodeEnd decodeLz4Legacy(StreamReader& in, UnpackedOutput& out) {
    const int maxBlock = LZ4_compressBound(kLz4LegacyBlockSize);
    // Not cleared: every byte used is read or decoded first.
    std::unique_ptr<char[]> block(new char[static_cast<size_t>(maxBlock)]);
    std::unique_ptr<char[]> unpacked(new char[kLz4LegacyBlockSize]);
    unsigned char word[4];
    if (in.read(word, 4) != 4 || littleEndian32(word) != kLz4LegacyMagic) return DecodeEnd::corrupt;
    for (bool first = true;; first = false) {
        const std::ptrdiff_t got = in.read(word, 4);
        if (got < 0) return DecodeEnd::readFailed;
        if (got < 4) return first ? DecodeEnd::truncated : DecodeEnd::complete;
        const std::uint32_t size = littleEndian32(word);
        if (size == 0 || size == kLz4LegacyMagic || size > std::uint32_t(maxBlock))
            return first ? DecodeEnd::corrupt : DecodeEnd::complete;
        const std::ptrdiff_t blockGot = in.read(block.get(), size);
        if (blockGot < 0) return DecodeEnd::readFailed;
        if (static_cast<std::uint32_t>(blockGot) < size) return DecodeEnd::truncated;
        const int produced = LZ4_decompress_safe(block.get(), unpacked.get(),
                                                 static_cast<int>(size), kLz4LegacyBlockSize);
        if (produced < 0) return DecodeEnd::corrupt;
        if (!deliver(out, reinterpret_cast<unsigned char*>(unpacked.get()),
                     static_cast<size_t>(produced)))
            return DecodeEnd::outputRefused;
        if (produced < kLz4LegacyBlockSize) return DecodeEnd::complete;
    }
}

DecodeEnd decodeZstd(StreamReader& in, UnpackedOutput& out) {
    Buffers buffers;
    std::unique_ptr<ZSTD_DCtx, size_t (*)(ZSTD_DCtx*)> context(ZSTD_createDCtx(), ZSTD_freeDCtx);
    if (!context) return DecodeEnd::corrupt;
    int windowLog = 10;
    while ((std::uint64_t(1) << (windowLog + 1)) <= kMaxDecoderWindow) ++windowLog;
    ZSTD_DCtx_setParameter(context.get(), ZSTD_d_windowLogMax, windowLog);
    for (;;) {
        const std::ptrdiff_t got = in.read(buffers.in.get(), kChunkSize);
        if (got < 0) return DecodeEnd::readFailed;
        if (got == 0) return DecodeEnd::truncated;
        ZSTD_inBuffer input{buffers.in.get(), static_cast<size_t>(got), 0};
        ZSTD_outBuffer output{buffers.out.get(), kChunkSize, 0};
        do {  // again while the output came back full: the library may hold more
            output.pos = 0;
            const size_t result = ZSTD_decompressStream(context.get(), &output, &input);
            if (ZSTD_isError(result)) return DecodeEnd::corrupt;
            if (!deliver(out, buffers.out.get(), output.pos)) return DecodeEnd::outputRefused;
            // 0: a frame is complete and flushed. Only the first frame is the kernel.
            if (result == 0) return DecodeEnd::complete;
        } while (input.pos < input.size || output.pos == output.size);
    }
}

}  // namespace

DecodeEnd decodeStream(kernel_compression_t format, StreamReader& in, UnpackedOutput& out) {
    switch (format) {
        case kcGzip:
            return decodeGzip(in, out);
        case kcXz:
            return decodeWithLiblzma(in, out, true);
        case kcLzma:
            return decodeWithLiblzma(in, out, false);
        case kcBzip2:
            return decodeBzip2(in, out);
        case kcLz4:
            return decodeLz4Legacy(in, out);
        case kcZstd:
            return decodeZstd(in, out);
        default:  // lzo: the lzop container would have to be parsed by hand
            return DecodeEnd::unsupported;
    }
}

}  // namespace FF_2_13
