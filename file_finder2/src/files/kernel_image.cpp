// Unpacking of a compressed Linux kernel image ("vmlinuz") into the kernel proper
// ("vmlinux"), which a compressed image carries as a gzip stream after its boot code:
//  1. open the image and scan it, byte by byte, for the gzip signature 1F 8B 08 00;
//  2. step back to the first byte of the signature;
//  3. create a file of our own beside the output, exclusively and never through a link;
//  4. inflate the stream into it through two 256 KiB buffers;
//  5. on success rename it into place and log; on failure remove it and whatever stands
//     under the output name, and log why.
#include <zlib.h>

#include <boost/filesystem.hpp>
#include <fstream>
#include <memory>
#include <string>

#include "ff_kernel_image.h"
#include "base/log.h"
#include "platform/posix.h"
#include "ff_utils.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {
namespace utils {

namespace {

constexpr const char* kLogSource = log_source::kUtils;

constexpr std::size_t kChunkSize = 262144;
// 15 for the 32 KiB window, plus 16: a gzip header and trailer are expected.
constexpr int kGzipWindowBits = 31;
constexpr int kSignature[] = {0x1F, 0x8B, 0x08, 0x00};  // gzip magic, deflate, no flags
constexpr int kSignatureSize = sizeof kSignature / sizeof kSignature[0];

// Leaves `in` at the first byte of the first gzip signature; false when there is none.
// The scan is naive, and stays so, because which images unpack has to stay as it always
// was: the byte that breaks a partial match is not looked at again as a new first byte,
// so in 1F 1F 8B 08 00 the signature at the second byte is not seen. Bytes come straight
// from the stream's buffer, as get() would return them (0 to 255, or end of file),
// without get()'s per-byte bookkeeping.
bool seekGzipSignature(std::ifstream& in) {
    using traits = std::ifstream::traits_type;
    std::streambuf* buffer = in.rdbuf();
    int matched = 0;
    while (matched < kSignatureSize) {
        traits::int_type c;
        try {
            c = buffer->sbumpc();
        } catch (const std::exception&) {
            // what get() would do with a read error: badbit, which throws if the stream asks
            in.setstate(std::ios::badbit);
            return false;
        }
        if (traits::eq_int_type(c, traits::eof())) {
            in.setstate(std::ios::eofbit | std::ios::failbit);
            return false;
        }
        matched = c == kSignature[matched] ? matched + 1 : 0;
    }
    const std::streampos end = in.tellg();
    if (end == std::streampos(-1)) return false;
    in.seekg(end - std::streamoff(kSignatureSize));
    return !in.fail();
}

// Ends the inflate stream however the inflate loop is left.
class InflateEnd {
  public:
    explicit InflateEnd(z_stream& stream) : m_stream(stream) {}
    ~InflateEnd() { inflateEnd(&m_stream); }
    InflateEnd(const InflateEnd&) = delete;
    InflateEnd& operator=(const InflateEnd&) = delete;

  private:
    z_stream& m_stream;
};

// uncompress() without its safety net: exceptions of the streams reach the caller, which
// reports them as I/O errors.
bool inflateGzipStream(std::ifstream& in, std::ofstream& out) {
    if (!in.good() || !out.good()) return false;
    // On the heap: a caller's thread may have a small stack.
    std::unique_ptr<unsigned char[]> input(new unsigned char[kChunkSize]());
    std::unique_ptr<unsigned char[]> output(new unsigned char[kChunkSize]());
    z_stream stream{};
    // zlib checks only the major digit of the version it is given, so the headers' own
    // ZLIB_VERSION (which inflateInit2 passes) behaves as the 1.2.11 this was written for.
    if (inflateInit2(&stream, kGzipWindowBits) != Z_OK) return false;
    const InflateEnd end(stream);

    // A stream whose input runs out before its end still counts as success when no
    // inflate call failed, and so does input that is at its end before the first call:
    // callers rely on this lenient end, which keeps what a cut-off image produced.
    int result = Z_OK;
    while (!in.eof()) {
        in.read(reinterpret_cast<char*>(input.get()), kChunkSize);
        if (in.bad()) return false;
        const std::streamsize got = in.gcount();
        if (got == 0) {
            if (in.eof()) break;
            return false;  // failed without reaching the end: reading on would loop forever
        }
        stream.next_in = input.get();
        stream.avail_in = static_cast<uInt>(got);
        do {
            stream.next_out = output.get();
            stream.avail_out = kChunkSize;
            result = inflate(&stream, Z_NO_FLUSH);
            if (result == Z_BUF_ERROR && stream.avail_in == 0) {
                // The last call filled the output exactly and used up the chunk: nothing
                // to do until more input comes. Not a fault in the data.
                result = Z_OK;
                break;
            }
            if (result != Z_OK && result != Z_STREAM_END) return false;
            const std::size_t produced = kChunkSize - stream.avail_out;
            if (produced > 0 && !out.write(reinterpret_cast<const char*>(output.get()),
                                           static_cast<std::streamsize>(produced)))
                return false;
        } while (stream.avail_out == 0);
        if (result == Z_STREAM_END) break;  // what follows the stream is never read
    }
    return result == Z_OK || result == Z_STREAM_END;
}

// The file an extraction writes, beside the output: "<output>.tmp-<pid>-<n>". Only a
// finished file is renamed to the output name, so two extractions of one image never see
// each other's half-written file; the destructor removes what was not renamed.
class PartialOutput {
  public:
    explicit PartialOutput(const std::string& output) {
        m_fd = posix::createFileBeside(output, 0666, m_path);
        if (!m_fd.isOpen()) m_path.clear();  // a missing directory or a full disk
    }
    ~PartialOutput() {
        if (!m_path.empty()) removeFile(m_path.c_str());
    }
    PartialOutput(const PartialOutput&) = delete;
    PartialOutput& operator=(const PartialOutput&) = delete;

    // Opens `out` on the file created, through its descriptor where /proc allows, so the
    // stream writes that very file even if someone replaced its name meanwhile. When
    // nothing could be created, `out` fails as a stream that could not open would.
    void openStream(std::ofstream& out) {
        if (!m_fd.isOpen()) {
            out.setstate(std::ios::failbit);
            return;
        }
        const std::string byDescriptor = posix::openDescriptorPath(m_fd.get());
        out.open(byDescriptor.empty() ? m_path : byDescriptor, std::ios::binary | std::ios::trunc);
        m_fd.close();
    }

    bool renameTo(const std::string& output) {
        boost::system::error_code error;  // the caller reports a failed rename
        fs::rename(m_path, output, error);
        if (error) return false;
        m_path.clear();
        return true;
    }

  private:
    std::string m_path;
    posix::FileDescriptor m_fd;
};

enum class Outcome { extracted, failed, ioError };

Outcome extract(const std::string& input, const std::string& output) {
    std::ifstream in(input, std::ios::binary);
    if (!in.is_open()) return Outcome::failed;
    // A read or write error throws, and is reported as an I/O error.
    in.exceptions(std::ios::badbit);
    if (!seekGzipSignature(in)) return Outcome::failed;

    PartialOutput partial(output);
    std::ofstream out;
    out.exceptions(std::ios::badbit);
    partial.openStream(out);
    const bool inflated = inflateGzipStream(in, out);
    in.close();
    out.close();  // sets failbit when the last bytes cannot be written
    if (!inflated) return Outcome::failed;
    if (out.fail()) return Outcome::ioError;
    return partial.renameTo(output) ? Outcome::extracted : Outcome::failed;
}

}  // namespace

bool uncompress(std::ifstream& in, std::ofstream& out) {
    try {
        return inflateGzipStream(in, out);
    } catch (const std::exception&) {
        return false;  // streams that throw on errors, or no memory for the buffers
    }
}

bool extractVmlinux(const char* vmlinuz, const char* vmlinux) {
    const std::string input = vmlinuz ? vmlinuz : "";
    if (!vmlinuz || !vmlinux) {
        FF_LOG_ERROR(kLogSource, "Failed to extract vmlinux from " << input);
        return false;
    }
    const std::string output = vmlinux;

    Outcome outcome;
    try {
        outcome = extract(input, output);
    } catch (const std::ios_base::failure&) {
        outcome = Outcome::ioError;
    } catch (const std::exception&) {
        outcome = Outcome::failed;  // no memory for the buffers
    }

    switch (outcome) {
        case Outcome::extracted:
            FF_LOG_INFO(kLogSource, output << " was extracted from " << input);
            return true;
        case Outcome::ioError:
            removeFile(output.c_str());
            FF_LOG_ERROR(kLogSource, "I/O error when extracting: " << output << " from " << input);
            return false;
        case Outcome::failed:
            break;
    }
    // No file stays under the output name after a failure, whatever stood there before:
    // callers take its presence for a finished extraction.
    removeFile(output.c_str());
    FF_LOG_ERROR(kLogSource, "Failed to extract vmlinux from " << input);
    return false;
}

}  // namespace utils
}  // namespace FF_2_13
