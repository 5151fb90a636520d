// File: ff_validators.h
//
// Ready-made validation callbacks a client may hand to a search (findBinFile,
// findSymFile, findSrcFile) as its IValidatorCallback:
//
//   ChecksumValidator                    the candidate's checksum equals the expected one
//   SourceFileUpToDateCheckValidator     a source file is not newer than its binary
//   SourceFileTimeAndSizeMatchValidator  a source file has the recorded time and size
//   ValidatorChain                       several of these (or the client's own) as one
//
// The two time-based validators ignore time differences under the directories given to
// addTimeCheckExceptionDir (directories compared by identity, so a directory reached
// through a symbolic link counts).
//
//   ObjectPtr<IChecksum> expected =
//       IChecksumCalculator::create()->fromString(ctMD5, "9e107d9d372bb6826bd81d3542a419d6");
//   ChecksumValidator byChecksum(scSymbolFiles, expected);
//   search->findSymFile("libx.so.debug", "/usr/lib/libx.so", nullptr, &byChecksum, nullptr,
//                       nullptr, nullptr);
//
//   SourceFileUpToDateCheckValidator notNewer("/usr/lib/libx.so", /*acceptWhenOlder=*/true);
//   notNewer.addTimeCheckExceptionDir("/usr/include");
//
//   ValidatorChain both;                  // the identity first: it is cheaper than a hash
//   both.add(&sameBuild);                 // a SymbolFileIdentityValidator (ff_identity.h)
//   both.add(&byChecksum);
//
// Unlike the rest of the interface these are concrete classes: the client constructs them
// (on its stack, say) and owns them, and may derive from them to word their messages
// differently (the fill... operations). They are exported for that reason. Each may be
// used by several searches at once once it is set up; adding exception directories while
// searches use it is not safe. Results: 0 valid, 1 invalid (severity and message set),
// 2 undecided.
#pragma once

#include <string>
#include <vector>

#include "ff_checksum.h"
#include "ff_export.h"
#include "ff_messages.h"
#include "ff_object.h"
#include "ff_types.h"
#include "ff_validation.h"

namespace FF_2_13 {

/// Directories under which file times are not checked.
class FF_EXPORT ExceptionDirsHelper {
public:
    /// Adds `dir` to the list (it need not exist yet; it is looked at on each check).
    void addTimeCheckExceptionDir(const std::string& dir);
    /// True when `file` lies below one of the directories: its parent directory, or any
    /// ancestor of that, is the same directory on disk (same device and inode) as one of
    /// them. False for an empty list, a null name or a name without a directory part.
    bool isTimeCheckException(const char* file) const;

private:
    struct Dir {
        std::string name;
    };
    std::vector<Dir> m_timeCheckExceptionDirs;
};

/// Compares the candidate's checksum with the expected one (of the same type). No
/// expected checksum, a CRC32 one (never computed) or a file that cannot be hashed:
/// undecided. A mismatch: invalid, severity 0 for binary and symbol files, 1 for source
/// files, with the kind's message ("%ChecksumMismatch" when there is none, and for any
/// other category).
class FF_EXPORT ChecksumValidator : public IValidatorCallback {
public:
    ChecksumValidator(search_category_t category, const ObjectPtr<IChecksum>& expected);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;
    virtual void fillErrorMessageForBinFile(IBinChecksumMismatchMessage& message,
                                            IMsgContainer& out, const char* name);
    virtual void fillErrorMessageForSymFile(ISymChecksumMismatchMessage& message,
                                            IMsgContainer& out, const char* name);
    virtual void fillErrorMessageForSrcFile(ISrcChecksumMismatchMessage& message,
                                            IMsgContainer& out, const char* name);
    virtual void fillErrorMessageForBinFile(IBinChecksumMismatchMessage& message,
                                            IMsgContainer& out);
    virtual void fillErrorMessageForSymFile(ISymChecksumMismatchMessage& message,
                                            IMsgContainer& out);
    virtual void fillErrorMessageForSrcFile(ISrcChecksumMismatchMessage& message,
                                            IMsgContainer& out);

    /// Sets the message (and severity) of a mismatch of `name` by the category.
    void setErrorMessage(IErrorInfoContainer& info, const char* name);

private:
    ObjectPtr<IChecksumCalculator> m_calculator;
    search_category_t m_category;
    ObjectPtr<IChecksum> m_expected;
    ObjectPtr<IBinChecksumMismatchMessage> m_binChecksumMismatch;
    ObjectPtr<ISymChecksumMismatchMessage> m_symChecksumMismatch;
    ObjectPtr<ISrcChecksumMismatchMessage> m_srcChecksumMismatch;
};

/// A source file must not be newer than a reference file (normally its binary module).
/// Newer and not under an exception directory: invalid, severity 1. Otherwise valid when
/// `acceptWhenOlder`, else undecided. A reference file that cannot be looked at (made at
/// construction) leaves every answer undecided, with the "NoDataForSourceFileValidation"
/// text and severity 1 for the case that the policy rejects the file.
class FF_EXPORT SourceFileUpToDateCheckValidator : public IValidatorCallback,
                                                   public ExceptionDirsHelper {
public:
    SourceFileUpToDateCheckValidator(const char* referenceFile, bool acceptWhenOlder);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;
    virtual void fillUpToDateErrorMessage(ISourceFileUpToDateMessage& message, IMsgContainer& out);

private:
    long long m_referenceTime = 0;
    bool m_hasReference = false;
    bool m_acceptWhenOlder;
    ObjectPtr<ISourceFileUpToDateMessage> m_upToDateMessage;
};

/// A source file must have the recorded modification time (whole seconds, exact) and
/// size; 0 means "not recorded" for either. A time difference under an exception
/// directory is excused; sizes are always compared. Invalid (severity 1) on a mismatch;
/// valid when a recorded value was checked and matched; undecided when nothing was
/// recorded.
class FF_EXPORT SourceFileTimeAndSizeMatchValidator : public IValidatorCallback,
                                                      public ExceptionDirsHelper {
public:
    SourceFileTimeAndSizeMatchValidator(long long expectedTime, unsigned long long expectedSize);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;
    virtual void fillTimeMismatchErrorMessage(IModificationTimeMismatchMessage& message,
                                              IMsgContainer& out);
    virtual void fillSizeMismatchErrorMessage(ISizeMismatchMessage& message, IMsgContainer& out);

private:
    long long m_expectedTime;
    unsigned long long m_expectedSize;
    ObjectPtr<IModificationTimeMismatchMessage> m_timeMismatchMessage;
    ObjectPtr<ISizeMismatchMessage> m_sizeMismatchMessage;
};

/// Several validators as one, asked in the order they were added. The first refusal
/// ends the chain and is the answer (its severity and message stand); otherwise a file
/// that any of them accepted outright is accepted outright (a build-id that matches needs
/// no checksum that cannot be computed), and a file that none accepted is undecided. An
/// empty chain leaves every file undecided. The validators are borrowed: they must live
/// as long as the chain is used.
class FF_EXPORT ValidatorChain : public IValidatorCallback {
public:
    /// Appends `validator`; a null one is ignored.
    void add(IValidatorCallback* validator);
    bool empty() const { return m_validators.empty(); }

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;

private:
    std::vector<IValidatorCallback*> m_validators;
};

}  // namespace FF_2_13
