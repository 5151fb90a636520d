// The validator of one search: judges each candidate into a valid or an invalid file.
//
// validateInternal(name, step) runs, in this order:
//   1. in the cache step only (the low 16 bits of `step` are 128) and with a file
//      retriever: compares the candidate's checksum with the one recorded on the remote
//      system for the requested name; a mismatch rejects at once (severity 0), a match
//      goes on to 2. The remote checksum is asked for on the first cache-step candidate
//      when the requested name allows it (an absolute Linux name, or "vmlinux"); it is
//      kept only when the fetch succeeds. A failed fetch is tried again on the next
//      candidate, or, when the search asks so, not at all (one question per search).
//   2. the built-in checks and the client's callback (ValidatorCallbackDecorator);
//   3. valid (0): accepted with confidence 0; invalid (1): rejected with the severity and
//      message the checks set; undecided: the confidence-level policy decides (0 and 1
//      accept with confidence 1 and 2, 2 rejects with what the callbacks set, by default
//      severity 2 and no message).
//
// The result's search step is the low 16 bits of `step`; the policy gets the whole value.
// A kernel image unpacked from a compressed one is judged with the step that found the
// compressed image, like any candidate of that step.
#pragma once

#include <string>

#include "ff_callbacks.h"
#include "ff_checksum.h"
#include "ff_file_retriever.h"
#include "ff_validation.h"
#include "validation/validator_callback_decorator.h"

namespace FF_2_13 {

/// IValidator plus the step-aware entry point the search engine uses.
class IValidatorInternal : public IValidator {
public:
    virtual ObjectPtr<IValidatedFile> validateInternal(const char* name, unsigned int step) = 0;

protected:
    ~IValidatorInternal() = default;
};

/// One per search request, used by one thread at a time; takes no lock. Neither the
/// policy nor the retriever is owned.
class Validator : public IValidatorInternal {
public:
    /// `name` is the name the client asked for (before any search); `callback` and
    /// `retriever` may be null.
    Validator(IValidatorCallback* callback, IConfidenceLevelPolicyCallback& policy,
              search_category_t category, const char* name, IFileRetriever* retriever,
              bool remoteChecksumAskedOnce = false);
    ~Validator() = default;

    /// validateInternal(name, 64): a file the user named is judged as found by asking.
    ObjectPtr<IValidatedFile> validate(const char* name) override;
    ObjectPtr<IValidatedFile> validateInternal(const char* name, unsigned int step) override;

    /// Where the checks report a rejection: empty message and severity 2 at the start.
    class ErrorInfoContainer : public IErrorInfoContainer {
    public:
        void setSeverity(severity_t severity) override { m_severity = severity; }
        void setErrorMessage(const char* message) override { m_message = message ? message : ""; }
        const char* getErrorMessage() const { return m_message.c_str(); }
        severity_t m_severity = svUnspecified;

    private:
        std::string m_message;
    };

private:
    /// Fetches the remote checksum when none is held and the requested name allows it.
    void fetchRemoteChecksum();
    /// True when the candidate's checksum is known and differs from the remote one.
    bool differsFromRemoteChecksum(const char* name);

    ValidatorCallbackDecorator m_callbackDecorator;
    IConfidenceLevelPolicyCallback& m_confidencePolicy;
    search_category_t m_category;
    ObjectPtr<IChecksum> m_remoteChecksum;
    bool m_remoteChecksumAsked = false;
    IFileRetriever* m_fileRetriever;
    std::string m_requestedName;
    const bool m_remoteChecksumAskedOnce;
};

}  // namespace FF_2_13
