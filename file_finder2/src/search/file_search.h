// The search front: one FileSearch per search environment answers binary, symbol-file
// and source-file requests. Each request builds, on its own stack, a validator, the
// category's strategy and a lazy iterator, and runs the protocol of findFile:
//   1. the search-started callback may add suggestions and may stop the search;
//   2. suggestions are validated first (as step ssAskUser);
//   3. the steps run lazily until a first valid file exists;
//   4. with valid files the files-found callback picks one (it sees the lazy iterator,
//      so advancing it runs further steps); without, the no-files-found callback sees the
//      rejected candidates and may supply a file.
// A FileSearch keeps no per-request state: several threads may search at once.
#pragma once

#include <string>

#include "ff_callbacks.h"
#include "ff_search.h"
#include "ff_searchenv.h"
#include "validation/validator.h"

namespace FF_2_13 {

class IFileSearchStrategy;

/// Hands the validator the environment's confidence-level policy, called under its
/// holder's lock, so a client may replace or remove its policy while searches run.
/// Without a policy every undecided file is accepted with confidence 1.
class ConfidenceLevelPolicyWrapper : public IConfidenceLevelPolicyCallback {
public:
    explicit ConfidenceLevelPolicyWrapper(const ObjectPtr<ISearchEnv>& env) : m_env(env) {}
    ~ConfidenceLevelPolicyWrapper() override { disconnectHolders(); }
    unsigned int getConfidenceLevel(search_category_t category, unsigned int value) override;

private:
    const ObjectPtr<ISearchEnv>& m_env;
};

class FileSearch : public RefCountImpl<IFileSearch> {
public:
    explicit FileSearch(const ObjectPtr<ISearchEnv>& env);
    ~FileSearch() override;

    ObjectPtr<IValidFile> findBinFile(const char* fileName, IValidatorCallback* validatorCallback,
                                      const char* suggestedFile,
                                      unsigned long long stepsMask) override;
    ObjectPtr<IValidFile> findSymFile(const char* symFile, const char* binaryFile,
                                      const char* checksum, IValidatorCallback* validatorCallback,
                                      const char* suggestedFile,
                                      ISymSrvDownloadProgressCallback* progress,
                                      const char* remoteBinaryFile) override;
    ObjectPtr<IValidFile> findSrcFile(const char* srcFile, const char* binaryFile,
                                      const char* checksum, IValidatorCallback* validatorCallback,
                                      const char* suggestedFile) override;

    /// The search's private directory for fetched remote files ("" without a retriever).
    const std::string& tempDir() const { return m_tempDir; }

private:
    ObjectPtr<IValidFile> internalFindBinFile(const char* fileName,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile,
                                              unsigned long long stepsMask);
    ObjectPtr<IValidFile> findFile(IFileSearchStrategy& strategy, IValidatorInternal& validator,
                                   const char* suggestedFile, unsigned long long stepsMask);

    ObjectPtr<ISearchEnv> m_pSearchEnv;
    ConfidenceLevelPolicyWrapper m_confidencePolicy;
    std::string m_tempDir;
};

}  // namespace FF_2_13
