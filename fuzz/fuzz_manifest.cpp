// The file-finder command's manifest parser on arbitrary text.
//
// Properties, besides not crashing: the parser reports malformed lines, it never throws
// (an exception leaving it fails the run like a crash);
// - every malformed line has one error with a message, in line order, numbered within
//   the text; a line gives a request or an error or neither (blank, comment), never both;
// - every request is whole: a name, a binary exactly for symbol and source files, a
//   checksum of 32 or 40 lower-case hexadecimal digits;
// - what parsed round-trips: the requests written back as manifest lines (each ended by
//   "\r\n", so that a field ending in a carriage return keeps it) parse without an error
//   into the same requests, and each checksum's text parses back to the same checksum.
#include <sstream>
#include <string>

#include "core/manifest.h"
#include "fuzz_support.h"

using ffcli::ExpectedChecksum;
using ffcli::Manifest;
using ffcli::Request;
using ffcli::RequestKind;

namespace {

bool sameChecksum(const ExpectedChecksum& a, const ExpectedChecksum& b) {
    return a.type == b.type && a.hex == b.hex;
}

bool sameRequest(const Request& a, const Request& b) {
    return a.kind == b.kind && a.name == b.name && a.binary == b.binary &&
           a.checksum.has_value() == b.checksum.has_value() &&
           (!a.checksum || sameChecksum(*a.checksum, *b.checksum));
}

bool isLowerHex(const std::string& text) {
    return text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

Manifest parse(const std::string& text) {
    std::istringstream in(text);
    return ffcli::parseManifest(in);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const Manifest manifest = parse(text);

    // The lines as std::getline counts them: one per '\n', and a last one without it.
    size_t lines = 0;
    for (char c : text) lines += c == '\n';
    if (!text.empty() && text.back() != '\n') ++lines;
    FUZZ_CHECK(manifest.requests.size() + manifest.errors.size() <= lines,
               "more requests and errors than lines");
    size_t previous = 0;
    for (const ffcli::ManifestError& error : manifest.errors) {
        FUZZ_CHECK(error.line > previous && error.line <= lines, "an error's line is out of order");
        FUZZ_CHECK(!error.message.empty(), "an error without a message");
        previous = error.line;
    }

    std::string written;
    for (const Request& request : manifest.requests) {
        const bool needsBinary = request.kind != RequestKind::kBinary;
        FUZZ_CHECK(!request.name.empty(), "a request without a name");
        FUZZ_CHECK(request.binary.empty() != needsBinary, "a binary where none belongs, or none");
        FUZZ_CHECK(!request.modificationTime && !request.size, "a field no manifest holds");
        written += ffcli::kindWord(request.kind) + ("\t" + request.name);
        if (needsBinary) written += "\t" + request.binary;
        if (const auto& checksum = request.checksum) {
            const size_t digits = checksum->type == FF_2_13::ctSHA1 ? 40 : 32;
            FUZZ_CHECK(checksum->hex.size() == digits && isLowerHex(checksum->hex),
                       "a checksum that is not 32 or 40 lower-case hexadecimal digits");
            ExpectedChecksum again;
            std::string error;
            FUZZ_CHECK(ffcli::parseChecksum(checksum->text(), again, error) &&
                           sameChecksum(again, *checksum),
                       "a checksum's text does not parse back to it");
            written += "\t" + checksum->text();
        }
        written += "\r\n";
    }

    const Manifest reparsed = parse(written);
    FUZZ_CHECK(reparsed.errors.empty(), "a manifest written from parsed requests has an error");
    FUZZ_CHECK(reparsed.requests.size() == manifest.requests.size(),
               "the written manifest has another number of requests");
    for (size_t i = 0; i < manifest.requests.size(); ++i)
        FUZZ_CHECK(sameRequest(reparsed.requests[i], manifest.requests[i]),
                   "a request changed in writing and parsing again");
    return 0;
}
