// The metadata of one resolution context: a passive, thread-safe store of everything
// registered for the context, by key or client id. Lookups take the lock shared; stores
// take it exclusively, and so do four getters (retriever, steps configurator, messenger,
// environment info) although they only read. The cache directory is read and written
// without the lock: it is set up before searches run.
#pragma once

#include <map>
#include <string>

#include "ff_context.h"
#include "ff_lock.h"

namespace FF_2_13 {

class Metadata : public RefCountImpl<IMetadata> {
public:
    Metadata();
    ~Metadata() override;

    ObjectPtr<ISearchDirContainer> getSearchDirs(const char* key) override;
    void setSearchDirs(const ObjectPtr<ISearchDirContainer>& dirs, const char* key) override;
    ObjectPtr<ISearchDirKeyIterator> searchDirsKeyIterator() override;
    void registerSearchStartedCallback(const std::string& clientId,
                                       ISearchStartedCallback* callback) override;
    void registerFilesFoundCallback(const std::string& clientId,
                                    IFilesFoundCallback* callback) override;
    void registerNoFilesFoundCallback(const std::string& clientId,
                                      INoFilesFoundCallback* callback) override;
    void registerConfidenceLevelPolicyCallback(const std::string& clientId,
                                               IConfidenceLevelPolicyCallback* callback) override;
    file_finder_callbacks_t getCallbacks(const std::string& clientId) override;
    void setArchiveDir(const char* dir) override;
    std::string getArchiveDir() override;
    void setCacheDir(const char* dir) override;
    std::string getCacheDir() override;
    void setCapturedSearchDirs(const std::string& key,
                               ObjectPtr<ICapturedSearchDirs> dirs) override;
    ObjectPtr<ICapturedSearchDirs> getCapturedSearchDirs(const std::string& key) override;
    void registerFileRetriever(const std::string& clientId, IFileRetriever* retriever) override;
    IFileRetriever* getFileRetriever(const std::string& clientId) override;
    void registerSearchStepsConfigurator(const char* clientId,
                                         ObjectPtr<ISearchStepsConfigurator> steps) override;
    ObjectPtr<ISearchStepsConfigurator> getSearchStepsConfigurator(const char* clientId) override;
    void registerMessenger(const char* clientId, courlet2::IMessenger* messenger) override;
    courlet2::IMessenger* getMessenger(const char* clientId) override;
    void registerEnvironmentInfo(const char* clientId, ObjectPtr<IEnvironmentInfo> info) override;
    ObjectPtr<IEnvironmentInfo> getEnvironmentInfo(const char* clientId) override;

    /// The lock, for tests that watch a key iterator hold it.
    FFSpinSharedLock& lock() { return m_lock; }

private:
    using SearchDirsMap = std::map<std::string, ObjectPtr<ISearchDirContainer>>;
    friend class SearchDirKeyIterator;

    /// Read-modify-write of a client's callback set: read under the shared lock, change
    /// one holder, write back the whole set under the exclusive lock. Two registrations
    /// for one client id at once may thus lose one.
    template <class Change>
    void updateCallbacks(const std::string& clientId, Change change);
    /// Every store by key or client id: under the exclusive lock. A null key throws
    /// std::logic_error (from the string) before the lock is taken.
    template <class Map>
    void store(Map& map, const std::string& key, typename Map::mapped_type value);
    /// Every lookup by key or client id, under `Guard`: FFSpinSharedLockWrap to read
    /// shared, FFLockWrap for the getters that take the lock exclusively.
    template <class Guard, class Map>
    typename Map::mapped_type fetch(const Map& map, const std::string& key);

    std::map<std::string, file_finder_callbacks_t> m_callbacks;
    SearchDirsMap m_searchDirs;
    std::string m_archiveDir;
    std::string m_cacheDir;
    std::map<std::string, ObjectPtr<ICapturedSearchDirs>> m_capturedSearchDirs;
    FFSpinSharedLock m_lock;
    std::map<std::string, IFileRetriever*> m_fileRetrievers;
    std::map<std::string, ObjectPtr<ISearchStepsConfigurator>> m_stepsConfigurators;
    std::map<std::string, courlet2::IMessenger*> m_messengers;
    std::map<std::string, ObjectPtr<IEnvironmentInfo>> m_environmentInfos;
};

}  // namespace FF_2_13
