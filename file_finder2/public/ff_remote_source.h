// File: ff_remote_source.h
//
// Remote sources: servers a search asks by build-id for what no local step found. A
// client installs one in its search options (ISearchOptions::setRemoteSource); without
// one, a search never leaves this machine. The source is asked last, after the system
// directories, and what it fetches is a candidate like any other: the client's validators
// judge it, so an identity validator (ff_identity.h) refuses a server's wrong answer.
// A result found this way reports the step ssRemoteSource.
//
// The library's own source asks debuginfod servers through libdebuginfod, which keeps
// what it fetched in its standard cache ($XDG_CACHE_HOME/debuginfod_client, or
// DEBUGINFOD_CACHE_PATH):
//
//   ObjectPtr<IDebuginfodSource> debuginfod = IDebuginfodSource::create();
//   debuginfod->setUrls("https://debuginfod.example.org");   // default: DEBUGINFOD_URLS
//   debuginfod->setTimeout(30);                              // seconds per transfer
//   ObjectPtr<ISearchOptions> options = ISearchOptions::create();
//   options->setRemoteSource(debuginfod);
//   ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
//
// Another remote source plugs in the same way: implement IRemoteSource::fetch.
#pragma once

#include "ff_export.h"
#include "ff_object.h"

namespace FF_2_13 {

/// What a remote source is asked for.
enum remote_file_kind_t : int {
    /// The separate debug file of the build.
    rfDebugFile = 0,
    /// The executable or shared object of the build.
    rfExecutable = 1,
    /// A source file of the build, by the path its debug information records.
    rfSource = 2
};

/// The answer of one fetch. Immutable.
class FF_EXPORT IRemoteFile : public IFFObject {
public:
    /// The local copy of the fetched file; "" on a miss.
    virtual const char* path() const = 0;
    /// Where it came from (a server's URL), for a user; "" when not known, e.g. for a
    /// file the source already had in its cache.
    virtual const char* origin() const = 0;
    /// Why nothing was fetched, for a user; "" when path() names a file.
    virtual const char* reason() const = 0;

    /// A hit on `path`, from `origin` (may be null).
    static ObjectPtr<IRemoteFile> found(const char* path, const char* origin);
    /// A miss, with its reason.
    static ObjectPtr<IRemoteFile> missed(const char* reason);
};

/// A source of files by build-id. Called from the searching threads, possibly several at
/// once: an implementation is thread-safe. It never throws: every failure (no such file on
/// any server, a server down, slow or answering an error) is a miss with its reason.
class FF_EXPORT IRemoteSource : public IFFObject {
public:
    /// Fetches the `kind` file of the build `buildId` (lower-case hex digits);
    /// `sourcePath` is the recorded path of a source file (rfSource) and null otherwise.
    /// Never returns an empty pointer.
    virtual ObjectPtr<IRemoteFile> fetch(remote_file_kind_t kind, const char* buildId,
                                         const char* sourcePath) = 0;
};

/// Told how a transfer goes. Called on the fetching thread, several times a second at most
/// while a transfer runs; answer false to cancel that transfer (it becomes a miss).
class FF_EXPORT IRemoteProgressCallback {
public:
    /// `total` is 0 while the size is not known. `url` is the server being read; "" when
    /// not known yet.
    virtual bool onProgress(const char* url, long long received, long long total) = 0;
    virtual ~IRemoteProgressCallback() {}
};

/// The debuginfod client. Its settings are read when a fetch starts: set them before the
/// source is shared between threads (cancel() excepted, which any thread may call at any
/// time).
///
/// The client library takes its servers and timeout from the process environment only: a
/// source given its own URLs or timeout sets DEBUGINFOD_URLS or DEBUGINFOD_TIMEOUT to them
/// when it fetches (under a lock every source shares) and leaves them so. A program whose
/// other threads read those variables should leave both settings at their defaults and
/// set the environment itself before it starts threads.
class FF_EXPORT IDebuginfodSource : public IRemoteSource {
public:
    /// The servers, space-separated URLs, asked in turn. Null: DEBUGINFOD_URLS as the
    /// environment has it when a fetch starts (the default). Copied.
    virtual void setUrls(const char* urls) = 0;
    /// Never null; "" when the environment's are used.
    virtual const char* urls() const = 0;
    /// Seconds a transfer may take to connect and to start delivering. 0: DEBUGINFOD_TIMEOUT
    /// as the environment has it, or 90 seconds (the default).
    virtual void setTimeout(unsigned int seconds) = 0;
    virtual unsigned int timeout() const = 0;
    /// Told how transfers go; null (the default) for silence. Not owned: the client keeps
    /// it alive while the source may fetch.
    virtual void setProgressCallback(IRemoteProgressCallback* callback) = 0;
    /// Ends every transfer under way and every later one, as misses; resume() undoes it.
    /// A transfer ended so (or by the progress callback, or stalled) is not remembered as
    /// a miss in the cache: a later fetch asks the servers again.
    virtual void cancel() = 0;
    virtual void resume() = 0;

    /// A new source. Always made; when the library was built without libdebuginfod, or
    /// cannot load it, every fetch is a miss that says so (see available()).
    static ObjectPtr<IDebuginfodSource> create();
    /// Whether the library was built with libdebuginfod and can load it: it is loaded
    /// (libdebuginfod.so.1, with its HTTP client) when first needed, not at start-up.
    static bool available();
};

}  // namespace FF_2_13
