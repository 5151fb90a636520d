// The resolution context manager: the process-wide singleton that makes contexts, links
// them (child to parent), keeps one Metadata per context id, and assembles a search
// environment for one client by walking a context and its ancestors.
#pragma once

#include <map>
#include <string>

#include "ff_context.h"
#include "ff_lock.h"

namespace FF_2_13 {

class BasicResolutionContext : public RefCountImpl<IResolutionContext> {
public:
    explicit BasicResolutionContext(const char* id) : m_id(id) {}
    explicit BasicResolutionContext(const IResolutionContext& other) : m_id(other.getUniqueID()) {}
    const char* getUniqueID() const override { return m_id.c_str(); }

private:
    std::string m_id;
};

/// Orders context ids byte-wise, a proper prefix first.
struct ResolutionContextKeyLess {
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Guards the making of the process's context manager in IResolutionContextMgr::create().
extern FFLock g_resoulutionContextMgrLock;

class ResolutionContextMgr : public RefCountImpl<IResolutionContextMgr> {
public:
    ResolutionContextMgr();
    ~ResolutionContextMgr() override;

    bool addInheritance(IResolutionContext& child, IResolutionContext& parent) override;
    void registerSearchDirs(IResolutionContext& context, const ObjectPtr<ISearchDirContainer>& dirs,
                            const char* key) override;
    void registerArchiveDir(IResolutionContext& context, const char* dir) override;
    void registerCacheDir(IResolutionContext& context, const char* dir) override;
    void registerSearchStartedCallback(IResolutionContext& context, const char* clientId,
                                       ISearchStartedCallback* callback) override;
    void registerFilesFoundCallback(IResolutionContext& context, const char* clientId,
                                    IFilesFoundCallback* callback) override;
    void registerNoFilesFoundCallback(IResolutionContext& context, const char* clientId,
                                      INoFilesFoundCallback* callback) override;
    void registerConfidenceLevelPolicyCallback(IResolutionContext& context, const char* clientId,
                                               IConfidenceLevelPolicyCallback* callback) override;
    void captureSearchDirs(IResolutionContext& context, const char* clientId) override;
    void releaseSearchDirs(IResolutionContext& context, const char* clientId) override;
    ObjectPtr<ISearchEnv> createSearchEnv(IResolutionContext& context, const char* clientId,
                                          const ObjectPtr<IEnvironmentInfo>& envInfo) override;
    ObjectPtr<IFileSearch> createFileSearch(IResolutionContext& context, const char* clientId,
                                            const ObjectPtr<IEnvironmentInfo>& envInfo) override;
    ObjectPtr<IResolutionContext> createResultDirectoryContext(const char* dir) override;
    ObjectPtr<IResolutionContext> createUserWideContext() override;
    ObjectPtr<IResolutionContext> createFileSystemContext(const char* path, bool flag) override;
    bool archiveFile(IResolutionContext& context, const char* file,
                     search_category_t category) override;
    void registerFileRetriever(IResolutionContext& context, const char* clientId,
                               IFileRetriever* retriever) override;
    void registerSearchStepsConfigurator(IResolutionContext& context, const char* clientId,
                                         ObjectPtr<ISearchStepsConfigurator> steps) override;
    void registerMessenger(IResolutionContext& context, const char* clientId,
                           courlet2::IMessenger* messenger) override;
    void registerEnvironmentInfo(IResolutionContext& context, const char* clientId,
                                 ObjectPtr<IEnvironmentInfo> info) override;

    ObjectPtr<IResolutionContext> getParentContext(IResolutionContext& context);
    ObjectPtr<IMetadata> getMetadataForContext(IResolutionContext& context);
    ObjectPtr<IMetadata> addEmptyMetadata(IResolutionContext& context);
    ObjectPtr<ISearchDirContainer> getSearchDirs(IResolutionContext& context, const char* key);
    std::string getArchiveDir(IResolutionContext& context);

    /// The single instance, kept for the life of the process; made under
    /// g_resoulutionContextMgrLock.
    static ResolutionContextMgr* s_instance;

private:
    std::map<std::string, ObjectPtr<IResolutionContext>, ResolutionContextKeyLess> m_inheritance;
    std::map<std::string, ObjectPtr<IMetadata>, ResolutionContextKeyLess> m_metadata;
    FFSpinSharedLock m_lock;
};

}  // namespace FF_2_13
