// Search directory lists, the editable container, the chain and the snapshot iterator.
#include "config/search_dir_lists.h"

#include <algorithm>

#include "base/log.h"
#include "ff_utils.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kSearchEnv;
}  // namespace

// ---- FilteredDirList -------------------------------------------------------------------

bool FilteredDirList::CanonicalLess::operator()(const std::string& a, const std::string& b) const {
    return utils::compareCanonicalFileNames(a.c_str(), b.c_str()) < 0;
}

bool FilteredDirList::add(const char* name, bool recursive, bool highPriority) {
    if (!name) return false;
    // "/opt/x/", "/opt//x" and "/opt/x" are one directory.
    std::string key = utils::getCanonicalName(name, true);
    FFLockWrap guard(&m_lock);
    auto found = m_index.find(key);
    if (found != m_index.end()) {
        Dir& existing = m_entries[found->second];
        // Flags only ever accumulate: a later registration may widen a search, not narrow it.
        const bool widened =
            (recursive && !existing.recursive) || (highPriority && !existing.highPriority);
        existing.recursive = existing.recursive || recursive;
        existing.highPriority = existing.highPriority || highPriority;
        if (widened) m_snapshot.reset();
        return false;
    }
    m_entries.push_back(Dir{name, recursive, highPriority});
    m_index.emplace(std::move(key), static_cast<unsigned>(m_entries.size() - 1));
    m_snapshot.reset();
    return true;
}

void FilteredDirList::clear() {
    FFLockWrap guard(&m_lock);
    m_entries.clear();
    m_index.clear();
    m_snapshot.reset();
}

DirRecords FilteredDirList::snapshot() const {
    FFLockWrap guard(&m_lock);
    if (!m_snapshot) m_snapshot = std::make_shared<const std::vector<Dir>>(m_entries);
    return m_snapshot;
}

// ---- DefaultSearchDirIterator ----------------------------------------------------------

DefaultSearchDirIterator::DefaultSearchDirIterator(const FilteredDirList& list)
    : DefaultSearchDirIterator(list.snapshot()) {}

DefaultSearchDirIterator::DefaultSearchDirIterator(DirRecords records)
    : m_records(records ? std::move(records) : std::make_shared<const std::vector<Dir>>()) {
    reset();
}

void DefaultSearchDirIterator::reset() {
    m_cursor = 0;
}

bool DefaultSearchDirIterator::next() {
    if (m_cursor >= m_records->size()) return false;
    ++m_cursor;
    return m_cursor < m_records->size();
}

bool DefaultSearchDirIterator::getCurrentRecord(const char*& name, bool& recursive,
                                                bool& highPriority) {
    if (m_cursor >= m_records->size()) return false;
    const Dir& dir = (*m_records)[m_cursor];
    name = dir.name.c_str();
    recursive = dir.recursive;
    highPriority = dir.highPriority;
    return true;
}

std::vector<Dir> readAllRecords(ISearchDirIterator& it) {
    std::vector<Dir> records;
    const char* name = nullptr;
    bool recursive = false;
    bool highPriority = false;
    for (it.reset(); it.getCurrentRecord(name, recursive, highPriority); it.next())
        records.push_back(Dir{name ? name : "", recursive, highPriority});
    return records;
}

// ---- EditableSearchDirContainer --------------------------------------------------------

ObjectPtr<IEditableSearchDirContainer> IEditableSearchDirContainer::create() {
    return ObjectPtr<IEditableSearchDirContainer>(new EditableSearchDirContainer());
}

ObjectPtr<FilteredDirList> EditableSearchDirContainer::getDirListForCategory(
    search_category_t category) const {
    if (!isValidCategory(category)) return ObjectPtr<FilteredDirList>();
    FFLockWrap guard(&m_lock);
    auto found = m_lists.find(category);
    return found == m_lists.end() ? ObjectPtr<FilteredDirList>() : found->second;
}

ObjectPtr<FilteredDirList> EditableSearchDirContainer::getEditableDirListForCategory(
    search_category_t category) {
    if (!isValidCategory(category)) return ObjectPtr<FilteredDirList>();
    FFLockWrap guard(&m_lock);
    ObjectPtr<FilteredDirList>& list = m_lists[category];
    if (!list) list = ObjectPtr<FilteredDirList>(new FilteredDirList());
    return list;
}

bool EditableSearchDirContainer::addDirectory(search_category_t category, const char* name,
                                              bool recursive, bool highPriority) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool EditableSearchDirContainer::addDirectory(search_category_t, "
                   "const char*, bool, bool)");
    ObjectPtr<FilteredDirList> list = getEditableDirListForCategory(category);
    if (!list) return false;
    // A duplicate or a null name is not a failure of the container: the directory is
    // (or stays) known, so the caller hears true either way.
    list->add(name, recursive, highPriority);
    return true;
}

bool EditableSearchDirContainer::clear(search_category_t category) {
    FF_TRACE_SCOPE(kLogSource, "bool EditableSearchDirContainer::clear(search_category_t)");
    ObjectPtr<FilteredDirList> list = getEditableDirListForCategory(category);
    if (!list) return false;
    list->clear();
    return true;
}

ObjectPtr<ISearchDirIterator> EditableSearchDirContainer::enumerate(
    search_category_t category) const {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<ISearchDirIterator> EditableSearchDirContainer::enumerate("
                   "search_category_t) const");
    ObjectPtr<FilteredDirList> list = getDirListForCategory(category);
    if (!list) return ObjectPtr<ISearchDirIterator>();
    return ObjectPtr<ISearchDirIterator>(new DefaultSearchDirIterator(*list));
}

// ---- SearchDirChain --------------------------------------------------------------------

namespace {
// The chains this thread is merging right now. A chain that contains itself, directly or
// through another chain, would otherwise recurse without end; its directories are being
// merged already, so the inner visit adds nothing.
thread_local std::vector<const SearchDirChain*> t_chainsBeingMerged;

ObjectPtr<ISearchDirIterator> iteratorOver(const DirRecords& records) {
    if (!records) return ObjectPtr<ISearchDirIterator>();
    return ObjectPtr<ISearchDirIterator>(new DefaultSearchDirIterator(records));
}

class MergeVisit {
public:
    explicit MergeVisit(const SearchDirChain* chain) : m_chain(chain) {
        m_reentered = std::find(t_chainsBeingMerged.begin(), t_chainsBeingMerged.end(), chain) !=
                      t_chainsBeingMerged.end();
        if (!m_reentered) t_chainsBeingMerged.push_back(chain);
    }
    ~MergeVisit() {
        if (!m_reentered) t_chainsBeingMerged.pop_back();
    }
    bool reentered() const { return m_reentered; }

private:
    const SearchDirChain* m_chain;
    bool m_reentered;
};
}  // namespace

ObjectPtr<ISearchDirChain> ISearchDirChain::create() {
    return ObjectPtr<ISearchDirChain>(new SearchDirChain());
}

bool SearchDirChain::addItem(const ObjectPtr<ISearchDirContainer>& container) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool SearchDirChain::addItem(const ObjectPtr<ISearchDirContainer>&)");
    if (!container) return false;
    FFLockWrap guard(&m_lock);
    m_items.push_back(container);
    return true;
}

ObjectPtr<ISearchDirIterator> SearchDirChain::enumerate(search_category_t category) const {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<ISearchDirIterator> SearchDirChain::enumerate("
                   "search_category_t) const");
    MergeVisit visit(this);
    if (visit.reentered() || !isValidCategory(category)) return ObjectPtr<ISearchDirIterator>();

    // The members are read under the chain's lock, and merged after it is released: a
    // member may be another chain, and two chains merging each other on two threads must
    // not wait for one another's lock.
    std::vector<ObjectPtr<ISearchDirContainer>> items;
    {
        FFLockWrap guard(&m_lock);
        items = m_items;
    }

    // What every member has now. A search reads its directories several times, and a
    // chain of many directories costs a canonical name and an index lookup per directory
    // to merge, so a merge is made again only when some member's records changed.
    std::vector<ObjectPtr<ISearchDirIterator>> iterators;
    std::vector<DirRecords> inputs;
    bool comparable = true;  // every member's records can be told apart from new ones
    for (const ObjectPtr<ISearchDirContainer>& item : items) {
        iterators.push_back(item->enumerate(category));
        const ObjectPtr<ISearchDirIterator>& it = iterators.back();
        if (!it) {
            inputs.emplace_back();
        } else if (auto* records = dynamic_cast<DefaultSearchDirIterator*>(it.get())) {
            inputs.push_back(records->records());
        } else {
            comparable = false;  // a client's own container
        }
    }
    Merge& last = m_merges[category - 1];
    if (comparable) {
        FFLockWrap guard(&m_lock);
        if (last.made && last.inputs == inputs) return iteratorOver(last.result);
    }

    // The first container's directories come first; a later duplicate keeps the first
    // place and spelling and adds its flags.
    ObjectPtr<FilteredDirList> merged;
    for (const ObjectPtr<ISearchDirIterator>& it : iterators) {
        if (!it) continue;
        const char* name = nullptr;
        bool recursive = false;
        bool highPriority = false;
        for (it->reset(); it->getCurrentRecord(name, recursive, highPriority); it->next()) {
            if (!merged) merged = ObjectPtr<FilteredDirList>(new FilteredDirList());
            merged->add(name, recursive, highPriority);
        }
    }
    // Nothing to merge reads as "no directories for this category", like a container
    // that never had any.
    const DirRecords result = merged ? merged->snapshot() : DirRecords();
    if (comparable) {
        FFLockWrap guard(&m_lock);
        last.made = true;
        last.inputs = std::move(inputs);
        last.result = result;
    }
    return iteratorOver(result);
}

}  // namespace FF_2_13
