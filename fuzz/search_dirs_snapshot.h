// The whole content of a search directory container as a value the fuzzers compare:
// per category (1 to 4) its records in list order. A category without an iterator and
// one without records read the same.
#pragma once

#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "ff_searchdirs.h"

namespace fffuzz {

struct DirRecord {
    std::string name;
    bool recursive;
    bool highPriority;
    bool operator==(const DirRecord& o) const {
        return std::tie(name, recursive, highPriority) ==
               std::tie(o.name, o.recursive, o.highPriority);
    }
};

using DirsSnapshot = std::array<std::vector<DirRecord>, 4>;

inline DirsSnapshot snapshotOf(const FF_2_13::ISearchDirContainer& dirs) {
    DirsSnapshot snapshot;
    for (int c = FF_2_13::scBinaryFiles; c <= FF_2_13::scAllFiles; ++c) {
        FF_2_13::ObjectPtr<FF_2_13::ISearchDirIterator> it =
            dirs.enumerate(static_cast<FF_2_13::search_category_t>(c));
        if (!it) continue;
        const char* name = nullptr;
        bool recursive = false, high = false;
        for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
            snapshot[c - 1].push_back({name, recursive, high});
    }
    return snapshot;
}

}  // namespace fffuzz
