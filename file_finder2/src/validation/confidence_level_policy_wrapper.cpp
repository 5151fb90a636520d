// The confidence-level policy wrapper.
#include "validation/confidence_level_policy_wrapper.h"

namespace FF_2_13 {

unsigned int ConfidenceLevelPolicyWrapper::getConfidenceLevel(search_category_t category,
                                                              unsigned int value) {
    if (!m_env) return 0;
    CallbackAccessor<IConfidenceLevelPolicyCallback> policy(m_env->confidenceLevelPolicyCallback());
    if (!policy) return 0;
    return policy->getConfidenceLevel(category, value);
}

}  // namespace FF_2_13
