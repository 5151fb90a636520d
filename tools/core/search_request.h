// File: search_request.h
//
// What the file-finder command asks and what it is told: one Request per file wanted (a
// binary, a symbol file or a source file), one Outcome per answer, and FileLocator, the
// seam through which every search of the command runs. The commands build requests from
// their arguments, a manifest or a process's mappings, hand them to a FileLocator one at
// a time, and render the outcomes (search_report.h); only the locator knows the library's
// search objects.
//
//   ExpectedChecksum sum;
//   std::string error;
//   if (!parseChecksum("md5:9e107d9d372bb6826bd81d3542a419d6", sum, error)) fail(error);
//   Request request{RequestKind::kSymbol, "libx.so.debug", "/usr/lib/libx.so", sum};
//   Outcome outcome = locator.locate(request);
//   if (outcome.found()) std::cout << outcome.path << "\n";
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ff_identity.h"
#include "ff_search_options.h"
#include "ff_types.h"

namespace ffcli {

enum class RequestKind { kBinary, kSymbol, kSource };

/// "bin", "sym" or "src": the words of the command line and of manifests.
const char* kindWord(RequestKind kind);
/// The library's category of the kind.
FF_2_13::search_category_t categoryOf(RequestKind kind);
/// The category of a --category word: a kind's word, or "all". (Files and --search-dir
/// values name categories by FF_2_13::categoryWord() instead.)
std::optional<FF_2_13::search_category_t> categoryFromOption(const std::string& word);

/// A checksum the found file must have, written "md5:HEX" or "sha1:HEX".
struct ExpectedChecksum {
    FF_2_13::checksum_type_t type = FF_2_13::ctMD5;
    std::string hex;  ///< lower-case digits, 32 for MD5, 40 for SHA-1

    /// Back to "md5:HEX" or "sha1:HEX".
    std::string text() const;
};

/// Reads "md5:HEX" or "sha1:HEX" (digits in either case); false with `error` set
/// otherwise.
bool parseChecksum(const std::string& text, ExpectedChecksum& checksum, std::string& error);

struct Request {
    RequestKind kind = RequestKind::kBinary;
    /// The file as recorded: a path, a bare name, a kernel module name, a build-id name.
    std::string name;
    /// Symbol and source files: the binary they belong to. Empty for binaries.
    std::string binary;
    std::optional<ExpectedChecksum> checksum;
    /// Source files: the recorded modification time (seconds since the epoch) and size.
    std::optional<long long> modificationTime;
    std::optional<unsigned long long> size;
    /// Who the file must be: a binary's own identity (a recorded build-id, or a module as a
    /// process loaded it), a symbol file's binary's. Empty: a symbol file's binary is read
    /// from `binary`, and a binary is held to nothing.
    FF_2_13::ObjectPtr<FF_2_13::IFileIdentity> identity;

    /// The build-id of `identity`; "" when there is none.
    std::string buildId() const;
};

/// A candidate the search looked at and turned down.
struct Rejection {
    std::string path;
    std::string message;
    FF_2_13::severity_t severity = FF_2_13::svUnspecified;
    FF_2_13::search_step_t step = FF_2_13::ssAbsoluteNameLookup;
};

/// A candidate path the search looked at, and what became of it.
struct Candidate {
    std::string path;
    FF_2_13::search_step_t step = FF_2_13::ssAbsoluteNameLookup;
    FF_2_13::candidate_outcome_t outcome = FF_2_13::coAbsent;
    /// A refusal's message; "" otherwise.
    std::string message;
};

struct Outcome {
    /// The file found; empty when nothing acceptable was found.
    std::string path;
    FF_2_13::confidence_t confidence = FF_2_13::cfAccepted;
    FF_2_13::search_step_t step = FF_2_13::ssAbsoluteNameLookup;
    /// Every candidate turned down, in the order the search met them.
    std::vector<Rejection> rejected;
    /// Every candidate looked at, in order.
    std::vector<Candidate> tried;
    /// Set when the search itself failed (a directory that could not be listed, a file
    /// that vanished): the request is unanswered, not answered "no".
    std::string error;
    /// With a debuginfod server: the server the file was fetched from (when it was and the
    /// server is known), or why nothing was fetched.
    std::string server;
    std::string serverMiss;

    bool found() const { return !path.empty(); }
};

/// The seam between the command and the library: answers one request at a time. A
/// locator is made once per command run from the command's search options and may
/// throw std::exception for a request whose search failed; the caller records that for
/// the request and goes on with the others.
class FileLocator {
public:
    virtual ~FileLocator() = default;
    virtual Outcome locate(const Request& request) = 0;
};

}  // namespace ffcli
