// The captured snapshot of an environment's search directories: the records are frozen
// at construction; iterators are shared per thread (see the class comment).
#include "config/captured_search_dirs.h"

#include <algorithm>

#include "base/log.h"
#include "ff_searchenv.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kSearchEnv;

// True when the map's reference is the only one: nobody can then obtain the iterator
// but through the map, whose lock the caller holds.
bool heldByMapOnly(const ObjectPtr<ISearchDirIterator>& it) {
    if (!it) return true;
    const int32_t count = it->addRef();
    it->release();
    return count == 2;
}
}  // namespace

ObjectPtr<ICapturedSearchDirs> ICapturedSearchDirs::create(ObjectPtr<ISearchEnv> env) {
    FF_TRACE_SCOPE(
        kLogSource,
        "ObjectPtr<ICapturedSearchDirs> ICapturedSearchDirs::create(ObjectPtr<ISearchEnv>)");
    return ObjectPtr<ICapturedSearchDirs>(new CapturedSearchDirs(env));
}

CapturedSearchDirs::CapturedSearchDirs(const ObjectPtr<ISearchEnv>& env) {
    if (!env) return;
    for (search_category_t category : {scSourceFiles, scSymbolFiles, scBinaryFiles, scAllFiles}) {
        ObjectPtr<ISearchDirIterator> it = env->searchDirs(category);
        if (it)
            m_records[category - 1] = std::make_shared<const std::vector<Dir>>(readAllRecords(*it));
    }
}

ObjectPtr<ISearchDirIterator> CapturedSearchDirs::enumerate(search_category_t category) const {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<ISearchDirIterator> CapturedSearchDirs::enumerate("
                   "search_category_t) const");
    if (!isValidCategory(category) || !m_records[category - 1])
        return ObjectPtr<ISearchDirIterator>();
    const std::thread::id self = std::this_thread::get_id();
    FFLockWrap guard(&m_lock);
    auto found = m_iterators.find(self);
    if (found == m_iterators.end()) {
        if (m_iterators.size() >= m_pruneAt) pruneUnheld(self);
        found = m_iterators.emplace(self, Slots()).first;
    }
    ObjectPtr<ISearchDirIterator>& slot = found->second[category - 1];
    if (!slot)
        slot = ObjectPtr<ISearchDirIterator>(new DefaultSearchDirIterator(m_records[category - 1]));
    return slot;
}

void CapturedSearchDirs::pruneUnheld(std::thread::id keep) const {
    for (auto it = m_iterators.begin(); it != m_iterators.end();) {
        const Slots& slots = it->second;
        const bool unheld =
            it->first != keep && std::all_of(slots.begin(), slots.end(), heldByMapOnly);
        it = unheld ? m_iterators.erase(it) : std::next(it);
    }
    m_pruneAt = std::max(kFirstPruning, 2 * m_iterators.size());
}

size_t CapturedSearchDirs::threadCount() const {
    FFLockWrap guard(&m_lock);
    return m_iterators.size();
}

}  // namespace FF_2_13
