// The validator's verdicts: accepted files, rejected files and the verdict holding one of
// them. Immutable once made; names are stored in canonical form.
#pragma once

#include <string>

#include "ff_validation.h"

namespace FF_2_13 {

class ValidFile : public RefCountImpl<IValidFile> {
public:
    /// A null name leaves the name empty.
    ValidFile(const char* name, confidence_t confidence, search_step_t step);

    const char* name() const override { return m_name.c_str(); }
    confidence_t confidence() const override { return m_confidence; }
    search_step_t searchStep() const override { return m_step; }

private:
    std::string m_name;
    confidence_t m_confidence;
    search_step_t m_step;
};

class InvalidFile : public RefCountImpl<IInvalidFile> {
public:
    /// A null name leaves the name empty; a null message is "".
    InvalidFile(const char* name, severity_t severity, const char* errorMessage,
                search_step_t step);

    const char* name() const override { return m_name.c_str(); }
    severity_t severity() const override { return m_severity; }
    const char* errorMessage() const override { return m_errorMessage.c_str(); }
    search_step_t searchStep() const override { return m_step; }
    ObjectPtr<IValidFile> forceTreatAsValid() const override;

private:
    std::string m_name;
    std::string m_errorMessage;
    severity_t m_severity;
    search_step_t m_step;
};

class ValidatedFile : public RefCountImpl<IValidatedFile> {
public:
    explicit ValidatedFile(IValidFile& valid) : m_valid(&valid) {}
    explicit ValidatedFile(IInvalidFile& invalid) : m_invalid(&invalid) {}

    ObjectPtr<IValidFile> validFile() override { return m_valid; }
    ObjectPtr<IInvalidFile> invalidFile() override { return m_invalid; }

private:
    ObjectPtr<IValidFile> m_valid;
    ObjectPtr<IInvalidFile> m_invalid;
};

}  // namespace FF_2_13
