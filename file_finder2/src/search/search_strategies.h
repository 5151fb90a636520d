// Search strategies: for one file category, how each search step is carried out (which
// name, which directories, which special cases). A strategy produces candidate paths and
// hands each to a results container with the step that produced it; validation, the
// choice of the result and the client's callbacks are the lazy iterator's and the front's
// business. A strategy lives on the stack of one search call.
//
//   BasicFileSearchStrategy                    every category's default steps
//   └ BasicLocalAndRemoteFileSearchStrategy    absolute names fetched from a remote system
//     ├ BinFileSearchStrategy                  kernel modules, /boot for vmlinux
//     └ SymFileSearchStrategy                  around the binary, /usr/lib/debug
//   └ SrcFileSearchStrategy                    /usr/src
#pragma once

#include <string>
#include <vector>

#include "ff_searchenv.h"
#include "search/search_interfaces.h"
#include "search/search_options.h"
#include "search/search_request.h"

namespace FF_2_13 {

/// The steps of one category's search. Each step offers its candidates to the results
/// container, with the step's own value, and answers true when the container asked to
/// stop (a candidate was accepted).
class IFileSearchStrategy {
public:
    virtual bool findInArchiveDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInHighPriorityDirs(ISearchResultsContainer& results) = 0;
    virtual bool lookUpAbsoluteName(ISearchResultsContainer& results) = 0;
    virtual bool lookUpAroundBinary(ISearchResultsContainer& results) = 0;
    virtual bool findInLowPriorityDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInSystemDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInCacheDir(ISearchResultsContainer& results) = 0;
    /// Asks the options' remote source, after every configured step.
    virtual bool findInRemoteSource(ISearchResultsContainer& results) = 0;
    virtual const char* fileToSearch() = 0;
    virtual search_category_t getCategorySpecific() = 0;
    virtual void fillSystemDirs(ISearchDirectoryContainer& dirs) = 0;

protected:
    ~IFileSearchStrategy() = default;
};

class BasicFileSearchStrategy : public IFileSearchStrategy {
public:
    /// `env` may be null: every step that needs it then finds nothing. The request's
    /// names and the options are not copied: the caller's outlive the strategy.
    BasicFileSearchStrategy(ISearchEnv* env, const SearchRequest& request,
                            const SearchOptionValues& options = SearchOptionValues::none());

    bool findInArchiveDirs(ISearchResultsContainer& results) override;
    bool findInHighPriorityDirs(ISearchResultsContainer& results) override;
    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;
    bool lookUpAroundBinary(ISearchResultsContainer& results) override;
    bool findInLowPriorityDirs(ISearchResultsContainer& results) override;
    bool findInSystemDirs(ISearchResultsContainer& results) override;
    bool findInCacheDir(ISearchResultsContainer& results) override;
    bool findInRemoteSource(ISearchResultsContainer& results) override;
    const char* fileToSearch() override { return m_fileName; }

protected:
    bool findInPriorityDirs(ISearchResultsContainer& results, bool highPriority);
    bool findInSearchDirs(ISearchResultsContainer& results,
                          const ObjectPtr<ISearchDirIterator>& dirs, bool highPriority);
    void fillArchiveDirs(const ObjectPtr<ISearchDirIterator>& dirs,
                         ISearchDirectoryContainer& container, const std::string& baseName);
    /// Offers the requested name itself when it is absolute.
    bool offerAbsoluteName(ISearchResultsContainer& results);
    /// Offers `name` in the system directories, unless the request names a guest's file.
    bool findInSystemDirsAs(const std::string& name, ISearchResultsContainer& results);
    /// Runs `step` once for each name the requested file may have (a kernel module's other
    /// spellings, with the recorded kernel names option), fileToSearch() answering each in
    /// turn, until one step answers true.
    template <class Step>
    bool forEachName(Step step);
    /// The release of the recorded kernel, else of the running one; "" when neither is known.
    std::string kernelRelease() const;
    /// `path` under the options' system root.
    std::string systemDir(const std::string& path) const { return m_options.underRoot(path); }

    ISearchEnv* m_env;
    const char* m_fileName;
    const SearchOptionValues& m_options;
    const SearchRequest m_request;

private:
    /// With the recorded kernel names option, the requested name and its other spellings.
    std::vector<std::string> m_names;
};

class BasicLocalAndRemoteFileSearchStrategy : public BasicFileSearchStrategy {
public:
    BasicLocalAndRemoteFileSearchStrategy(
        ISearchEnv* env, const SearchRequest& request, const std::string& tempDir,
        const SearchOptionValues& options = SearchOptionValues::none());
    /// A name the client's file retriever says is not on this machine is fetched into
    /// the cache and offered from there.
    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;

protected:
    std::string m_tempDir;
};

class BinFileSearchStrategy : public BasicLocalAndRemoteFileSearchStrategy {
public:
    using BasicLocalAndRemoteFileSearchStrategy::BasicLocalAndRemoteFileSearchStrategy;

    bool findInSystemDirs(ISearchResultsContainer& results) override;
    search_category_t getCategorySpecific() override { return scBinaryFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;
};

class SymFileSearchStrategy : public BasicLocalAndRemoteFileSearchStrategy {
public:
    SymFileSearchStrategy(ISearchEnv* env, const SearchRequest& request, const std::string& tempDir,
                          const SearchOptionValues& options = SearchOptionValues::none());

    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;
    bool lookUpAroundBinary(ISearchResultsContainer& results) override;
    bool findInSystemDirs(ISearchResultsContainer& results) override;
    search_category_t getCategorySpecific() override { return scSymbolFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;

private:
    bool isRemoteLinuxResult() const;
    bool lookUpAroundRemoteBinary(ISearchResultsContainer& results);

    std::string m_binaryFile;
    std::string m_remoteBinaryFile;
};

class SrcFileSearchStrategy : public BasicFileSearchStrategy {
public:
    using BasicFileSearchStrategy::BasicFileSearchStrategy;

    search_category_t getCategorySpecific() override { return scSourceFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;
};

/// Copies `remoteName` from the remote system (through the environment's file retriever)
/// into a private directory of its own inside `tempDir`, then archives it into the
/// environment's cache directory, where later searches find it again; `localName`
/// receives the cached copy's path. False when there is no cache directory (logged), no
/// temporary directory or retriever, when the name would leave that directory, or on any
/// failure.
bool fetchRemoteFile(ISearchEnv& env, const std::string& tempDir, const std::string& remoteName,
                     std::string& localName);

}  // namespace FF_2_13
