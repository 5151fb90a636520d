// The debuginfod remote source, over libdebuginfod.
//
// libdebuginfod reads its servers and its timeout from the environment (DEBUGINFOD_URLS,
// DEBUGINFOD_TIMEOUT) when a query starts, and has no other way to be told. A source with
// settings of its own therefore writes them into the environment; queries that want the
// environment as it stands run together under a shared lock, and a change of the
// environment waits for them to end. A client handle belongs to one thread: each fetch
// makes its own.
#include <atomic>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <string>

#include "base/log.h"
#include "elf/elf_identity_reader.h"
#include "ff_remote_source.h"

#ifdef FF_HAVE_DEBUGINFOD
#include <unistd.h>

#include <ctime>

#include "remote/debuginfod_library.h"
#include "remote/debuginfod_miss_markers.h"
#endif

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kSearch;
constexpr unsigned int kDefaultTimeout = 90;  // seconds, libdebuginfod's own default

struct Settings {
    bool ownUrls = false;
    std::string urls;
    unsigned int timeout = 0;
};

#ifdef FF_HAVE_DEBUGINFOD

// The client library races with itself when two of its clients fetch one file into one
// cache at once: now and then one of them answers "not found" and leaves a miss in the
// cache. Fetches of one file therefore take turns in this process; the later one finds
// the earlier one's copy in the cache. Fetches of different files still run together.
class FileTurn {
public:
    explicit FileTurn(std::string key) : m_key(std::move(key)) {
        Fetching& fetching = underWay();
        std::unique_lock<std::mutex> lock(fetching.mutex);
        fetching.ended.wait(lock, [&] { return fetching.keys.count(m_key) == 0; });
        fetching.keys.insert(m_key);
    }
    ~FileTurn() {
        Fetching& fetching = underWay();
        {
            std::lock_guard<std::mutex> lock(fetching.mutex);
            fetching.keys.erase(m_key);
        }
        fetching.ended.notify_all();
    }
    FileTurn(const FileTurn&) = delete;
    FileTurn& operator=(const FileTurn&) = delete;

private:
    struct Fetching {
        std::mutex mutex;
        std::condition_variable ended;
        std::set<std::string> keys;
    };
    static Fetching& underWay() {
        static Fetching fetching;
        return fetching;
    }
    const std::string m_key;
};

std::shared_mutex& environmentLock() {
    static std::shared_mutex lock;
    return lock;
}

unsigned int timeoutOf(const Settings& settings) {
    if (settings.timeout > 0) return settings.timeout;
    const char* text = std::getenv("DEBUGINFOD_TIMEOUT");
    const long seconds = text ? std::strtol(text, nullptr, 10) : 0;
    return seconds > 0 ? static_cast<unsigned int>(seconds) : kDefaultTimeout;
}

// Whether the environment holds what a query of `settings` needs.
bool environmentHolds(const Settings& settings, const std::string& timeout) {
    const char* urls = std::getenv("DEBUGINFOD_URLS");
    const char* seconds = std::getenv("DEBUGINFOD_TIMEOUT");
    if (settings.ownUrls && (!urls || settings.urls != urls)) return false;
    // Without a timeout of its own the source leaves the environment's (or the client
    // library's default, which is ours too) as it is.
    return settings.timeout == 0 || (seconds && timeout == seconds);
}

void setEnvironment(const Settings& settings, const std::string& timeout) {
    if (settings.ownUrls) ::setenv("DEBUGINFOD_URLS", settings.urls.c_str(), 1);
    if (settings.timeout > 0) ::setenv("DEBUGINFOD_TIMEOUT", timeout.c_str(), 1);
}

// One transfer's state, seen by libdebuginfod's progress function.
struct Transfer {
    Transfer(IRemoteProgressCallback* callback, const std::atomic<bool>& cancelled,
             std::chrono::steady_clock::duration stallLimit)
        : callback(callback), cancelled(cancelled), stallLimit(stallLimit) {}

    IRemoteProgressCallback* const callback;
    const std::atomic<bool>& cancelled;
    const std::chrono::steady_clock::duration stallLimit;
    std::chrono::steady_clock::time_point lastMove = std::chrono::steady_clock::now();
    long lastReceived = -1;
    long lastTotal = 0;  // the size of the file being received; 0 until one is
    std::string url;
    std::string abortReason;
};

int onProgress(debuginfod_client* client, long received, long total) {
    std::string unused;
    const DebuginfodLibrary& library = *debuginfodLibrary(unused);  // loaded: it calls us
    auto* transfer = static_cast<Transfer*>(library.getUserData(client));
    if (const char* url = library.getUrl(client)) transfer->url = url;
    transfer->lastTotal = total;
    if (transfer->cancelled) {
        transfer->abortReason = "cancelled";
        return 1;
    }
    // A server that accepts and then says nothing must not hold the search for ever.
    const auto now = std::chrono::steady_clock::now();
    if (received != transfer->lastReceived) {
        transfer->lastReceived = received;
        transfer->lastMove = now;
    } else if (now - transfer->lastMove > transfer->stallLimit) {
        transfer->abortReason = "timed out";
        return 1;
    }
    if (transfer->callback &&
        !transfer->callback->onProgress(transfer->url.c_str(), received, total)) {
        transfer->abortReason = "cancelled";
        return 1;
    }
    return 0;
}

std::string describeError(int error, const Transfer& transfer) {
    if (!transfer.abortReason.empty()) return transfer.abortReason;
    switch (error) {
        case ENOENT:
            return "not found on any server";
        case ENOSYS:
            return "no debuginfod server is configured";
        case ETIME:
        case ETIMEDOUT:
            return "timed out";
        default:
            return std::strerror(error);
    }
}

// A server's answer that is not the build it was asked for is of no use to anyone: it
// leaves the cache, so that no later fetch hands it out again.
std::string checkElfAnswer(const char* path, const std::string& buildId) {
    const ElfIdentity identity = readElfIdentity(path);
    std::string problem;
    if (identity.status != irsElf)
        problem = "the server's answer is not an ELF file (" + identity.error + ")";
    else if (identity.buildId != buildId)
        problem = "the server's answer has the build-id " +
                  (identity.buildId.empty() ? std::string("none") : identity.buildId);
    if (!problem.empty()) ::unlink(path);
    return problem;
}

// Whether a failed query failed in this process rather than in the servers' answer: the
// client library now and then fails a query on its own (a bad descriptor, seen with
// several threads fetching), and such a failure is worth one more try.
bool failedLocally(int error, const Transfer& transfer) {
    if (!transfer.abortReason.empty()) return false;  // timed out or cancelled: final
    switch (error) {
        case ENOENT:
        case ENOSYS:
        case ETIME:
        case ETIMEDOUT:
        case ECONNREFUSED:
        case EHOSTUNREACH:
        case ENETUNREACH:
            return false;
        default:
            return true;
    }
}

int askServers(const DebuginfodLibrary& library, remote_file_kind_t kind,
               const std::string& buildId, const char* sourcePath, Transfer& transfer, char** path);

ObjectPtr<IRemoteFile> query(const DebuginfodLibrary& library, remote_file_kind_t kind,
                             const std::string& buildId, const char* sourcePath,
                             Transfer& transfer) {
    char* path = nullptr;
    const std::int64_t started = std::time(nullptr) - 1;  // file times are coarse
    int fd = askServers(library, kind, buildId, sourcePath, transfer, &path);
    if (fd < 0 && failedLocally(-fd, transfer)) {
        FF_LOG_INFO(kLogSource, "debuginfod: " << buildId << " asked again after "
                                               << describeError(-fd, transfer));
        std::free(path);
        path = nullptr;
        fd = askServers(library, kind, buildId, sourcePath, transfer, &path);
    }
    // The client library takes a transfer that ends early for "not found", although a
    // server had begun to send a file of known size.
    if (fd == -ENOENT && transfer.abortReason.empty() && transfer.lastTotal > 0 &&
        transfer.lastReceived < transfer.lastTotal)
        transfer.abortReason = "the transfer was cut off before its end";
    if (fd < 0) {
        std::free(path);
        // Stopped, not answered: the next fetch must ask the servers again.
        if (!transfer.abortReason.empty()) forgetMissMarkers(kind, buildId, started);
        return IRemoteFile::missed(describeError(-fd, transfer).c_str());
    }
    ::close(fd);
    const std::string local = path ? path : "";
    std::free(path);
    if (kind != rfSource) {
        const std::string problem = checkElfAnswer(local.c_str(), buildId);
        if (!problem.empty()) return IRemoteFile::missed(problem.c_str());
    }
    return IRemoteFile::found(local.c_str(), transfer.url.c_str());
}

// One query through a client of its own: a descriptor of the cached file (`path` its
// name), or minus the error.
int askServers(const DebuginfodLibrary& library, remote_file_kind_t kind,
               const std::string& buildId, const char* sourcePath, Transfer& transfer,
               char** path) {
    debuginfod_client* client = library.begin();
    if (!client) return -ENOMEM;
    library.setUserData(client, &transfer);
    library.setProgressFunction(client, onProgress);
    const auto* id = reinterpret_cast<const unsigned char*>(buildId.c_str());
    int fd = -ENOENT;
    switch (kind) {
        case rfDebugFile:
            fd = library.findDebugInfo(client, id, 0, path);
            break;
        case rfExecutable:
            fd = library.findExecutable(client, id, 0, path);
            break;
        case rfSource:
            fd = library.findSource(client, id, 0, sourcePath, path);
            break;
    }
    if (const char* url = library.getUrl(client)) transfer.url = url;
    library.end(client);
    return fd;
}

#endif  // FF_HAVE_DEBUGINFOD

bool isBuildId(const char* text) {
    if (!text || std::strlen(text) < 4 || std::strlen(text) % 2 != 0) return false;
    for (const char* c = text; *c; ++c)
        if (!std::isxdigit(static_cast<unsigned char>(*c))) return false;
    return true;
}

class DebuginfodSource : public RefCountImpl<IDebuginfodSource> {
public:
    void setUrls(const char* urls) override {
        m_settings.ownUrls = urls != nullptr;
        m_settings.urls = urls ? urls : "";
    }
    const char* urls() const override { return m_settings.urls.c_str(); }
    void setTimeout(unsigned int seconds) override { m_settings.timeout = seconds; }
    unsigned int timeout() const override { return m_settings.timeout; }
    void setProgressCallback(IRemoteProgressCallback* callback) override { m_callback = callback; }
    void cancel() override { m_cancelled = true; }
    void resume() override { m_cancelled = false; }

    ObjectPtr<IRemoteFile> fetch(remote_file_kind_t kind, const char* buildId,
                                 const char* sourcePath) override {
        if (!isBuildId(buildId)) return IRemoteFile::missed("not a build-id");
        if (kind == rfSource && (!sourcePath || sourcePath[0] != '/'))
            return IRemoteFile::missed("a source file is asked for by its absolute path");
        if (m_cancelled) return IRemoteFile::missed("cancelled");
        ObjectPtr<IRemoteFile> file = fetchNow(kind, lowerCase(buildId), sourcePath);
        if (*file->path())
            FF_LOG_INFO(kLogSource, "debuginfod: " << buildId << " fetched into " << file->path()
                                                   << " from " << file->origin());
        else
            FF_LOG_INFO(kLogSource,
                        "debuginfod: " << buildId << " not fetched: " << file->reason());
        return file;
    }

private:
    static std::string lowerCase(const char* text) {
        std::string lower(text);
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return lower;
    }

#ifdef FF_HAVE_DEBUGINFOD
    ObjectPtr<IRemoteFile> fetchNow(remote_file_kind_t kind, const std::string& buildId,
                                    const char* sourcePath) {
        std::string why;
        const DebuginfodLibrary* library = debuginfodLibrary(why);
        if (!library) return IRemoteFile::missed(("cannot load libdebuginfod: " + why).c_str());
        // Before the environment lock, always in this order.
        const FileTurn turn(std::to_string(kind) + ' ' + buildId + ' ' +
                            (sourcePath ? sourcePath : ""));
        const unsigned int seconds = timeoutOf(m_settings);
        const std::string timeout = std::to_string(seconds);
        Transfer transfer{m_callback, m_cancelled, std::chrono::seconds(seconds)};
        {
            std::shared_lock<std::shared_mutex> reading(environmentLock());
            if (environmentHolds(m_settings, timeout))
                return query(*library, kind, buildId, sourcePath, transfer);
        }
        // Rare (the first fetch, or sources with different settings taking turns): this
        // query runs alone, so that no other source changes the environment under it.
        std::unique_lock<std::shared_mutex> writing(environmentLock());
        setEnvironment(m_settings, timeout);
        return query(*library, kind, buildId, sourcePath, transfer);
    }
#else
    ObjectPtr<IRemoteFile> fetchNow(remote_file_kind_t, const std::string&, const char*) {
        return IRemoteFile::missed("this file_finder2 was built without libdebuginfod");
    }
#endif

    Settings m_settings;
    IRemoteProgressCallback* m_callback = nullptr;
    std::atomic<bool> m_cancelled{false};
};

}  // namespace

ObjectPtr<IDebuginfodSource> IDebuginfodSource::create() {
    return ObjectPtr<IDebuginfodSource>(new DebuginfodSource());
}

bool IDebuginfodSource::available() {
#ifdef FF_HAVE_DEBUGINFOD
    std::string why;
    return debuginfodLibrary(why) != nullptr;
#else
    return false;
#endif
}

}  // namespace FF_2_13
