// The default steps configurator (one mask per category) and its iterator. The search
// builds a DefaultSearchStepsConfigurator of its own when the environment has none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ff_search_steps.h"

namespace FF_2_13 {

class StringContainer;

class DefaultSearchStepsIterator : public RefCountImpl<ISearchStepsIterator> {
public:
    /// The enabled steps of `mask`, in the fixed walking order.
    explicit DefaultSearchStepsIterator(int mask);

    void reset() override;
    bool next() override;
    bool current(search_step_t& step) override;

private:
    std::vector<search_step_t> m_steps;
    size_t m_cursor = 0;
};

class DefaultSearchStepsConfigurator : public RefCountImpl<ISearchStepsConfigurator> {
public:
    /// Steps 1 to 32 on for every category; the cache directory and asking the user off.
    static constexpr uint32_t kDefaultMask = 63;

    ObjectPtr<ISearchStepsIterator> getSearchStepsIterator(search_category_t category,
                                                           unsigned long long mask) override;
    void setStep(search_step_t step, search_category_t category, bool enable) override;

    /// The category's mask; 0, with an error line, for a category without one.
    unsigned getSearchStepsMask(search_category_t category) const;
    /// A new iterator over the enabled steps of `mask`.
    ObjectPtr<ISearchStepsIterator> getSearchStepsIterator(int mask);

private:
    uint32_t* maskOf(search_category_t category);

    uint32_t m_binaryMask = kDefaultMask;
    uint32_t m_symbolMask = kDefaultMask;
    uint32_t m_sourceMask = kDefaultMask;
};

/// "[StringContainer: m_list = a, b]".
std::string dump(const StringContainer& strings);

}  // namespace FF_2_13
