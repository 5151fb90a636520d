// File: ff_manipulator.h
//
// The search manipulator: the library's remembering behaviour without writing a callback.
// One manipulator is bound to one resolution context. Per client id it puts the library's
// default search-started, files-found and no-files-found callbacks in place in that
// context, lets the client say how each combines the client's own callback (optional)
// with a search history, and switches the client's search directories between live and
// captured (frozen). A client gets one from createSearchManipulatorByContext():
//
//   ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
//   ObjectPtr<IResolutionContext> project = mgr->createFileSystemContext("/home/me/proj", false);
//   ObjectPtr<ISearchManipulator> m = createSearchManipulatorByContext(project, nullptr, nullptr);
//   loadSearchHistory(m->getHistory(), "/home/me/.app/history.json");
//   m->setFilesFoundBehavior("my-profiler", ffbRememberChoice);
//   m->setSearchStartedBehavior("my-profiler", ssbSuggestRememberedAndSearch);
//   mgr->registerSearchDirs(*project, m->getUserDefinedSearchDirs(), "my-profiler");
//   ObjectPtr<IFileSearch> search = mgr->createFileSearch(*project, "my-profiler", nullptr);
//   search->findBinFile("/usr/lib/libm.so.6", nullptr, nullptr, 0);  // found and remembered
//   search->findBinFile("/usr/lib/libm.so.6", nullptr, nullptr, 0);  // suggested at once
//   saveSearchHistory(m->getHistory(), "/home/me/.app/history.json");
#pragma once

#include "ff_callbacks.h"
#include "ff_context.h"
#include "ff_history.h"
#include "ff_object.h"
#include "ff_searchdirs.h"

namespace FF_2_13 {

// The behaviour values. Only the numbers carry meaning: 0, 1, and every other value of
// the type. Each type is a 32-bit int, so any value may be passed and is kept as given.

/// How the default search-started callback uses the history.
enum search_started_behavior_t : int {
    /// Only the own callback is asked (a search without one goes on); no history.
    ssbAskOwnCallbackOnly = 0,
    /// When the own callback (or its absence) lets the search go on, the file remembered
    /// for the request is added to the suggestions and the search goes on: suggestions
    /// are validated before any search step, so a remembered file that is still valid is
    /// found without running one.
    ssbSuggestRememberedAndSearch = 1,
    /// As 1, but once a remembered file was added the search is told not to go on: only
    /// the suggestions are validated, and they reach the no-files-found callback (which
    /// decides the result) instead of the files-found callback. Any value other than 0
    /// and 1 behaves so.
    ssbSuggestRememberedInsteadOfSearching = 2
};

/// How the default files-found callback uses the history.
enum files_found_behavior_t : int {
    /// The own callback's choice is returned, nothing is remembered. Without an own
    /// callback that choice is empty, and so is the search's result.
    ffbReturnOwnChoice = 0,
    /// The own callback's choice, else the next valid file of the search, is returned and
    /// remembered for the request. Any value other than 0 behaves so.
    ffbRememberChoice = 1
};

/// How the default no-files-found callback uses the history.
enum no_files_found_behavior_t : int {
    /// The own callback's result (empty without an own callback) is returned; nothing is
    /// remembered.
    nfbReturnOwnResult = 0,
    /// Does what nfbReturnOwnResult does: remembering starts at 2.
    nfbAlsoReturnOwnResult = 1,
    /// The own callback's result is returned and remembered; with no result the request
    /// is remembered as failed (an empty name, which a later search-started callback with
    /// behaviour 1 or 2 suggests as it is: it validates as missing). Any value other than
    /// 0 and 1 behaves so.
    nfbRememberResultOrFailure = 2
};

/// What setSearchDirsBehavior does with the client's search directories in the context.
enum search_dirs_behavior_t : int {
    /// Releases the client's captured directories: searches see the live ones again.
    sdbReleaseCaptured = 0,
    /// Captures the client's directories as they are now (IResolutionContextMgr::
    /// captureSearchDirs): later registrations do not reach the client's searches.
    sdbCaptureNow = 1,
    /// Only stored; neither captures nor releases. Any value other than 0 and 1 behaves so.
    sdbStoreOnly = 2
};

/// The client's front for one resolution context. Made by createSearchManipulatorByContext
/// and owned by whoever holds it.
///
/// Per client id and kind (search started, files found, no files found) the manipulator
/// keeps one default callback: the first setter call for a client id and kind creates it
/// and registers it with the resolution context manager for the context and that client
/// id, replacing a callback of that kind registered there before (also one of another
/// manipulator). A fresh default callback has behaviour 0 and no own callback. Later
/// setter calls change that same object. Mind that a default files-found callback with
/// behaviour 0 and no own callback chooses nothing, so searches that find files return
/// empty: give it behaviour 1 or an own callback.
///
/// Lifetime: the context's metadata holds callbacks weakly, the manipulator holds its
/// default callbacks. Destroying the manipulator destroys them, and the context then
/// holds no callback of those kinds for those client ids (the library's searches return
/// the first valid file found, as without callbacks); nothing is unregistered explicitly,
/// so a callback registered later by someone else stays. Keep the manipulator as long as
/// its behaviour is wanted.
///
/// Threads: the manipulator takes no lock; set it up from one thread (or guard it), then
/// search from any number of threads. Searches call the default callbacks concurrently;
/// the history guards itself, so manipulators on several threads may share one.
///
/// Client ids: "" is the default client id of the context (see IResolutionContextMgr: its
/// no-files-found callback also serves other clients). A null client id throws
/// std::logic_error from the setters that build a std::string from it; only
/// setSearchDirsBehavior answers false instead.
class FF_EXPORT ISearchManipulator : public IFFObject {
public:
    /// The container of user-defined search directories (never empty). The manipulator
    /// does not register it: the client registers it on a context under a key of its
    /// choice (IResolutionContextMgr::registerSearchDirs).
    virtual ObjectPtr<IEditableSearchDirContainer> getUserDefinedSearchDirs() = 0;
    /// The history the default callbacks read and write (never empty).
    virtual ObjectPtr<ISearchHistory> getHistory() = 0;
    virtual void setSearchStartedBehavior(const char* clientId,
                                          search_started_behavior_t behavior) = 0;
    /// `callback` (may be null: none) is borrowed, not counted: keep it alive while
    /// searches may call it (or set another first). It is called from inside the default
    /// callback, so it must not destroy this manipulator. The same holds for the two
    /// setters below.
    virtual void setOwnSearchStartedCallback(const char* clientId,
                                             ISearchStartedCallback* callback) = 0;
    virtual void setFilesFoundBehavior(const char* clientId, files_found_behavior_t behavior) = 0;
    virtual void setOwnFilesFoundCallback(const char* clientId, IFilesFoundCallback* callback) = 0;
    virtual void setNoFilesFoundBehavior(const char* clientId,
                                         no_files_found_behavior_t behavior) = 0;
    virtual void setOwnNoFilesFoundCallback(const char* clientId,
                                            INoFilesFoundCallback* callback) = 0;
    /// Stores `behavior` for the client and captures (1) or releases (0) the client's
    /// search directories in the context; other values are only stored. False, and
    /// nothing changed, for a null client id; true otherwise.
    virtual bool setSearchDirsBehavior(const char* clientId, search_dirs_behavior_t behavior) = 0;
};

/// A manipulator for `context`. An empty `dirs` or `history` is replaced by a new empty
/// one; passing the same history (or container) to several manipulators shares it. Empty
/// for an empty `context`.
FF_EXPORT ObjectPtr<ISearchManipulator> createSearchManipulatorByContext(
    ObjectPtr<IResolutionContext> context, ObjectPtr<IEditableSearchDirContainer> dirs,
    ObjectPtr<ISearchHistory> history);

}  // namespace FF_2_13
