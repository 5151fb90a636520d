// The suggested resolutions of one search: the container a search-started callback adds
// its suggestions to. Made on the stack of the search.
#pragma once

#include <deque>
#include <string>

#include "ff_callbacks.h"

namespace FF_2_13 {

class StringContainer : public IStringContainer {
public:
    void add(const char* text) override {
        if (text) m_list.emplace_back(text);
    }
    size_t size() const override { return m_list.size(); }
    const char* get(size_t index) const override {
        return index < m_list.size() ? m_list[index].c_str() : nullptr;
    }

    // A deque never moves its elements when it grows, so a text handed out by get()
    // stays valid while more suggestions are added.
    std::deque<std::string> m_list;
};

}  // namespace FF_2_13
