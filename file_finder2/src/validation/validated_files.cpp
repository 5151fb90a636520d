// The validator's verdicts.
#include "validation/validated_files.h"

#include "ff_utils.h"

namespace FF_2_13 {

ValidFile::ValidFile(const char* name, confidence_t confidence, search_step_t step)
    : m_name(utils::getCanonicalName(name, false)), m_confidence(confidence), m_step(step) {}

InvalidFile::InvalidFile(const char* name, severity_t severity, const char* errorMessage,
                         search_step_t step)
    : m_name(utils::getCanonicalName(name, false)),
      m_errorMessage(errorMessage ? errorMessage : ""),
      m_severity(severity),
      m_step(step) {}

ObjectPtr<IValidFile> InvalidFile::forceTreatAsValid() const {
    return ObjectPtr<IValidFile>(new ValidFile(m_name.c_str(), cfAccepted, m_step));
}

}  // namespace FF_2_13
