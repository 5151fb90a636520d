// File: ff_context.h
//
// Resolution contexts: the scopes a client attaches its file-finding configuration to
// (the user account, a directory such as a project, one collected result), chained by
// explicit inheritance, and the process-wide manager that keeps their metadata and turns
// a context and its ancestors into a search.
//
//   ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
//   ObjectPtr<IResolutionContext> user = mgr->createUserWideContext();
//   ObjectPtr<IResolutionContext> result = mgr->createResultDirectoryContext("/data/r001");
//   mgr->addInheritance(*result, *user);
//   ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
//   dirs->addDirectory(scSymbolFiles, "/opt/symbols", true, true);
//   mgr->registerSearchDirs(*user, dirs, "my-profiler");
//   ObjectPtr<IFileSearch> search = mgr->createFileSearch(*result, "my-profiler", nullptr);
//   ObjectPtr<IValidFile> found = search->findBinFile("/usr/lib/libm.so.6", nullptr, nullptr, 0);
//
// Every value registered on a context is kept per client id (a string naming one client
// of the library; "" is the default client id) and replaced by a later registration
// under the same key. All operations are thread-safe.
//
// Operations that take a client id or key as `const char*` and keep it build a
// std::string from it: a null pointer there throws std::logic_error (documented on each).
#pragma once

#include <string>

#include "ff_callbacks.h"
#include "ff_file_retriever.h"
#include "ff_object.h"
#include "ff_search.h"
#include "ff_search_steps.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"

namespace courlet2 {
class IMessenger;
}

namespace FF_2_13 {

/// A context: its unique id is its whole identity (two objects with equal ids are one
/// context to the manager). Made by the manager's create*Context operations.
class FF_EXPORT IResolutionContext : public IFFObject {
public:
    virtual const char* getUniqueID() const = 0;
};

/// Walks the keys of a context's search directories. Holds the metadata's lock shared
/// for its whole life: registering on the same context from the thread that holds a key
/// iterator never returns, and other threads' registrations wait until it is gone.
class FF_EXPORT ISearchDirKeyIterator : public IFFObject {
public:
    /// Moves on; false at the end.
    virtual bool next() = 0;
    /// The current key and container; false (outputs untouched) at the end.
    virtual bool getCurrentRecord(const char*& key, ObjectPtr<ISearchDirContainer>& dirs) = 0;
};

/// The registry of one context: everything registered for it, by key or client id. A
/// passive store: it never searches and never looks at other contexts. Made by the
/// manager. Absent keys give empty values; storing an empty value keeps the key.
class FF_EXPORT IMetadata : public IFFObject {
public:
    /// Throws std::logic_error for a null key.
    virtual ObjectPtr<ISearchDirContainer> getSearchDirs(const char* key) = 0;
    /// Throws std::logic_error for a null key.
    virtual void setSearchDirs(const ObjectPtr<ISearchDirContainer>& dirs, const char* key) = 0;
    virtual ObjectPtr<ISearchDirKeyIterator> searchDirsKeyIterator() = 0;
    /// Each replaces one callback of the client's set and keeps the other three. Two
    /// registrations for one client id at the same moment may lose one of the two.
    virtual void registerSearchStartedCallback(const std::string& clientId,
                                               ISearchStartedCallback* callback) = 0;
    virtual void registerFilesFoundCallback(const std::string& clientId,
                                            IFilesFoundCallback* callback) = 0;
    virtual void registerNoFilesFoundCallback(const std::string& clientId,
                                              INoFilesFoundCallback* callback) = 0;
    virtual void registerConfidenceLevelPolicyCallback(
        const std::string& clientId, IConfidenceLevelPolicyCallback* callback) = 0;
    /// A copy of the client's four holders; all empty for an unknown client id.
    virtual file_finder_callbacks_t getCallbacks(const std::string& clientId) = 0;
    virtual void setArchiveDir(const char* dir) = 0;
    virtual std::string getArchiveDir() = 0;
    /// Not locked: set the cache directory before searches run.
    virtual void setCacheDir(const char* dir) = 0;
    virtual std::string getCacheDir() = 0;
    virtual void setCapturedSearchDirs(const std::string& key,
                                       ObjectPtr<ICapturedSearchDirs> dirs) = 0;
    virtual ObjectPtr<ICapturedSearchDirs> getCapturedSearchDirs(const std::string& key) = 0;
    /// The retriever is borrowed: the client keeps it alive as long as the context.
    virtual void registerFileRetriever(const std::string& clientId, IFileRetriever* retriever) = 0;
    virtual IFileRetriever* getFileRetriever(const std::string& clientId) = 0;
    /// Throws std::logic_error for a null client id (as do the three pairs below).
    virtual void registerSearchStepsConfigurator(const char* clientId,
                                                 ObjectPtr<ISearchStepsConfigurator> steps) = 0;
    virtual ObjectPtr<ISearchStepsConfigurator> getSearchStepsConfigurator(
        const char* clientId) = 0;
    /// The messenger is borrowed like the retriever.
    virtual void registerMessenger(const char* clientId, courlet2::IMessenger* messenger) = 0;
    virtual courlet2::IMessenger* getMessenger(const char* clientId) = 0;
    virtual void registerEnvironmentInfo(const char* clientId,
                                         ObjectPtr<IEnvironmentInfo> info) = 0;
    virtual ObjectPtr<IEnvironmentInfo> getEnvironmentInfo(const char* clientId) = 0;
};

/// The process's resolution context manager (a singleton: create() returns it).
class FF_EXPORT IResolutionContextMgr : public IFFObject {
public:
    /// Makes `parent` the parent of `child` (a later call replaces it). Always true.
    /// Nothing checks for cycles: a context that becomes its own ancestor makes every
    /// later walk of its chain endless, so link contexts only from narrower to wider.
    virtual bool addInheritance(IResolutionContext& child, IResolutionContext& parent) = 0;
    /// Registers a directory container under `key` (any text; searches use the
    /// containers of every key). Throws std::logic_error for a null key.
    virtual void registerSearchDirs(IResolutionContext& context,
                                    const ObjectPtr<ISearchDirContainer>& dirs,
                                    const char* key) = 0;
    /// Archive directory of the context: searched first, with the layout of
    /// utils::archiveFile under "binaries", "symbols", "sources" and "all". An empty
    /// name removes it; a null one throws std::logic_error (as for registerCacheDir).
    virtual void registerArchiveDir(IResolutionContext& context, const char* dir) = 0;
    /// Cache directory: where fetched remote files are kept.
    virtual void registerCacheDir(IResolutionContext& context, const char* dir) = 0;
    /// The four callback registrations keep the callback weakly (ff_events.h). They
    /// throw std::logic_error for a null client id.
    virtual void registerSearchStartedCallback(IResolutionContext& context, const char* clientId,
                                               ISearchStartedCallback* callback) = 0;
    virtual void registerFilesFoundCallback(IResolutionContext& context, const char* clientId,
                                            IFilesFoundCallback* callback) = 0;
    virtual void registerNoFilesFoundCallback(IResolutionContext& context, const char* clientId,
                                              INoFilesFoundCallback* callback) = 0;
    virtual void registerConfidenceLevelPolicyCallback(
        IResolutionContext& context, const char* clientId,
        IConfidenceLevelPolicyCallback* callback) = 0;
    /// Freezes the client's search directories as they are now, at `context` and for
    /// its descendants, until releaseSearchDirs. Throws std::logic_error for a null id.
    virtual void captureSearchDirs(IResolutionContext& context, const char* clientId) = 0;
    /// Throws std::logic_error for a null client id.
    virtual void releaseSearchDirs(IResolutionContext& context, const char* clientId) = 0;
    /// The environment a search of `clientId` at `context` reads: each value from the
    /// nearest context of the chain that has one, the search directories of every level
    /// up to a capture, the archive directories of every level. `clientId` may be null
    /// (then nothing registered per client applies); a non-empty `envInfo` wins.
    virtual ObjectPtr<ISearchEnv> createSearchEnv(IResolutionContext& context, const char* clientId,
                                                  const ObjectPtr<IEnvironmentInfo>& envInfo) = 0;
    /// IFileSearch::create(createSearchEnv(...)).
    virtual ObjectPtr<IFileSearch> createFileSearch(IResolutionContext& context,
                                                    const char* clientId,
                                                    const ObjectPtr<IEnvironmentInfo>& envInfo) = 0;
    /// The file-system context of `dir`, preset (once) with the archive directory
    /// dir/archive and the result's own directories dir/binaries, dir/symbols,
    /// dir/sources and dir/all. Empty for a null or empty `dir`.
    virtual ObjectPtr<IResolutionContext> createResultDirectoryContext(const char* dir) = 0;
    /// The context of the user running the process (its login name).
    virtual ObjectPtr<IResolutionContext> createUserWideContext() = 0;
    /// The context of a directory, identified by its canonical name. Empty for a null
    /// or empty path.
    virtual ObjectPtr<IResolutionContext> createFileSystemContext(const char* path, bool flag) = 0;
    /// Copies `file` into the archive directory of the nearest context that has one;
    /// true when the file stands in the archive afterwards (copied now or before).
    virtual bool archiveFile(IResolutionContext& context, const char* file,
                             search_category_t category) = 0;
    /// Throws std::logic_error for a null client id (as do the three below).
    virtual void registerFileRetriever(IResolutionContext& context, const char* clientId,
                                       IFileRetriever* retriever) = 0;
    virtual void registerSearchStepsConfigurator(IResolutionContext& context, const char* clientId,
                                                 ObjectPtr<ISearchStepsConfigurator> steps) = 0;
    virtual void registerMessenger(IResolutionContext& context, const char* clientId,
                                   courlet2::IMessenger* messenger) = 0;
    virtual void registerEnvironmentInfo(IResolutionContext& context, const char* clientId,
                                         ObjectPtr<IEnvironmentInfo> info) = 0;

    static ObjectPtr<IResolutionContextMgr> create();
};

}  // namespace FF_2_13
