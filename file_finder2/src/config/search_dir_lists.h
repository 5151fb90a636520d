// The directory lists behind the search directory containers: one FilteredDirList per
// category (ordered, without duplicates after canonicalisation), the editable container
// that keeps them, the chain that merges containers, and the snapshot iterator.
//
// Lock order, where locks nest at all: chain, then container, then list.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ff_lock.h"
#include "ff_searchdirs.h"

namespace FF_2_13 {

/// One directory of a list, spelled as the caller first gave it.
struct Dir {
    std::string name;
    bool recursive = false;
    bool highPriority = false;
};

/// An immutable copy of a list's entries, shared by the iterators made from it.
using DirRecords = std::shared_ptr<const std::vector<Dir>>;

inline bool isValidCategory(search_category_t category) {
    return category >= scBinaryFiles && category <= scAllFiles;
}

/// The directories of one category, in the order of first insertion.
class FilteredDirList : public RefCountImpl<IFFObject> {
public:
    /// Adds `name` unless its canonical form is there already, in which case the existing
    /// entry gains the flags. False for a null name or a duplicate.
    bool add(const char* name, bool recursive, bool highPriority);
    void clear();
    /// The entries as they are now. Lists change rarely and are read on every search, so
    /// the copy is made once per change and shared by every iterator until the next one.
    DirRecords snapshot() const;

private:
    struct CanonicalLess {
        bool operator()(const std::string& a, const std::string& b) const;
    };

    std::vector<Dir> m_entries;
    std::map<std::string, unsigned, CanonicalLess> m_index;
    mutable DirRecords m_snapshot;
    mutable FFLock m_lock;
};

/// Walks a shared, immutable copy of a list's records.
class DefaultSearchDirIterator : public RefCountImpl<ISearchDirIterator> {
public:
    explicit DefaultSearchDirIterator(const FilteredDirList& list);
    explicit DefaultSearchDirIterator(DirRecords records);

    void reset() override;
    bool next() override;
    bool getCurrentRecord(const char*& name, bool& recursive, bool& highPriority) override;

    /// The records walked, shared with the list (or chain) they came from.
    const DirRecords& records() const { return m_records; }

private:
    DirRecords m_records;
    size_t m_cursor = 0;
};

class EditableSearchDirContainer : public RefCountImpl<IEditableSearchDirContainer> {
public:
    ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const override;
    bool addDirectory(search_category_t category, const char* name, bool recursive,
                      bool highPriority) override;
    bool clear(search_category_t category) override;

    /// The category's list, or empty when the category is invalid or has no list yet.
    ObjectPtr<FilteredDirList> getDirListForCategory(search_category_t category) const;
    /// The category's list, made when missing; empty only for an invalid category.
    ObjectPtr<FilteredDirList> getEditableDirListForCategory(search_category_t category);

private:
    std::map<search_category_t, ObjectPtr<FilteredDirList>> m_lists;
    mutable FFLock m_lock;
};

class SearchDirChain : public RefCountImpl<ISearchDirChain> {
public:
    bool addItem(const ObjectPtr<ISearchDirContainer>& container) override;
    ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const override;

private:
    /// The last merge of one category and the records each member gave for it. Records
    /// are immutable and a list hands out the same ones until it changes, so while every
    /// member gives the records it gave last time the merge would come out the same.
    struct Merge {
        bool made = false;
        std::vector<DirRecords> inputs;  // per member, in chain order; null: none
        DirRecords result;               // null: the members had nothing
    };

    std::vector<ObjectPtr<ISearchDirContainer>> m_items;
    mutable Merge m_merges[scAllFiles];  // by category - 1
    mutable FFLock m_lock;               // guards both
};

/// Reads every record of `it` (from the start) into a vector.
std::vector<Dir> readAllRecords(ISearchDirIterator& it);

}  // namespace FF_2_13
