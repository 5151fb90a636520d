// The validator of one search.
#include "validation/validator.h"

#include <QORAL_2_18/generic.h>

#include "base/log.h"
#include "ff_kernel_image.h"
#include "ff_utils.h"
#include "files/linux_names.h"
#include "validation/message_mgr.h"
#include "validation/validated_files.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kValidator;
constexpr char kChecksumMismatchId[] = "%CannotMatchFileWithChecksumMismatch";

ObjectPtr<IValidatedFile> accepted(const char* name, confidence_t confidence, search_step_t step) {
    ValidFile* valid = new ValidFile(name, confidence, step);
    return ObjectPtr<IValidatedFile>(new ValidatedFile(*valid));
}

ObjectPtr<IValidatedFile> rejected(const char* name, severity_t severity, const char* message,
                                   search_step_t step) {
    InvalidFile* invalid = new InvalidFile(name, severity, message, step);
    return ObjectPtr<IValidatedFile>(new ValidatedFile(*invalid));
}

std::string remoteMismatchMessage(const char* name) {
    using namespace QORAL_2_18;
    std::string text = kChecksumMismatchId;  // stands in when there is no catalog text
    formatCatalogMessage("file_finder.climgr", kChecksumMismatchId,
                         generic::varg_list(generic::argument("%1", types::variant(name))), text);
    return text;
}

}  // namespace

Validator::Validator(IValidatorCallback* callback, IConfidenceLevelPolicyCallback& policy,
                     search_category_t category, const char* name, IFileRetriever* retriever,
                     bool remoteChecksumAskedOnce)
    : m_callbackDecorator(callback),
      m_confidencePolicy(policy),
      m_category(category),
      m_fileRetriever(retriever),
      m_requestedName(name ? name : ""),
      m_remoteChecksumAskedOnce(remoteChecksumAskedOnce) {}

ObjectPtr<IValidatedFile> Validator::validate(const char* name) {
    return validateInternal(name, ssAskUser);
}

ObjectPtr<IValidatedFile> Validator::validateInternal(const char* name, unsigned int step) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IValidatedFile> Validator::validateInternal(const char*, "
                   "unsigned int)");
    const search_step_t searchStep = static_cast<search_step_t>(step & 0xffffu);

    if (searchStep == ssCacheSearchDir && m_fileRetriever) {
        if (!m_remoteChecksum && !(m_remoteChecksumAskedOnce && m_remoteChecksumAsked))
            fetchRemoteChecksum();
        if (m_remoteChecksum && differsFromRemoteChecksum(name)) {
            FF_LOG_INFO(kLogSource, "Checksum mismatch with the remote file: " << name);
            return rejected(name, svHard, remoteMismatchMessage(name).c_str(), searchStep);
        }
    }

    ErrorInfoContainer info;
    const unsigned int result = m_callbackDecorator.validate(name, info);
    if (result == vrValid) return accepted(name, cfAccepted, searchStep);
    if (result == vrInvalid)
        return rejected(name, info.m_severity, info.getErrorMessage(), searchStep);
    switch (m_confidencePolicy.getConfidenceLevel(m_category, step)) {
        case 0:
            return accepted(name, cfPolicyHigh, searchStep);
        case 2:
            return rejected(name, info.m_severity, info.getErrorMessage(), searchStep);
        default:
            return accepted(name, cfPolicyLow, searchStep);
    }
}

void Validator::fetchRemoteChecksum() {
    m_remoteChecksumAsked = true;
    // The remote system knows files by the name the client asked for, not by where a
    // candidate was found. Only absolute Linux names (after repairing backslashes) and the
    // bare kernel image name mean something there.
    std::string remoteName = m_requestedName;
    const bool linuxName = fixLinuxName(remoteName);
    if (!linuxName && !utils::isAbsolutePath(remoteName.c_str()) && remoteName != VMLINUX) return;
    ObjectPtr<IChecksum> fetched;
    // What a failed fetch left in the holder is not trusted.
    if (m_fileRetriever->retrieveChecksum(remoteName.c_str(), fetched) == 0 && fetched)
        m_remoteChecksum = fetched;
}

bool Validator::differsFromRemoteChecksum(const char* name) {
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    if (!calculator) return false;
    ObjectPtr<IChecksum> actual = calculator->calculateChecksum(name, m_remoteChecksum->type());
    // No checksum of the candidate (unreadable, CRC32): no remote verdict either.
    return actual && !actual->isEqualTo(*m_remoteChecksum);
}

}  // namespace FF_2_13
