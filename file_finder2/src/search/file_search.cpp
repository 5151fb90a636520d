// The search front.
#include "search/file_search.h"

#include <boost/filesystem/operations.hpp>

#include "base/log.h"
#include "base/string_container.h"
#include "config/search_steps_configurator.h"
#include "ff_kernel_image.h"
#include "ff_utils.h"
#include "files/kernel_module_names.h"
#include "search/found_files_lazy_iterator.h"
#include "search/search_strategies.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kSearch;

const char* nameOrNull(const ObjectPtr<IValidFile>& file) {
    return file ? file->name() : "NULL";
}

// The environment's steps configurator decides which steps run; without one, the default
// steps.
ObjectPtr<ISearchStepsIterator> searchSteps(ISearchEnv& env, search_category_t category,
                                            unsigned long long stepsMask) {
    ObjectPtr<ISearchStepsConfigurator> configurator = env.searchStepsConfigurator();
    if (!configurator) configurator = ISearchStepsConfigurator::create();
    return configurator->getSearchStepsIterator(category, stepsMask);
}

}  // namespace

ObjectPtr<IFileSearch> IFileSearch::create(const ObjectPtr<ISearchEnv>& env) {
    return ObjectPtr<IFileSearch>(new FileSearch(env));
}

ObjectPtr<IFileSearch> IFileSearch::create(const ObjectPtr<ISearchEnv>& env,
                                           const ObjectPtr<ISearchOptions>& options) {
    return ObjectPtr<IFileSearch>(new FileSearch(env, SearchOptionValues::of(options)));
}

FileSearch::FileSearch(const ObjectPtr<ISearchEnv>& env, const SearchOptionValues& options)
    : m_pSearchEnv(env), m_confidencePolicy(m_pSearchEnv), m_options(options) {
    FF_LOG_INFO(kLogSource,
                "Search environment: m_pSearchEnv(scBinaryFiles) = "
                    << dump(m_pSearchEnv, scBinaryFiles)
                    << ", m_pSearchEnv(scSymbolFiles) = " << dump(m_pSearchEnv, scSymbolFiles)
                    << ", m_pSearchEnv(scSourceFiles) = " << dump(m_pSearchEnv, scSourceFiles)
                    << ", m_pSearchEnv(scAllFiles) = " << dump(m_pSearchEnv, scAllFiles));
    if (m_pSearchEnv && m_pSearchEnv->fileRetriever()) utils::createUniqueTempDir(m_tempDir);
}

FileSearch::~FileSearch() {
    // Fetched files were archived into the cache; what is left here is scratch.
    if (m_tempDir.empty()) return;
    boost::system::error_code ignored;  // nothing depends on the clean-up succeeding
    boost::filesystem::remove_all(m_tempDir, ignored);
}

ObjectPtr<IValidFile> FileSearch::findBinFile(const char* fileName,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile,
                                              unsigned long long stepsMask) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IValidFile> FileSearch::findBinFile(const char*, "
                   "IValidatorCallback*, const char*, unsigned long long)");
    if (utils::isStringEmpty(fileName) || !m_pSearchEnv) return ObjectPtr<IValidFile>();
    // "[snd_hda_intel]" is the module snd_hda_intel, "[kernel.kallsyms]" the kernel.
    const std::string recorded =
        m_options.recordedKernelNames ? recordedKernelName(fileName) : std::string(fileName);
    ObjectPtr<IValidFile> result =
        internalFindBinFile(recorded.c_str(), validatorCallback, suggestedFile, stepsMask);
    if (result) return result;

    // The kernel is recorded as "vmlinux": try the images of the recorded release.
    if (utils::getFileNameOnly(recorded.c_str()) != VMLINUX) return result;
    ObjectPtr<IEnvironmentInfo> info = m_pSearchEnv->environmentInfo();
    if (!info || utils::isStringEmpty(info->kernelRelease())) return result;
    const std::string release = info->kernelRelease();
    result = internalFindBinFile(m_options.underRoot("/boot/vmlinux-" + release).c_str(),
                                 validatorCallback, suggestedFile, stepsMask);
    if (!result)
        result = internalFindBinFile(m_options.underRoot("/boot/vmlinuz-" + release).c_str(),
                                     validatorCallback, suggestedFile, stepsMask);
    return result;
}

ObjectPtr<IValidFile> FileSearch::internalFindBinFile(const char* fileName,
                                                      IValidatorCallback* validatorCallback,
                                                      const char* suggestedFile,
                                                      unsigned long long stepsMask) {
    FF_LOG_INFO(kLogSource, "Searching bin file:" << fileName);
    const std::string name = utils::getCanonicalName(fileName, false);
    const SearchRequest request{scBinaryFiles, name.c_str()};
    BinFileSearchStrategy strategy(m_pSearchEnv.get(), request, m_tempDir, m_options);
    return findFile(request, fileName, strategy, validatorCallback, suggestedFile, stepsMask);
}

ObjectPtr<IValidFile> FileSearch::findSymFile(const char* symFile, const char* binaryFile,
                                              const char* checksum,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile,
                                              ISymSrvDownloadProgressCallback* /*progress*/,
                                              const char* remoteBinaryFile) {
    // The progress callback serves symbol-server downloads; no local step reports any.
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IValidFile> FileSearch::findSymFile(const char*, const char*, "
                   "const char*, IValidatorCallback*, const char*, "
                   "ISymSrvDownloadProgressCallback*, const char*)");
    return findFileOfBinary(scSymbolFiles, symFile, binaryFile, checksum, remoteBinaryFile,
                            validatorCallback, suggestedFile);
}

ObjectPtr<IValidFile> FileSearch::findSrcFile(const char* srcFile, const char* binaryFile,
                                              const char* checksum,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IValidFile> FileSearch::findSrcFile(const char*, const char*, "
                   "const char*, IValidatorCallback*, const char*)");
    return findFileOfBinary(scSourceFiles, srcFile, binaryFile, checksum, nullptr,
                            validatorCallback, suggestedFile);
}

ObjectPtr<IValidFile> FileSearch::findFileOfBinary(search_category_t category, const char* fileName,
                                                   const char* binaryFile, const char* checksum,
                                                   const char* remoteBinaryFile,
                                                   IValidatorCallback* validatorCallback,
                                                   const char* suggestedFile) {
    if (utils::isStringEmpty(fileName) || !m_pSearchEnv) return ObjectPtr<IValidFile>();
    const std::string name = utils::getCanonicalName(
        m_options.recordedKernelNames ? recordedKernelName(fileName).c_str() : fileName, false);
    const std::string binary = utils::getCanonicalName(binaryFile, false);
    const SearchRequest request{category, name.c_str(), binary.c_str(), checksum ? checksum : "",
                                remoteBinaryFile ? remoteBinaryFile : ""};
    FF_LOG_INFO(kLogSource, "Searching " << (category == scSymbolFiles ? "sym" : "src")
                                         << " file:" << name << ", binary file:" << binary
                                         << ", checksum:" << request.checksum);
    // Only findBinFile takes a step mask: the configurator is given 0 for these.
    if (category == scSymbolFiles) {
        SymFileSearchStrategy strategy(m_pSearchEnv.get(), request, m_tempDir, m_options);
        return findFile(request, fileName, strategy, validatorCallback, suggestedFile, 0);
    }
    SrcFileSearchStrategy strategy(m_pSearchEnv.get(), request, m_options);
    return findFile(request, fileName, strategy, validatorCallback, suggestedFile, 0);
}

ObjectPtr<IValidFile> FileSearch::findFile(const SearchRequest& request, const char* requestedName,
                                           IFileSearchStrategy& strategy,
                                           IValidatorCallback* validatorCallback,
                                           const char* suggestedFile,
                                           unsigned long long stepsMask) {
    // The trace keeps the text the protocol has always been traced under.
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IValidFile> FileSearch::findFile(IFileSearchStrategy&, "
                   "IValidatorInternal&, const char*, unsigned long long)");
    Validator validator(validatorCallback, m_confidencePolicy, request.category, requestedName,
                        m_pSearchEnv->fileRetriever(), m_options.remoteChecksumAskedOnce);
    StringContainer suggestions;
    if (suggestedFile) suggestions.add(suggestedFile);

    bool goOn = true;
    {
        CallbackAccessor<ISearchStartedCallback> started(m_pSearchEnv->searchStartedCallback());
        if (started) goOn = notifySearchStarted(*started.get(), request, suggestions);
    }
    FF_LOG_INFO(kLogSource, "Suggested resolutions after callback: suggestedResolutions: "
                                << dump(suggestions));

    FoundFilesLazyIterator found(
        strategy, validator, searchSteps(*m_pSearchEnv, request.category, stepsMask), m_options);
    found.reset();
    for (size_t i = 0; i < suggestions.size(); ++i)
        found.validateAndAdd(suggestions.get(i), ssAskUser);

    if (goOn) {
        ObjectPtr<IValidFile> first = found.next();
        if (first) {
            CallbackHolder<IFilesFoundCallback>& holder = m_pSearchEnv->filesFoundCallback();
            if (!holder.get()) {
                FF_LOG_INFO(kLogSource,
                            "Returning the first found, no filesFoundCallback established");
                return first;
            }
            CallbackAccessor<IFilesFoundCallback> filesFound(holder);
            if (!filesFound) {
                FF_LOG_INFO(kLogSource,
                            "Returning the first found, no pFilesFoundCallback established");
                return first;
            }
            found.reset();
            ObjectPtr<IValidFile> chosen = notifyFilesFound(*filesFound.get(), request, found);
            FF_LOG_INFO(kLogSource, "Returning the result = " << nameOrNull(chosen)
                                                              << " after pFilesFoundCallback");
            return chosen;
        }
    }

    if (m_pSearchEnv->noFilesFoundCallback().get()) {
        CallbackAccessor<INoFilesFoundCallback> noFilesFound(m_pSearchEnv->noFilesFoundCallback());
        if (!noFilesFound) {
            FF_LOG_INFO(kLogSource, "Nothing found, returning");
            return ObjectPtr<IValidFile>();
        }
        // The list of what was found, without running a step: a search told not to go
        // on stays that way.
        found.currentlyFoundValid().reset();
        found.currentlyFoundInvalid().reset();
        ObjectPtr<IValidFile> supplied =
            notifyNoFilesFound(*noFilesFound.get(), request, validator,
                               found.currentlyFoundInvalid(), found.currentlyFoundValid());
        if (supplied)
            FF_LOG_INFO(kLogSource, "Returning the result = " << supplied->name()
                                                              << " after pNoFilesFoundCallback");
        else
            FF_LOG_INFO(kLogSource, "Nothing found after pNoFilesFoundCallback");
        return supplied;
    }
    FF_LOG_INFO(kLogSource, "Returning the NULL result, no noFilesFoundCallback established");
    return ObjectPtr<IValidFile>();
}

}  // namespace FF_2_13
