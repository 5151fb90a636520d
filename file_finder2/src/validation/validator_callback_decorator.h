// The built-in file-system checks that every validator runs before the client's own
// validation callback.
#pragma once

#include <string>

#include "ff_messages.h"
#include "ff_object.h"
#include "ff_validation.h"

namespace FF_2_13 {

/// A validation callback that wraps another (the client's, or none).
class IValidatorCallbackDecorator : public IFFObject, public IValidatorCallback {
public:
    /// `wrapped` may be null; it is not owned.
    static ObjectPtr<IValidatorCallbackDecorator> create(IValidatorCallback* wrapped);
};

/// Runs, in this order, stopping at the first failure:
///   1. the name must be an existing regular file (following links); anything else, a
///      directory included, is reported as not existing, severity 0;
///   2. a second look: a directory now (the file changed since step 1) is rejected
///      without a message; a file gone since step 1 is a failed step 3;
///   3. a file that is no longer regular: severity 0, the not-regular message;
///   4. the file must open for reading: severity 0, the not-readable message;
///   5. the wrapped callback's answer, or undecided (2) without one.
/// The Validator holds one by value; create() makes a counted one.
class ValidatorCallbackDecorator : public RefCountImpl<IValidatorCallbackDecorator> {
public:
    explicit ValidatorCallbackDecorator(IValidatorCallback* wrapped);

    unsigned int validate(const char* name, IErrorInfoContainer& info) override;

    // The catalog text of each failure, or "%" + its identifier when there is none.
    std::string getFileDoesntExistErrMessage(const char* name);
    std::string getFileIsNotReadableErrMessage(const char* name);
    std::string getFileIsNotRegularErrMessage(const char* name);
    std::string getFileIsDirErrMessage();

private:
    IValidatorCallback* m_wrapped;
    ObjectPtr<IFileIsDirectoryMessage> m_fileIsDirectory;
    ObjectPtr<IFileIsNotReadableMessage> m_fileIsNotReadable;
    ObjectPtr<IFileDoesNotExistMessage> m_fileDoesNotExist;
};

}  // namespace FF_2_13
