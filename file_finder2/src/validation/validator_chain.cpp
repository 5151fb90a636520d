// Several validation callbacks asked as one.
#include "ff_validators.h"

namespace FF_2_13 {

void ValidatorChain::add(IValidatorCallback* validator) {
    if (validator) m_validators.push_back(validator);
}

unsigned int ValidatorChain::validate(const char* name, IErrorInfoContainer& info) {
    unsigned int result = vrUndecided;
    for (IValidatorCallback* validator : m_validators) {
        const unsigned int answer = validator->validate(name, info);
        if (answer == vrInvalid) return vrInvalid;
        if (answer == vrValid) result = vrValid;
    }
    return result;
}

}  // namespace FF_2_13
