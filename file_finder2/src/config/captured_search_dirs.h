// The captured snapshot of an environment's search directories.
#pragma once

#include <array>
#include <map>
#include <thread>

#include "config/search_dir_lists.h"

namespace FF_2_13 {

/// Frozen records per category, read once from the environment at construction.
///
/// Sharing: a consumer may move the iterator it got from enumerate() and expect a later
/// enumerate() to return that very object (readers reset() it first). Handing one
/// iterator to every thread would let two searches of one captured client walk one
/// cursor and skip directories, so each thread gets its own shared iterator per category:
/// a map from thread id to four iterator slots, under the object's lock. The records
/// themselves are shared, immutable, by every iterator.
///
/// Threads come and go, so the map is pruned when it has doubled since the last pruning:
/// entries of other threads whose iterators nobody but the map holds are dropped (such a
/// thread's next enumerate() gets a fresh iterator at the start, which a reader that
/// resets first cannot tell apart).
class CapturedSearchDirs : public RefCountImpl<ICapturedSearchDirs> {
public:
    explicit CapturedSearchDirs(const ObjectPtr<ISearchEnv>& env);
    ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const override;

    /// Threads with iterators of their own right now (for tests).
    size_t threadCount() const;

private:
    static constexpr size_t kCategories = 4;
    static constexpr size_t kFirstPruning = 16;
    using Slots = std::array<ObjectPtr<ISearchDirIterator>, kCategories>;

    void pruneUnheld(std::thread::id keep) const;

    DirRecords m_records[kCategories];  // empty: the environment had no iterator
    mutable std::map<std::thread::id, Slots> m_iterators;
    mutable size_t m_pruneAt = kFirstPruning;
    mutable FFLock m_lock;
};

}  // namespace FF_2_13
