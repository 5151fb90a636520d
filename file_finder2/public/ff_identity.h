// File: ff_identity.h
//
// The identity of an ELF binary and the validators that hold candidates to it. A symbol
// file that belongs to another build of the same library shows wrong function names with
// full confidence, which is worse than finding nothing; these validators refuse it.
//
// What identifies a file (IFileIdentity): its GNU build-id, the name and CRC-32 of the
// separate debug file its ".gnu_debuglink" section names, its ELF class and machine, and
// whether it carries debug information. Read one from a file, from an image in memory (a
// module's pages read from a running process), or make one from a recorded build-id:
//
//   ObjectPtr<IFileIdentity> binary = IFileIdentity::readFile("/usr/lib/libx.so.1");
//   if (binary->status() == irsElf && binary->buildId()[0])
//       printf("build-id %s\n", binary->buildId());
//
// The validators are IValidatorCallbacks a client hands to a search, alone or in a
// ValidatorChain (ff_validators.h) with its other checks:
//
//   SymbolFileIdentityValidator sameBuild(binary, "/usr/lib/libx.so.1");
//   search->findSymFile("libx.so.1.debug", "/usr/lib/libx.so.1", nullptr, &sameBuild,
//                       nullptr, nullptr, nullptr);
//
//   ObjectPtr<IFileIdentity> recorded = IFileIdentity::fromBuildId("3a9f00c1d2e4");
//   BinaryIdentityValidator sameBinary(recorded);
//   search->findBinFile(".build-id/3a/9f00c1d2e4", &sameBinary, nullptr, 0);
//
// A candidate whose identity matches is accepted outright (confidence 0); one that does
// not is refused with severity 0 and a message that names the file and both identities;
// where neither side says enough to compare, the confidence-level policy decides. The
// messages come from the identity message manager (IIdentityMessageMgr), whose texts are
// in the catalog "file_finder_common" like those of ff_messages.h.
//
// Reading never trusts a size or count in a file: a truncated, damaged or hostile file
// reads as "not ELF" or with parts missing, never as a crash or a huge allocation.
// Everything here is thread-safe.
#pragma once

#include <cstddef>
#include <string>

#include "ff_export.h"
#include "ff_messages.h"
#include "ff_object.h"
#include "ff_types.h"
#include "ff_validation.h"

namespace FF_2_13 {

/// How reading an identity went.
enum identity_read_status_t : int {
    /// An ELF file: the identity holds what it says (possibly nothing beyond its target).
    irsElf = 0,
    /// Missing, not a regular file, or unreadable.
    irsCannotOpen = 1,
    /// Readable, but not an ELF file (a linker script, an archive, a damaged header).
    irsNotElf = 2,
    /// Made from a recorded build-id: no file was read.
    irsRecorded = 3
};

/// The identity of one file. Immutable; made by the static functions below.
class FF_EXPORT IFileIdentity : public IFFObject {
public:
    /// Reads the file `path`, never in whole: headers, notes and the debug link only.
    /// Never empty; a null or unreadable path gives irsCannotOpen.
    static ObjectPtr<IFileIdentity> readFile(const char* path);
    /// Reads an ELF image of `size` bytes at `bytes` (copied; the caller keeps its
    /// memory). An image cut short, such as the first pages of a module as a process
    /// mapped them, gives what lies inside it: the build-id of the program headers' notes.
    static ObjectPtr<IFileIdentity> readImage(const void* bytes, std::size_t size);
    /// An identity known only by its build-id, written in hexadecimal digits (either
    /// case, an even number, at least two bytes). Empty for any other text.
    static ObjectPtr<IFileIdentity> fromBuildId(const char* hex);

    virtual identity_read_status_t status() const = 0;
    /// Why the status is not irsElf (or irsRecorded), for a user; "" otherwise.
    virtual const char* error() const = 0;
    /// The GNU build-id in lower-case hex; "" when there is none.
    virtual const char* buildId() const = 0;
    /// The file name the ".gnu_debuglink" section gives; "" when there is none or it is
    /// not a plain file name (a name with a '/' is never followed).
    virtual const char* debugLink() const = 0;
    /// Whether a debug link was read, and so debugLinkCrc() holds its CRC-32.
    virtual bool hasDebugLinkCrc() const = 0;
    virtual unsigned int debugLinkCrc() const = 0;
    /// 1 for 32-bit, 2 for 64-bit ELF (EI_CLASS); 0 when not known.
    virtual int elfClass() const = 0;
    /// The ELF machine (e_machine, e.g. 62 for x86-64, 3 for i386); 0 when not known.
    virtual int machine() const = 0;
    /// A ".debug_info" (or ".zdebug_info") section with contents, or a ".gnu_debugdata"
    /// section: the file carries debug information of its own.
    virtual bool hasDebugInfo() const = 0;
    /// The class and machine for a user, e.g. "64-bit AMD x86-64"; "" when not known.
    virtual const char* target() const = 0;
};

/// Refuses a symbol file that was not split from, or is not, the binary:
///  1. the candidate must be an ELF file ("InvalidSymbolFile" otherwise), of the
///     binary's class and machine when those are known ("ElfTargetMismatch"), that
///     carries debug information ("NoDebugInformation");
///  2. with a build-id on the binary, the candidate's must be the same, and a candidate
///     without one is refused ("SymBuildIdMismatch");
///  3. without one, the candidate that is the binary itself (the same file on disk as
///     `binaryPath`) is accepted;
///  4. else the CRC-32 of the whole candidate must be the one the binary's debug link
///     records ("DebugLinkCrcMismatch");
///  5. a binary that names neither leaves the candidate undecided.
/// `binary` may be empty or unreadable (nothing is compared but step 1's ELF and debug
/// information); `binaryPath` may be null (step 3 then never applies).
class FF_EXPORT SymbolFileIdentityValidator : public IValidatorCallback {
public:
    SymbolFileIdentityValidator(const ObjectPtr<IFileIdentity>& binary, const char* binaryPath);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;

private:
    ObjectPtr<IFileIdentity> m_binary;
    std::string m_binaryPath;
};

/// Refuses a binary that is not the one expected: the candidate must be an ELF file
/// ("FileIsNotABinaryModule"), of the expected class and machine when those are known
/// ("ElfTargetMismatch"), with the expected build-id when one is known
/// ("BinBuildIdMismatch"; a matching one accepts it). Without an expected build-id an
/// ELF candidate of the right target is undecided.
class FF_EXPORT BinaryIdentityValidator : public IValidatorCallback {
public:
    explicit BinaryIdentityValidator(const ObjectPtr<IFileIdentity>& expected);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;

private:
    ObjectPtr<IFileIdentity> m_expected;
};

/// The kinds of identity refusal, each with its catalog identifier (the kind's name
/// without "im") and its three texts: the candidate's name, what the candidate is, what
/// was expected.
enum identity_message_t : int {
    /// "The build ID of the symbol file {arg1} ({arg2}) is not the build ID of the binary
    /// ({arg3})."
    imSymBuildIdMismatch = 0,
    imBinBuildIdMismatch = 1,
    imDebugLinkCrcMismatch = 2,
    imElfTargetMismatch = 3,
    /// Only {arg1} is given.
    imNoDebugInformation = 4
};

/// The text of one kind of refusal. fillMessage puts the kind's text from the catalog,
/// with `file`, `found` and `expected` as "arg1", "arg2" and "arg3", into `out` and
/// returns 1; without the catalog or a text it returns 0 and leaves `out` alone (the
/// validator then says "%" + the identifier). Null texts count as "".
class FF_EXPORT IIdentityMessage : public IFFObject {
public:
    virtual unsigned int fillMessage(IMsgContainer& out, const char* file, const char* found,
                                     const char* expected) = 0;
};

/// The process's identity message manager: one message object per kind, the default ones
/// from the first create(). A client words a kind its own way by setting its own object;
/// an empty one leaves the kind without a text. Setting and getting are thread-safe.
class FF_EXPORT IIdentityMessageMgr : public IFFObject {
public:
    /// The manager of the process (the same object on every call).
    static ObjectPtr<IIdentityMessageMgr> create();

    /// Unknown kinds are ignored (set) or have no message (get).
    virtual void setMessage(identity_message_t kind, ObjectPtr<IIdentityMessage> message) = 0;
    virtual ObjectPtr<IIdentityMessage> getMessage(identity_message_t kind) = 0;
};

}  // namespace FF_2_13
