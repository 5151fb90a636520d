// The search front: one FileSearch per search environment answers binary, symbol-file
// and source-file requests. Each request is made once, as a SearchRequest, and builds on
// its own stack the category's strategy, a validator and a lazy iterator; findFile runs
// the protocol, reaching the client's callbacks through the request:
//   1. the search-started callback may add suggestions and may stop the search;
//   2. suggestions are validated first (as step ssAskUser);
//   3. the steps run lazily until a first valid file exists;
//   4. with valid files the files-found callback picks one (it sees the lazy iterator,
//      so advancing it runs further steps); without, the no-files-found callback sees the
//      rejected candidates and may supply a file.
// A FileSearch keeps no per-request state: several threads may search at once.
#pragma once

#include <string>

#include "ff_search.h"
#include "ff_searchenv.h"
#include "search/search_options.h"
#include "search/search_request.h"
#include "validation/confidence_level_policy_wrapper.h"

namespace FF_2_13 {

class IFileSearchStrategy;

class FileSearch : public RefCountImpl<IFileSearch> {
public:
    explicit FileSearch(const ObjectPtr<ISearchEnv>& env,
                        const SearchOptionValues& options = SearchOptionValues::none());
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
    /// A symbol or source file of a binary: `category` says which.
    ObjectPtr<IValidFile> findFileOfBinary(search_category_t category, const char* fileName,
                                           const char* binaryFile, const char* checksum,
                                           const char* remoteBinaryFile,
                                           IValidatorCallback* validatorCallback,
                                           const char* suggestedFile);
    /// The search protocol. `requestedName`: the name as the client gave it, which the
    /// validator needs for the remote checksum; `stepsMask` goes to the steps
    /// configurator as it is.
    ObjectPtr<IValidFile> findFile(const SearchRequest& request, const char* requestedName,
                                   IFileSearchStrategy& strategy,
                                   IValidatorCallback* validatorCallback, const char* suggestedFile,
                                   unsigned long long stepsMask);

    ObjectPtr<ISearchEnv> m_pSearchEnv;
    ConfidenceLevelPolicyWrapper m_confidencePolicy;
    std::string m_tempDir;
    /// Taken at creation: the client's later changes do not reach a search in progress.
    const SearchOptionValues m_options;
};

}  // namespace FF_2_13
