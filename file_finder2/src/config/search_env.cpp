// The search environment and the environment info: plain records with getters and
// setters, no logic beyond null handling and no locks (filled by one thread, then only
// read).
#include "ff_searchenv.h"

#include <string>

#include "base/log.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kSearchEnv;
}  // namespace

class EditableEnvironmentInfo : public RefCountImpl<IEditableEnvironmentInfo> {
public:
    operating_system_type_t osType() const override { return m_osType; }
    architecture_t architecture() const override { return m_architecture; }
    const char* kernelRelease() const override { return m_kernelRelease.c_str(); }

    void setOsType(operating_system_type_t type) override { m_osType = type; }
    void setArchitecture(architecture_t architecture) override { m_architecture = architecture; }
    void setKernelRelease(const char* release) override {
        if (release) m_kernelRelease = release;
    }

private:
    operating_system_type_t m_osType = osUnknown;
    architecture_t m_architecture = archUnknown;
    std::string m_kernelRelease;
};

ObjectPtr<IEditableEnvironmentInfo> IEditableEnvironmentInfo::create() {
    return ObjectPtr<IEditableEnvironmentInfo>(new EditableEnvironmentInfo());
}

class EditableSearchEnv : public RefCountImpl<IEditableSearchEnv> {
public:
    ObjectPtr<ISearchDirIterator> searchDirs(search_category_t category) override {
        FF_TRACE_SCOPE(kLogSource,
                       "ObjectPtr<ISearchDirIterator> EditableSearchEnv::searchDirs("
                       "search_category_t)");
        return m_searchDirs ? m_searchDirs->enumerate(category) : ObjectPtr<ISearchDirIterator>();
    }
    ObjectPtr<ISearchDirIterator> archiveDirs(search_category_t category) override {
        FF_TRACE_SCOPE(kLogSource,
                       "ObjectPtr<ISearchDirIterator> EditableSearchEnv::archiveDirs("
                       "search_category_t)");
        return m_archiveDirs ? m_archiveDirs->enumerate(category) : ObjectPtr<ISearchDirIterator>();
    }
    const char* cacheDir() override { return m_cacheDir.c_str(); }
    CallbackHolder<ISearchStartedCallback>& searchStartedCallback() override {
        return m_searchStarted;
    }
    CallbackHolder<IFilesFoundCallback>& filesFoundCallback() override { return m_filesFound; }
    CallbackHolder<INoFilesFoundCallback>& noFilesFoundCallback() override {
        return m_noFilesFound;
    }
    CallbackHolder<IConfidenceLevelPolicyCallback>& confidenceLevelPolicyCallback() override {
        return m_confidenceLevelPolicy;
    }
    ObjectPtr<IEnvironmentInfo> environmentInfo() override { return m_environmentInfo; }
    IFileRetriever* fileRetriever() override { return m_fileRetriever; }
    ObjectPtr<ISearchStepsConfigurator> searchStepsConfigurator() const override {
        return m_searchStepsConfigurator;
    }
    courlet2::IMessenger* messenger() override { return m_messenger; }

    void setSearchDirs(const ObjectPtr<ISearchDirContainer>& dirs) override { m_searchDirs = dirs; }
    void setArchiveDirs(const ObjectPtr<ISearchDirContainer>& dirs) override {
        m_archiveDirs = dirs;
    }
    void setCacheDir(const char* dir) override {
        if (dir) m_cacheDir = dir;
    }
    void setSearchStartedCallback(const CallbackHolder<ISearchStartedCallback>& cb) override {
        m_searchStarted = cb;
    }
    void setFilesFoundCallback(const CallbackHolder<IFilesFoundCallback>& cb) override {
        m_filesFound = cb;
    }
    void setNoFilesFoundCallback(const CallbackHolder<INoFilesFoundCallback>& cb) override {
        m_noFilesFound = cb;
    }
    void setConfidenceLevelPolicyCallback(
        const CallbackHolder<IConfidenceLevelPolicyCallback>& cb) override {
        m_confidenceLevelPolicy = cb;
    }
    void setEnvironmentInfo(const ObjectPtr<IEnvironmentInfo>& info) override {
        m_environmentInfo = info;
    }
    void setFileRetriever(IFileRetriever* const& retriever) override {
        m_fileRetriever = retriever;
    }
    void setSearchStepsConfigurator(const ObjectPtr<ISearchStepsConfigurator>& steps) override {
        m_searchStepsConfigurator = steps;
    }
    void setMessenger(courlet2::IMessenger* messenger) override { m_messenger = messenger; }

private:
    ObjectPtr<ISearchDirContainer> m_searchDirs;
    ObjectPtr<ISearchDirContainer> m_archiveDirs;
    std::string m_cacheDir;
    CallbackHolder<ISearchStartedCallback> m_searchStarted;
    CallbackHolder<IFilesFoundCallback> m_filesFound;
    CallbackHolder<INoFilesFoundCallback> m_noFilesFound;
    CallbackHolder<IConfidenceLevelPolicyCallback> m_confidenceLevelPolicy;
    ObjectPtr<IEnvironmentInfo> m_environmentInfo;
    IFileRetriever* m_fileRetriever = nullptr;  // borrowed
    ObjectPtr<ISearchStepsConfigurator> m_searchStepsConfigurator;
    courlet2::IMessenger* m_messenger = nullptr;  // borrowed
};

ObjectPtr<IEditableSearchEnv> IEditableSearchEnv::create() {
    return ObjectPtr<IEditableSearchEnv>(new EditableSearchEnv());
}

}  // namespace FF_2_13
