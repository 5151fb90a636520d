// File: ff_validation.h
//
// Validated files and the validation callback interfaces. Every candidate a search turns
// up is judged by the library's validator (existence, regular file, readability, then the
// client's own IValidatorCallback, then the confidence-level policy) into an
// IValidatedFile holding either an IValidFile (accepted, with a confidence) or an
// IInvalidFile (rejected, with a severity and a user-facing message).
//
//   ObjectPtr<IValidFile> found = search->findBinFile("/usr/lib/libc.so.6", nullptr, nullptr, 0);
//   if (found) printf("%s (confidence %d, step %u)\n", found->name(), found->confidence(),
//                     found->searchStep());
//
// Valid, invalid and validated files are immutable and may be shared between threads.
#pragma once

#include "ff_object.h"
#include "ff_types.h"

namespace FF_2_13 {

/// An accepted file. Made by the library; name() is the canonical form of the path.
class FF_EXPORT IValidFile : public IFFObject {
public:
    virtual const char* name() const = 0;
    virtual confidence_t confidence() const = 0;
    /// The step that found it (the low 16 bits of the step value the validator was given).
    virtual search_step_t searchStep() const = 0;
};

/// A rejected file with the reason.
class FF_EXPORT IInvalidFile : public IFFObject {
public:
    virtual const char* name() const = 0;
    virtual severity_t severity() const = 0;
    /// User-facing text (from the message catalogs), or "" when nobody gave one.
    virtual const char* errorMessage() const = 0;
    virtual search_step_t searchStep() const = 0;
    /// A new valid file for this one, confidence 0 and the same step: for a client that
    /// accepts a rejected file anyway.
    virtual ObjectPtr<IValidFile> forceTreatAsValid() const = 0;
};

/// The verdict on one candidate: exactly one of the two is set.
class FF_EXPORT IValidatedFile : public IFFObject {
public:
    virtual ObjectPtr<IValidFile> validFile() = 0;
    virtual ObjectPtr<IInvalidFile> invalidFile() = 0;
};

/// The validator of one search, handed to no-files-found callbacks so that a client can
/// validate a file the user picked by hand. Not reference counted: it lives as long as
/// the search call that passes it; do not keep it.
class FF_EXPORT IValidator {
public:
    /// Judges `name` as found in the ssAskUser step (64).
    virtual ObjectPtr<IValidatedFile> validate(const char* name) = 0;

protected:
    ~IValidator() = default;
};

/// Where a validation callback reports why it rejected a file.
class FF_EXPORT IErrorInfoContainer {
public:
    virtual void setSeverity(severity_t severity) = 0;
    /// Copies the text.
    virtual void setErrorMessage(const char* message) = 0;

protected:
    ~IErrorInfoContainer() = default;
};

/// A client's check of one candidate. Not reference counted: the client owns it and keeps
/// it alive for the searches it is passed to. Called on the searching thread; one
/// callback passed to concurrent searches is called concurrently.
class FF_EXPORT IValidatorCallback {
public:
    /// 0 valid, 1 invalid (set severity and message in `info`), 2 undecided (the
    /// confidence-level policy decides).
    virtual unsigned int validate(const char* name, IErrorInfoContainer& info) = 0;
    virtual ~IValidatorCallback() {}
};

}  // namespace FF_2_13
