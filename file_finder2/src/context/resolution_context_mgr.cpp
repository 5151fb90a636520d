// The resolution context manager.
//
// createSearchEnv walks from a context to the root of its chain, nearest first:
//   1. search directories of every level, until a level holds a capture of the client's
//      directories: the capture is used and hides every farther level;
//   2. archive directories of every level, nearest first;
//   3. callbacks, steps configurator, file retriever, messenger, environment info and
//      cache directory from the nearest level that has one (a non-empty environment info
//      argument wins over every level); the default client id "" serves only the
//      no-files-found and confidence-level-policy callbacks of other clients, and the
//      per-client settings.
#include "context/resolution_context_mgr.h"

#include <stdexcept>

#include "base/log.h"
#include "context/metadata.h"
#include "ff_utils.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kContext;
constexpr char kDefaultClientId[] = "";
// The leading blank keeps it apart from every key a client would choose.
constexpr char kResultDirPresetKey[] = " hidden_result_dir_key";

const char* orNull(const char* text) {
    return text ? text : "NULL";
}

}  // namespace

FFLock g_resoulutionContextMgrLock;
ResolutionContextMgr* ResolutionContextMgr::s_instance = nullptr;

bool ResolutionContextKeyLess::operator()(const std::string& a, const std::string& b) const {
    return utils::compareCanonicalFileNames(a.c_str(), b.c_str()) < 0;
}

ObjectPtr<IResolutionContextMgr> IResolutionContextMgr::create() {
    FFLockWrap guard(&g_resoulutionContextMgrLock);
    if (!ResolutionContextMgr::s_instance) {
        ResolutionContextMgr::s_instance = new ResolutionContextMgr;
        ResolutionContextMgr::s_instance->addRef();  // the manager lives as long as the process
    }
    return ObjectPtr<IResolutionContextMgr>(ResolutionContextMgr::s_instance);
}

ResolutionContextMgr::ResolutionContextMgr() = default;
ResolutionContextMgr::~ResolutionContextMgr() = default;

// ---------------------------------------------------------------------------------------
// Contexts and their metadata

ObjectPtr<IResolutionContext> ResolutionContextMgr::getParentContext(IResolutionContext& context) {
    const std::string id = context.getUniqueID();
    FFSpinSharedLockWrap reading(&m_lock);
    auto it = m_inheritance.find(id);
    return it == m_inheritance.end() ? ObjectPtr<IResolutionContext>() : it->second;
}

ObjectPtr<IMetadata> ResolutionContextMgr::getMetadataForContext(IResolutionContext& context) {
    {
        const std::string id = context.getUniqueID();
        FFSpinSharedLockWrap reading(&m_lock);
        auto it = m_metadata.find(id);
        if (it != m_metadata.end()) return it->second;
    }
    return addEmptyMetadata(context);
}

ObjectPtr<IMetadata> ResolutionContextMgr::addEmptyMetadata(IResolutionContext& context) {
    ObjectPtr<IMetadata> created(new Metadata);
    const std::string id = context.getUniqueID();
    FFLockWrap writing(&m_lock);
    // Another thread may have stored one meanwhile: the first stored record stays.
    auto inserted = m_metadata.emplace(id, created);
    return inserted.first->second;
}

bool ResolutionContextMgr::addInheritance(IResolutionContext& child, IResolutionContext& parent) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool ResolutionContextMgr::addInheritance(IResolutionContext&, "
                   "IResolutionContext&)");
    FF_LOG_INFO(kLogSource,
                "Child: " << child.getUniqueID() << " Parent: " << parent.getUniqueID());
    ObjectPtr<IResolutionContext> parentCopy(new BasicResolutionContext(parent));
    const std::string id = child.getUniqueID();
    FFLockWrap writing(&m_lock);
    m_inheritance[id] = parentCopy;
    return true;
}

ObjectPtr<IResolutionContext> ResolutionContextMgr::createUserWideContext() {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IResolutionContext> ResolutionContextMgr::createUserWideContext()");
    return ObjectPtr<IResolutionContext>(new BasicResolutionContext(utils::getUserId().c_str()));
}

ObjectPtr<IResolutionContext> ResolutionContextMgr::createFileSystemContext(const char* path,
                                                                            bool flag) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IResolutionContext> ResolutionContextMgr::createFileSystemContext("
                   "const char*, bool)");
    if (utils::isStringEmpty(path)) {
        FF_LOG_INFO(kLogSource, "No context created!");
        return ObjectPtr<IResolutionContext>();
    }
    const std::string canonical = utils::getCanonicalName(path, flag);
    FF_LOG_INFO(kLogSource, "ContextId: " << (canonical.empty() ? "NULL" : canonical.c_str()));
    if (canonical.empty()) {
        FF_LOG_INFO(kLogSource, "No context created!");
        return ObjectPtr<IResolutionContext>();
    }
    return ObjectPtr<IResolutionContext>(new BasicResolutionContext(canonical.c_str()));
}

ObjectPtr<IResolutionContext> ResolutionContextMgr::createResultDirectoryContext(const char* dir) {
    FF_TRACE_SCOPE(
        kLogSource,
        "ObjectPtr<IResolutionContext> ResolutionContextMgr::createResultDirectoryContext("
        "const char*)");
    ObjectPtr<IResolutionContext> context = createFileSystemContext(dir, true);
    if (!context) return context;
    if (getSearchDirs(*context, kResultDirPresetKey)) return context;  // preset already there

    registerArchiveDir(*context, utils::addSubPart(dir, "archive").c_str());
    // A result keeps its own files by category; symbol files are also looked for among
    // the result's binaries, which often carry their symbols.
    ObjectPtr<IEditableSearchDirContainer> preset = IEditableSearchDirContainer::create();
    auto add = [&](search_category_t category, search_category_t folder, bool recursive) {
        preset->addDirectory(category, utils::addSubPart(dir, categoryWord(folder)).c_str(),
                             recursive, true);
    };
    add(scBinaryFiles, scBinaryFiles, false);
    add(scSymbolFiles, scSymbolFiles, false);
    add(scSymbolFiles, scBinaryFiles, false);
    add(scSourceFiles, scSourceFiles, true);
    add(scAllFiles, scAllFiles, true);
    registerSearchDirs(*context, preset, kResultDirPresetKey);
    return context;
}

// ---------------------------------------------------------------------------------------
// Registrations: thin forwarders to the context's metadata. Each is an entry point with
// a trace line of its own, so the shape repeats on purpose.

void ResolutionContextMgr::registerSearchDirs(IResolutionContext& context,
                                              const ObjectPtr<ISearchDirContainer>& dirs,
                                              const char* key) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerSearchDirs(IResolutionContext&, "
                   "const ObjectPtr<ISearchDirContainer>&, const char*)");
    getMetadataForContext(context)->setSearchDirs(dirs, key);
}

void ResolutionContextMgr::registerArchiveDir(IResolutionContext& context, const char* dir) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerArchiveDir(IResolutionContext&, "
                   "const char*)");
    // A null directory is refused like any null text, not taken as "none".
    if (!dir) throw std::logic_error("registerArchiveDir: null directory");
    getMetadataForContext(context)->setArchiveDir(dir);
}

void ResolutionContextMgr::registerCacheDir(IResolutionContext& context, const char* dir) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerCacheDir(IResolutionContext&, "
                   "const char*)");
    if (!dir) throw std::logic_error("registerCacheDir: null directory");
    getMetadataForContext(context)->setCacheDir(dir);
}

void ResolutionContextMgr::registerSearchStartedCallback(IResolutionContext& context,
                                                         const char* clientId,
                                                         ISearchStartedCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerSearchStartedCallback("
                   "IResolutionContext&, const char*, ISearchStartedCallback*)");
    const std::string id(clientId);
    getMetadataForContext(context)->registerSearchStartedCallback(id, callback);
}

void ResolutionContextMgr::registerFilesFoundCallback(IResolutionContext& context,
                                                      const char* clientId,
                                                      IFilesFoundCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerFilesFoundCallback(IResolutionContext&, "
                   "const char*, IFilesFoundCallback*)");
    const std::string id(clientId);
    getMetadataForContext(context)->registerFilesFoundCallback(id, callback);
}

void ResolutionContextMgr::registerNoFilesFoundCallback(IResolutionContext& context,
                                                        const char* clientId,
                                                        INoFilesFoundCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerNoFilesFoundCallback("
                   "IResolutionContext&, const char*, INoFilesFoundCallback*)");
    const std::string id(clientId);
    getMetadataForContext(context)->registerNoFilesFoundCallback(id, callback);
}

void ResolutionContextMgr::registerConfidenceLevelPolicyCallback(
    IResolutionContext& context, const char* clientId, IConfidenceLevelPolicyCallback* callback) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerConfidenceLevelPolicyCallback("
                   "IResolutionContext&, const char*, IConfidenceLevelPolicyCallback*)");
    const std::string id(clientId);
    getMetadataForContext(context)->registerConfidenceLevelPolicyCallback(id, callback);
}

void ResolutionContextMgr::registerFileRetriever(IResolutionContext& context, const char* clientId,
                                                 IFileRetriever* retriever) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerFileRetriever(IResolutionContext&, "
                   "const char*, IFileRetriever*)");
    const std::string id(clientId);
    getMetadataForContext(context)->registerFileRetriever(id, retriever);
}

void ResolutionContextMgr::registerSearchStepsConfigurator(
    IResolutionContext& context, const char* clientId, ObjectPtr<ISearchStepsConfigurator> steps) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerSearchStepsConfigurator("
                   "IResolutionContext&, const char*, ObjectPtr<ISearchStepsConfigurator>)");
    getMetadataForContext(context)->registerSearchStepsConfigurator(clientId, steps);
}

void ResolutionContextMgr::registerMessenger(IResolutionContext& context, const char* clientId,
                                             courlet2::IMessenger* messenger) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerMessenger(IResolutionContext&, "
                   "const char*, courlet2::IMessenger*)");
    getMetadataForContext(context)->registerMessenger(clientId, messenger);
}

void ResolutionContextMgr::registerEnvironmentInfo(IResolutionContext& context,
                                                   const char* clientId,
                                                   ObjectPtr<IEnvironmentInfo> info) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::registerEnvironmentInfo(IResolutionContext&, "
                   "const char*, ObjectPtr<IEnvironmentInfo>)");
    getMetadataForContext(context)->registerEnvironmentInfo(clientId, info);
}

ObjectPtr<ISearchDirContainer> ResolutionContextMgr::getSearchDirs(IResolutionContext& context,
                                                                   const char* key) {
    return getMetadataForContext(context)->getSearchDirs(key);
}

std::string ResolutionContextMgr::getArchiveDir(IResolutionContext& context) {
    return getMetadataForContext(context)->getArchiveDir();
}

// ---------------------------------------------------------------------------------------
// Captures

void ResolutionContextMgr::captureSearchDirs(IResolutionContext& context, const char* clientId) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::captureSearchDirs(IResolutionContext&, "
                   "const char*)");
    const std::string id(clientId);
    FF_LOG_INFO(kLogSource, "Context: " << context.getUniqueID() << " ClientId: " << id);
    ObjectPtr<IMetadata> metadata = getMetadataForContext(context);
    // An older capture would hide the directories as they are now.
    releaseSearchDirs(context, clientId);
    ObjectPtr<ISearchEnv> env = createSearchEnv(context, clientId, ObjectPtr<IEnvironmentInfo>());
    metadata->setCapturedSearchDirs(id, ICapturedSearchDirs::create(env));
}

void ResolutionContextMgr::releaseSearchDirs(IResolutionContext& context, const char* clientId) {
    FF_TRACE_SCOPE(kLogSource,
                   "void ResolutionContextMgr::releaseSearchDirs(IResolutionContext&, "
                   "const char*)");
    const std::string id(clientId);
    FF_LOG_INFO(kLogSource, "Context: " << context.getUniqueID() << " ClientId: " << id);
    getMetadataForContext(context)->setCapturedSearchDirs(id, ObjectPtr<ICapturedSearchDirs>());
}

// ---------------------------------------------------------------------------------------
// Search environments

ObjectPtr<ISearchEnv> ResolutionContextMgr::createSearchEnv(
    IResolutionContext& context, const char* clientId, const ObjectPtr<IEnvironmentInfo>& envInfo) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<ISearchEnv> ResolutionContextMgr::createSearchEnv("
                   "IResolutionContext&, const char*, const ObjectPtr<IEnvironmentInfo>&)");
    FF_LOG_INFO(kLogSource,
                "Context: " << context.getUniqueID() << " ClientId: " << orNull(clientId));

    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<ISearchDirChain> searchDirs = ISearchDirChain::create();
    ObjectPtr<IEditableSearchDirContainer> archiveDirs = IEditableSearchDirContainer::create();
    ObjectPtr<ICapturedSearchDirs> captured;
    ObjectPtr<ISearchStepsConfigurator> steps;
    IFileRetriever* retriever = nullptr;
    courlet2::IMessenger* messenger = nullptr;
    ObjectPtr<IEnvironmentInfo> info = envInfo;
    std::string cacheDir;
    const std::string client = clientId ? clientId : "";

    ObjectPtr<IResolutionContext> level(new BasicResolutionContext(context));
    while (level) {
        ObjectPtr<IMetadata> metadata = getMetadataForContext(*level);

        if (!captured) {
            if (clientId) captured = metadata->getCapturedSearchDirs(client);
            if (captured) {
                searchDirs->addItem(captured);
            } else {
                ObjectPtr<ISearchDirKeyIterator> keys = metadata->searchDirsKeyIterator();
                const char* key = nullptr;
                ObjectPtr<ISearchDirContainer> dirs;
                for (bool more = keys->getCurrentRecord(key, dirs); more;
                     more = keys->next() && keys->getCurrentRecord(key, dirs))
                    searchDirs->addItem(dirs);
            }
        }

        const std::string archiveDir = metadata->getArchiveDir();
        if (!archiveDir.empty()) {
            for (search_category_t category :
                 {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles})
                archiveDirs->addDirectory(
                    category, utils::addSubPart(archiveDir.c_str(), categoryWord(category)).c_str(),
                    true, true);
        }

        if (clientId) {
            const file_finder_callbacks_t own = metadata->getCallbacks(client);
            const file_finder_callbacks_t shared = metadata->getCallbacks(kDefaultClientId);
            // A nearer level always wins; the default client id lends only these two.
            if (!env->searchStartedCallback().get())
                env->setSearchStartedCallback(own.searchStarted);
            if (!env->filesFoundCallback().get()) env->setFilesFoundCallback(own.filesFound);
            if (!env->noFilesFoundCallback().get()) {
                env->setNoFilesFoundCallback(own.noFilesFound);
                if (!env->noFilesFoundCallback().get())
                    env->setNoFilesFoundCallback(shared.noFilesFound);
            }
            if (!env->confidenceLevelPolicyCallback().get()) {
                env->setConfidenceLevelPolicyCallback(own.confidenceLevelPolicy);
                if (!own.confidenceLevelPolicy.get())
                    env->setConfidenceLevelPolicyCallback(shared.confidenceLevelPolicy);
            }
            if (!steps) {
                steps = metadata->getSearchStepsConfigurator(clientId);
                if (!steps) steps = metadata->getSearchStepsConfigurator(kDefaultClientId);
            }
            if (!retriever) {
                retriever = metadata->getFileRetriever(client);
                if (!retriever) retriever = metadata->getFileRetriever(kDefaultClientId);
            }
            if (!messenger) {
                messenger = metadata->getMessenger(clientId);
                if (!messenger) messenger = metadata->getMessenger(kDefaultClientId);
            }
            if (!info) {
                info = metadata->getEnvironmentInfo(clientId);
                if (!info) info = metadata->getEnvironmentInfo(kDefaultClientId);
            }
        }
        if (cacheDir.empty()) cacheDir = metadata->getCacheDir();

        level = getParentContext(*level);
    }

    env->setArchiveDirs(archiveDirs);
    env->setCacheDir(cacheDir.c_str());
    env->setSearchDirs(searchDirs);
    env->setEnvironmentInfo(info);
    env->setFileRetriever(retriever);
    env->setSearchStepsConfigurator(steps);
    env->setMessenger(messenger);
    return env;
}

ObjectPtr<IFileSearch> ResolutionContextMgr::createFileSearch(
    IResolutionContext& context, const char* clientId, const ObjectPtr<IEnvironmentInfo>& envInfo) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileSearch> ResolutionContextMgr::createFileSearch("
                   "IResolutionContext&, const char*, const ObjectPtr<IEnvironmentInfo>&)");
    return IFileSearch::create(createSearchEnv(context, clientId, envInfo));
}

bool ResolutionContextMgr::archiveFile(IResolutionContext& context, const char* file,
                                       search_category_t category) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool ResolutionContextMgr::archiveFile(IResolutionContext&, const char*, "
                   "search_category_t)");
    ObjectPtr<IResolutionContext> level(new BasicResolutionContext(context));
    for (; level; level = getParentContext(*level)) {
        const std::string archiveDir = getArchiveDir(*level);
        if (archiveDir.empty()) continue;
        std::string archived;  // where it went is not reported to the caller
        const unsigned int result =
            utils::archiveFile(file, archiveDir.c_str(), categoryWord(category), archived, false);
        // True when the file stands in the archive afterwards, copied now or before.
        return result == utils::kArchiveDone || result == utils::kArchiveAlreadyThere;
    }
    return false;
}

}  // namespace FF_2_13
