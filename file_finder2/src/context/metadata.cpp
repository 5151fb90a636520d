// Context metadata.
#include "context/metadata.h"

#include <utility>

namespace FF_2_13 {

namespace {

template <class Map>
typename Map::mapped_type lookUp(const Map& map, const std::string& key) {
    auto it = map.find(key);
    return it == map.end() ? typename Map::mapped_type() : it->second;
}

}  // namespace

/// Walks the search-directory keys of a Metadata while holding its lock shared.
class SearchDirKeyIterator : public RefCountImpl<ISearchDirKeyIterator> {
public:
    explicit SearchDirKeyIterator(Metadata& metadata)
        : m_metadata(&metadata), m_lock(&metadata.m_lock) {
        m_lock->sharedLock();
        m_position = metadata.m_searchDirs.begin();
    }
    ~SearchDirKeyIterator() override { m_lock->sharedUnlock(); }

    bool next() override {
        if (m_position == m_metadata->m_searchDirs.end()) return false;
        ++m_position;
        return m_position != m_metadata->m_searchDirs.end();
    }
    bool getCurrentRecord(const char*& key, ObjectPtr<ISearchDirContainer>& dirs) override {
        if (m_position == m_metadata->m_searchDirs.end()) return false;
        key = m_position->first.c_str();
        dirs = m_position->second;
        return true;
    }

private:
    Metadata* m_metadata;
    ISpinSharedLock* m_lock;
    Metadata::SearchDirsMap::const_iterator m_position;
};

Metadata::Metadata() = default;
Metadata::~Metadata() = default;

template <class Map>
void Metadata::store(Map& map, const std::string& key, typename Map::mapped_type value) {
    FFLockWrap writing(&m_lock);
    map[key] = std::move(value);
}

template <class Guard, class Map>
typename Map::mapped_type Metadata::fetch(const Map& map, const std::string& key) {
    Guard guard(&m_lock);
    return lookUp(map, key);
}

ObjectPtr<ISearchDirContainer> Metadata::getSearchDirs(const char* key) {
    return fetch<FFSpinSharedLockWrap>(m_searchDirs, key);
}

void Metadata::setSearchDirs(const ObjectPtr<ISearchDirContainer>& dirs, const char* key) {
    store(m_searchDirs, key, dirs);
}

ObjectPtr<ISearchDirKeyIterator> Metadata::searchDirsKeyIterator() {
    return ObjectPtr<ISearchDirKeyIterator>(new SearchDirKeyIterator(*this));
}

template <class Change>
void Metadata::updateCallbacks(const std::string& clientId, Change change) {
    file_finder_callbacks_t callbacks = getCallbacks(clientId);
    change(callbacks);
    FFLockWrap writing(&m_lock);
    m_callbacks[clientId] = callbacks;
}

void Metadata::registerSearchStartedCallback(const std::string& clientId,
                                             ISearchStartedCallback* callback) {
    updateCallbacks(clientId, [&](file_finder_callbacks_t& c) { c.searchStarted = callback; });
}

void Metadata::registerFilesFoundCallback(const std::string& clientId,
                                          IFilesFoundCallback* callback) {
    updateCallbacks(clientId, [&](file_finder_callbacks_t& c) { c.filesFound = callback; });
}

void Metadata::registerNoFilesFoundCallback(const std::string& clientId,
                                            INoFilesFoundCallback* callback) {
    updateCallbacks(clientId, [&](file_finder_callbacks_t& c) { c.noFilesFound = callback; });
}

void Metadata::registerConfidenceLevelPolicyCallback(const std::string& clientId,
                                                     IConfidenceLevelPolicyCallback* callback) {
    updateCallbacks(clientId,
                    [&](file_finder_callbacks_t& c) { c.confidenceLevelPolicy = callback; });
}

file_finder_callbacks_t Metadata::getCallbacks(const std::string& clientId) {
    file_finder_callbacks_t callbacks;
    FFSpinSharedLockWrap reading(&m_lock);
    auto it = m_callbacks.find(clientId);
    if (it != m_callbacks.end()) callbacks = it->second;
    return callbacks;
}

void Metadata::setArchiveDir(const char* dir) {
    FFLockWrap writing(&m_lock);
    m_archiveDir = dir ? dir : "";
}

std::string Metadata::getArchiveDir() {
    FFSpinSharedLockWrap reading(&m_lock);
    return m_archiveDir;
}

// The cache directory goes without the lock, unlike the archive directory: it is
// registered while a context is set up, before any search reads it.
void Metadata::setCacheDir(const char* dir) {
    m_cacheDir = dir ? dir : "";
}

std::string Metadata::getCacheDir() {
    return m_cacheDir;
}

void Metadata::setCapturedSearchDirs(const std::string& key, ObjectPtr<ICapturedSearchDirs> dirs) {
    store(m_capturedSearchDirs, key, dirs);
}

ObjectPtr<ICapturedSearchDirs> Metadata::getCapturedSearchDirs(const std::string& key) {
    return fetch<FFSpinSharedLockWrap>(m_capturedSearchDirs, key);
}

void Metadata::registerFileRetriever(const std::string& clientId, IFileRetriever* retriever) {
    store(m_fileRetrievers, clientId, retriever);
}

// The four getters below take the lock exclusively although they only read.
IFileRetriever* Metadata::getFileRetriever(const std::string& clientId) {
    return fetch<FFLockWrap>(m_fileRetrievers, clientId);
}

void Metadata::registerSearchStepsConfigurator(const char* clientId,
                                               ObjectPtr<ISearchStepsConfigurator> steps) {
    store(m_stepsConfigurators, clientId, steps);
}

ObjectPtr<ISearchStepsConfigurator> Metadata::getSearchStepsConfigurator(const char* clientId) {
    return fetch<FFLockWrap>(m_stepsConfigurators, clientId);
}

void Metadata::registerMessenger(const char* clientId, courlet2::IMessenger* messenger) {
    store(m_messengers, clientId, messenger);
}

courlet2::IMessenger* Metadata::getMessenger(const char* clientId) {
    return fetch<FFLockWrap>(m_messengers, clientId);
}

void Metadata::registerEnvironmentInfo(const char* clientId, ObjectPtr<IEnvironmentInfo> info) {
    store(m_environmentInfos, clientId, info);
}

ObjectPtr<IEnvironmentInfo> Metadata::getEnvironmentInfo(const char* clientId) {
    return fetch<FFLockWrap>(m_environmentInfos, clientId);
}

}  // namespace FF_2_13
