// The client-side validation callbacks: checksum, source up-to-date, source time and
// size, and the exception directories of the time checks.
#include "ff_validators.h"

#include <boost/filesystem/path.hpp>
#include <utility>

#include "validation/message_mgr.h"
#include "platform/posix.h"

namespace FF_2_13 {

namespace {

// A file that cannot be looked at counts with time and size 0.
posix::FileStatus statusOrZero(const char* name) {
    posix::FileStatus status;
    if (!posix::statFile(name, status)) status = posix::FileStatus();
    return status;
}

// The container's text, or the fallback identifier when nothing was filled.
const char* textOr(MsgContainer& text, const char* fallback) {
    const char* filled = text.get();
    return filled ? filled : fallback;
}

}  // namespace

// ---- ExceptionDirsHelper ---------------------------------------------------------------

void ExceptionDirsHelper::addTimeCheckExceptionDir(const std::string& dir) {
    m_timeCheckExceptionDirs.push_back(Dir{dir});
}

bool ExceptionDirsHelper::isTimeCheckException(const char* file) const {
    if (m_timeCheckExceptionDirs.empty() || !file) return false;
    // Identity, not text: "/src/link/a.c" is under "/data/src" when link points there.
    std::vector<posix::FileStatus> dirs;
    for (const Dir& dir : m_timeCheckExceptionDirs) {
        posix::FileStatus status;
        if (posix::statFile(dir.name.c_str(), status)) dirs.push_back(status);
    }
    if (dirs.empty()) return false;
    for (boost::filesystem::path level = boost::filesystem::path(file).parent_path();
         !level.empty(); level = level.parent_path()) {
        posix::FileStatus status;
        if (!posix::statFile(level.c_str(), status)) continue;
        for (const posix::FileStatus& dir : dirs)
            if (dir.device == status.device && dir.inode == status.inode) return true;
    }
    return false;
}

// ---- ChecksumValidator -----------------------------------------------------------------

ChecksumValidator::ChecksumValidator(search_category_t category,
                                     const ObjectPtr<IChecksum>& expected)
    : m_calculator(IChecksumCalculator::create()), m_category(category), m_expected(expected) {
    ObjectPtr<IMessageMgr> messages = IMessageMgr::create();
    m_binChecksumMismatch = messages->getBinChecksumMismatchMessage();
    m_symChecksumMismatch = messages->getSymChecksumMismatchMessage();
    m_srcChecksumMismatch = messages->getSrcChecksumMismatchMessage();
}

unsigned int ChecksumValidator::validate(const char* name, IErrorInfoContainer& info) {
    if (!m_expected) return vrUndecided;
    ObjectPtr<IChecksum> actual = m_calculator->calculateChecksum(name, m_expected->type());
    if (!actual) return vrUndecided;
    if (actual->isEqualTo(*m_expected)) return vrValid;
    setErrorMessage(info, name);
    return vrInvalid;
}

void ChecksumValidator::setErrorMessage(IErrorInfoContainer& info, const char* name) {
    MsgContainer text;
    switch (m_category) {
        case scBinaryFiles:
            if (m_binChecksumMismatch)
                fillErrorMessageForBinFile(*m_binChecksumMismatch, text, name);
            info.setSeverity(svHard);
            break;
        case scSymbolFiles:
            if (m_symChecksumMismatch)
                fillErrorMessageForSymFile(*m_symChecksumMismatch, text, name);
            info.setSeverity(svHard);
            break;
        case scSourceFiles:
            // A source file with other contents may still be close enough to read.
            if (m_srcChecksumMismatch)
                fillErrorMessageForSrcFile(*m_srcChecksumMismatch, text, name);
            info.setSeverity(svMild);
            break;
        default:
            break;  // no kind of its own: the generic text, the severity left as it is
    }
    info.setErrorMessage(textOr(text, "%ChecksumMismatch"));
}

void ChecksumValidator::fillErrorMessageForBinFile(IBinChecksumMismatchMessage& message,
                                                   IMsgContainer& out, const char* name) {
    message.fillMessage(out, name);
}

void ChecksumValidator::fillErrorMessageForSymFile(ISymChecksumMismatchMessage& message,
                                                   IMsgContainer& out, const char* name) {
    message.fillMessage(out, name);
}

void ChecksumValidator::fillErrorMessageForSrcFile(ISrcChecksumMismatchMessage& message,
                                                   IMsgContainer& out, const char* name) {
    message.fillMessage(out, name);
}

void ChecksumValidator::fillErrorMessageForBinFile(IBinChecksumMismatchMessage& message,
                                                   IMsgContainer& out) {
    fillErrorMessageForBinFile(message, out, "");
}

void ChecksumValidator::fillErrorMessageForSymFile(ISymChecksumMismatchMessage& message,
                                                   IMsgContainer& out) {
    fillErrorMessageForSymFile(message, out, "");
}

void ChecksumValidator::fillErrorMessageForSrcFile(ISrcChecksumMismatchMessage& message,
                                                   IMsgContainer& out) {
    fillErrorMessageForSrcFile(message, out, "");
}

// ---- SourceFileUpToDateCheckValidator --------------------------------------------------

SourceFileUpToDateCheckValidator::SourceFileUpToDateCheckValidator(const char* referenceFile,
                                                                   bool acceptWhenOlder)
    : m_acceptWhenOlder(acceptWhenOlder),
      m_upToDateMessage(IMessageMgr::create()->getSourceFileUpToDateMessage()) {
    posix::FileStatus reference;
    if (posix::statFile(referenceFile, reference)) {
        m_referenceTime = reference.modificationTime;
        m_hasReference = true;
    }
}

unsigned int SourceFileUpToDateCheckValidator::validate(const char* name,
                                                        IErrorInfoContainer& info) {
    if (!m_hasReference) {
        // Undecided, but with a reason ready in case the policy rejects the file.
        std::string text = "%NoDataForSourceFileValidation";
        formatCatalogMessage(VALIDATOR_MESSAGES_CATALOG, "NoDataForSourceFileValidation",
                             prepareArgumentsList(), text);
        info.setErrorMessage(text.c_str());
        info.setSeverity(svMild);
        return vrUndecided;
    }
    const long long candidateTime = statusOrZero(name).modificationTime;
    // Equal times are not newer: a source saved in the second the binary was linked.
    if (m_referenceTime < candidateTime && !isTimeCheckException(name)) {
        MsgContainer text;
        if (m_upToDateMessage) fillUpToDateErrorMessage(*m_upToDateMessage, text);
        info.setErrorMessage(textOr(text, "%SourceFileUpToDate"));
        info.setSeverity(svMild);
        return vrInvalid;
    }
    return m_acceptWhenOlder ? vrValid : vrUndecided;
}

void SourceFileUpToDateCheckValidator::fillUpToDateErrorMessage(ISourceFileUpToDateMessage& message,
                                                                IMsgContainer& out) {
    message.fillMessage(out, "");
}

// ---- SourceFileTimeAndSizeMatchValidator -----------------------------------------------

SourceFileTimeAndSizeMatchValidator::SourceFileTimeAndSizeMatchValidator(
    long long expectedTime, unsigned long long expectedSize)
    : m_expectedTime(expectedTime), m_expectedSize(expectedSize) {
    ObjectPtr<IMessageMgr> messages = IMessageMgr::create();
    m_timeMismatchMessage = messages->getModificationTimeMismatchMessage();
    m_sizeMismatchMessage = messages->getSizeMismatchMessage();
}

unsigned int SourceFileTimeAndSizeMatchValidator::validate(const char* name,
                                                           IErrorInfoContainer& info) {
    const posix::FileStatus candidate = statusOrZero(name);
    MsgContainer text;
    bool mismatch = false;
    unsigned int result = vrUndecided;
    if (m_expectedTime != 0) {
        if (m_expectedTime != candidate.modificationTime && !isTimeCheckException(name)) {
            if (m_timeMismatchMessage) fillTimeMismatchErrorMessage(*m_timeMismatchMessage, text);
            mismatch = true;
        } else {
            result = vrValid;
        }
    }
    if (!mismatch && m_expectedSize != 0) {
        if (m_expectedSize == candidate.size) return vrValid;
        if (m_sizeMismatchMessage) fillSizeMismatchErrorMessage(*m_sizeMismatchMessage, text);
        mismatch = true;
    }
    if (!mismatch) return result;
    info.setErrorMessage(textOr(text, "%ModificationTimeOrSizeMismatch"));
    info.setSeverity(svMild);
    return vrInvalid;
}

void SourceFileTimeAndSizeMatchValidator::fillTimeMismatchErrorMessage(
    IModificationTimeMismatchMessage& message, IMsgContainer& out) {
    message.fillMessage(out, "");
}

void SourceFileTimeAndSizeMatchValidator::fillSizeMismatchErrorMessage(
    ISizeMismatchMessage& message, IMsgContainer& out) {
    message.fillMessage(out, "");
}

}  // namespace FF_2_13
