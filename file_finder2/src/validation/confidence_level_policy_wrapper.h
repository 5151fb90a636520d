// The confidence-level policy as the validator sees it: the environment's policy
// callback, asked under its holder's lock, so that a client may replace or remove its
// policy while searches run.
#pragma once

#include "ff_callbacks.h"
#include "ff_searchenv.h"

namespace FF_2_13 {

/// Without a policy (or without an environment) every undecided file is accepted with
/// confidence 1: the answer is 0.
class ConfidenceLevelPolicyWrapper : public IConfidenceLevelPolicyCallback {
public:
    explicit ConfidenceLevelPolicyWrapper(const ObjectPtr<ISearchEnv>& env) : m_env(env) {}
    ~ConfidenceLevelPolicyWrapper() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(search_category_t category, unsigned int value) override;

private:
    ObjectPtr<ISearchEnv> m_env;
};

}  // namespace FF_2_13
