// Unpacking of compressed kernel images and modules, whatever their compression.
#include "files/kernel_unpacker.h"

#include <cerrno>
#include <system_error>

#include "base/log.h"
#include "ff_utils.h"
#include "files/stream_decoders.h"
#include "files/stream_io.h"
#include "files/stream_signatures.h"
#include "platform/posix.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kUtils;

KernelUnpackResult result(kernel_unpack_status_t status, kernel_compression_t format,
                          int systemError = 0) {
    return KernelUnpackResult{status, format, systemError};
}

// The failure a decoding of `format` ended in; kuUnpacked when the output is complete.
KernelUnpackResult outcomeOf(DecodeEnd end, kernel_compression_t format, UnpackedOutput& out,
                             const StreamReader& in) {
    switch (end) {
        case DecodeEnd::complete:
            break;
        case DecodeEnd::corrupt:
            return result(kuCorruptStream, format);
        case DecodeEnd::truncated:
            return result(kuTruncatedStream, format);
        case DecodeEnd::readFailed:
            return result(kuInputNotReadable, format, in.error());
        case DecodeEnd::unsupported:
            return result(kuUnsupportedFormat, format);
        case DecodeEnd::outputRefused:
            break;  // the output's own answer, below, says why
    }
    switch (out.finish()) {
        case UnpackedOutput::Write::ok:
            return out.commit() ? result(kuUnpacked, format)
                                : result(kuOutputNotWritable, format, out.error());
        case UnpackedOutput::Write::notElf:
            return result(kuNotElf, format);
        case UnpackedOutput::Write::tooLarge:
            return result(kuTooLarge, format);
        case UnpackedOutput::Write::failed:
            break;
    }
    return result(kuOutputNotWritable, format, out.error());
}

// Failures that another stream of the same image cannot mend.
bool endsTheSearch(kernel_unpack_status_t status) {
    return status == kuUnpacked || status == kuInputNotReadable || status == kuTooLarge ||
           status == kuOutputNotWritable;
}

KernelUnpackResult unpack(const std::string& image, const std::string& output,
                          std::uint64_t maxSize) {
    posix::FileStatus status;
    posix::FileDescriptor fd = posix::openRegularFile(image.c_str(), status);
    if (!fd.isOpen()) return result(kuInputNotReadable, kcNone, errno);
    posix::adviseSequentialReading(fd.get());
    StreamReader in(fd.get());
    UnpackedOutput out(output, maxSize);

    KernelUnpackResult best = result(kuUnknownFormat, kcNone);
    std::uint64_t bestProgress = 0;
    bool anyStream = false;
    StreamCandidate candidate;
    for (std::uint64_t from = 0; findStreamCandidate(in, from, candidate);
         from = candidate.offset + 1) {
        out.restart();
        in.seek(candidate.offset);
        const KernelUnpackResult attempt =
            outcomeOf(decodeStream(candidate.format, in, out), candidate.format, out, in);
        if (endsTheSearch(attempt.status)) return attempt;
        if (!anyStream || out.size() > bestProgress) {
            best = attempt;
            bestProgress = out.size();
        }
        anyStream = true;
    }
    if (in.error() != 0) return result(kuInputNotReadable, kcNone, in.error());
    return best;
}

}  // namespace

KernelUnpackResult unpackCompressedFile(const std::string& image, const std::string& output,
                                        std::uint64_t maxSize) {
    KernelUnpackResult outcome;
    try {
        outcome = unpack(image, output, maxSize);
    } catch (const std::bad_alloc&) {
        outcome = result(kuOutputNotWritable, kcNone, ENOMEM);
    }
    if (outcome.status == kuUnpacked) {
        FF_LOG_INFO(kLogSource, output << " was unpacked from " << image << " ("
                                       << utils::kernelCompressionName(outcome.format) << ")");
        return outcome;
    }
    // Nothing stays under the output name after a failure, whatever stood there before:
    // callers take its presence for a finished unpacking.
    utils::removeFile(output.c_str());
    FF_LOG_ERROR(kLogSource,
                 "Failed to unpack " << image << ": " << utils::describeKernelUnpack(outcome));
    return outcome;
}

bool isElfFile(const std::string& path) {
    posix::FileStatus status;
    posix::FileDescriptor fd = posix::openRegularFile(path.c_str(), status);
    if (!fd.isOpen()) return false;
    StreamReader in(fd.get());
    std::string header(kElfIdentificationSize, '\0');
    size_t got = 0;
    return in.readAt(0, &header[0], header.size(), got) && got == header.size() &&
           isElfIdentification(header);
}

namespace utils {

KernelUnpackResult unpackKernelImage(const char* image, const char* output) {
    if (!image || !output) return KernelUnpackResult{kuInputNotReadable, kcNone, EINVAL};
    return unpackCompressedFile(image, output);
}

const char* kernelCompressionName(kernel_compression_t format) {
    static const char* const kNames[] = {"", "gzip", "xz", "lzma", "bzip2", "lz4", "zstd", "lzo"};
    const int index = static_cast<int>(format);
    return index >= 0 && index < static_cast<int>(sizeof kNames / sizeof kNames[0]) ? kNames[index]
                                                                                    : "";
}

std::string describeKernelUnpack(const KernelUnpackResult& outcome) {
    const std::string format = kernelCompressionName(outcome.format);
    const std::string why =
        outcome.systemError ? std::system_category().message(outcome.systemError) : "";
    switch (outcome.status) {
        case kuUnpacked:
            return format.empty() ? "unpacked" : "unpacked from " + format;
        case kuInputNotReadable:
            return "cannot read the image" + (why.empty() ? "" : ": " + why);
        case kuUnknownFormat:
            return "no compressed stream of a known format";
        case kuUnsupportedFormat:
            return format + "-compressed, which this library does not unpack";
        case kuCorruptStream:
            return "corrupt " + format + " stream";
        case kuTruncatedStream:
            return "truncated " + format + " stream";
        case kuNotElf:
            return "the " + format + " stream does not unpack to an ELF file";
        case kuTooLarge:
            return "the " + format + " stream unpacks to more than any kernel (a bomb?)";
        case kuOutputNotWritable:
            return "cannot write the output" + (why.empty() ? "" : ": " + why);
    }
    return "unknown outcome " + std::to_string(static_cast<int>(outcome.status));
}

}  // namespace utils
}  // namespace FF_2_13
