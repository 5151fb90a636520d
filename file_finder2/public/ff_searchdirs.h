// File: ff_searchdirs.h
//
// Search directory containers: per file category, an ordered list of directories without
// duplicates, each with two flags (search recursively; search with high priority).
//
// - IEditableSearchDirContainer::create(): a container the client fills.
// - ISearchDirChain::create(): merges several containers into one list per category.
// - ICapturedSearchDirs::create(env): a frozen copy of an environment's search directories.
// - IPersistentSearchDirContainer (ff_persistent_dirs.h): a container kept in a file.
//
// Every consumer reads a list through an ISearchDirIterator:
//
//   ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
//   dirs->addDirectory(scSymbolFiles, "/opt/app/debug", true, false);
//   dirs->addDirectory(scSymbolFiles, "/opt/app/debug/", false, true);  // same directory:
//                                                                        // flags OR-ed
//   ObjectPtr<ISearchDirIterator> it = dirs->enumerate(scSymbolFiles);
//   const char* name; bool recursive, high;
//   for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
//       use(name, recursive, high);   // "/opt/app/debug", true, true
//
// Directories registered for scAllFiles serve every category; the containers keep each
// category on its own and leave that mixing to the search.
#pragma once

#include "ff_object.h"
#include "ff_types.h"

namespace FF_2_13 {

class ISearchEnv;

/// The records of one category's list, as they were when the iterator was made: later
/// changes of the container do not show in it. Not thread-safe: one iterator must not be
/// used by two threads at once.
///
/// Reading loop: reset(); while getCurrentRecord(...) gives true, use the record, next().
class FF_EXPORT ISearchDirIterator : public IFFObject {
public:
    /// Back to the first record.
    virtual void reset() = 0;
    /// Moves one record on; true when it now stands on a record, false when it moved onto
    /// the end or already was there.
    virtual bool next() = 0;
    /// The record under the cursor; false at the end, with the outputs untouched. `name`
    /// stays valid as long as the iterator lives.
    virtual bool getCurrentRecord(const char*& name, bool& recursive, bool& highPriority) = 0;
};

/// Read side of every directory container. Thread-safe.
class FF_EXPORT ISearchDirContainer : public IFFObject {
public:
    /// A new iterator over the category's directories, or empty when the category is not
    /// one of 1 to 4 or no directory was ever added (or cleared) for it.
    virtual ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const = 0;
};

/// A container the client fills. Thread-safe; made empty by create().
class FF_EXPORT IEditableSearchDirContainer : public ISearchDirContainer {
public:
    /// Appends `name` to the category's list unless a directory with the same canonical
    /// name (utils::getCanonicalName) is there already; then that entry keeps its place and
    /// first spelling and gains the flags passed (a flag is never cleared here).
    /// False only for a category outside 1 to 4: a duplicate or a null name (which is
    /// ignored) still gives true. An empty name is stored like any other.
    virtual bool addDirectory(search_category_t category, const char* name, bool recursive,
                              bool highPriority) = 0;
    /// Empties the category's list (making an empty one when there was none, so that
    /// enumerate() then gives an iterator without records). False for a category outside
    /// 1 to 4.
    virtual bool clear(search_category_t category) = 0;

    static ObjectPtr<IEditableSearchDirContainer> create();
};

/// Merges containers, in the order added, into one list per category: the directories of
/// the first container first, then those of the next that are not already there; a
/// directory that recurs keeps its first place and spelling and gains the later flags.
/// Each enumerate() merges anew, so it sees the containers as they are then. Thread-safe.
/// A chain reached again while it is being merged (a chain inside itself) adds nothing
/// the second time; such a cycle of references is never freed, though, so a chain should
/// not hold itself.
class FF_EXPORT ISearchDirChain : public ISearchDirContainer {
public:
    /// Appends `container` to the chain; false for an empty pointer. The same container
    /// may be added twice.
    virtual bool addItem(const ObjectPtr<ISearchDirContainer>& container) = 0;

    static ObjectPtr<ISearchDirChain> create();
};

/// A frozen copy of an environment's search directories (ISearchEnv::searchDirs of each
/// category), taken at creation; later changes of the environment's containers do not
/// reach it.
///
/// enumerate() hands out one shared iterator per category and thread: a second call on
/// the same thread returns the same object, standing where the first holder left it (so
/// readers call reset() first), while each other thread gets an iterator of its own, so
/// that searches on two threads never move each other's cursor. An iterator that no
/// holder keeps may be forgotten once many threads have asked; the next call of that
/// thread then gets a fresh one. Thread-safe.
class FF_EXPORT ICapturedSearchDirs : public ISearchDirContainer {
public:
    /// An empty environment gives a snapshot whose every category is empty (null
    /// iterators).
    static ObjectPtr<ICapturedSearchDirs> create(ObjectPtr<ISearchEnv> env);
};

}  // namespace FF_2_13
