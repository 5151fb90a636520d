// Search strategies: for one file category, how each search step is carried out (which
// name, which directories, which special cases). A strategy produces candidate paths and
// hands each to a results container with the step that produced it; validation and the
// choice of the result are the lazy iterator's and the front's business. A strategy lives
// on the stack of one search call.
//
//   BasicFileSearchStrategy                    every category's default steps
//   └ BasicLocalAndRemoteFileSearchStrategy    absolute names fetched from a remote system
//     ├ BinFileSearchStrategy                  kernel modules, /boot for vmlinux
//     └ SymFileSearchStrategy                  around the binary, /usr/lib/debug
//   └ SrcFileSearchStrategy                    /usr/src
#pragma once

#include <string>

#include "ff_callbacks.h"
#include "search/search_interfaces.h"
#include "ff_search_steps.h"
#include "ff_searchenv.h"
#include "ff_validation.h"

namespace FF_2_13 {

class IFileSearchStrategy {
public:
    virtual bool callSearchStarted(ISearchStartedCallback& callback, IStringContainer& strings) = 0;
    virtual bool findInArchiveDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInHighPriorityDirs(ISearchResultsContainer& results) = 0;
    virtual bool lookUpAbsoluteName(ISearchResultsContainer& results) = 0;
    virtual bool lookUpAroundBinary(ISearchResultsContainer& results) = 0;
    virtual bool findInLowPriorityDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInSystemDirs(ISearchResultsContainer& results) = 0;
    virtual bool findInCacheDir(ISearchResultsContainer& results) = 0;
    virtual ObjectPtr<IValidFile> callFilesFound(IFilesFoundCallback& callback,
                                                 IValidFileIterator& valid) = 0;
    virtual ObjectPtr<IValidFile> callNoFilesFound(INoFilesFoundCallback& callback,
                                                   IInvalidFileIterator& invalid,
                                                   IValidFileIterator& valid) = 0;
    virtual ISearchEnv* getSearchEnv() const = 0;
    virtual const char* fileToSearch() = 0;
    virtual ObjectPtr<ISearchStepsIterator> getSearchStepsIterator(
        unsigned long long stepsMask) = 0;
    virtual search_category_t getCategorySpecific() = 0;
    virtual void fillSystemDirs(ISearchDirectoryContainer& dirs) = 0;

protected:
    ~IFileSearchStrategy() = default;
};

class BasicFileSearchStrategy : public IFileSearchStrategy, public ISearchDirectoryFindCallback {
public:
    /// `env` may be null: every step that needs it then finds nothing. `fileName` is not
    /// copied: the caller's string outlives the strategy.
    BasicFileSearchStrategy(ISearchEnv* env, const char* fileName);

    bool findInArchiveDirs(ISearchResultsContainer& results) override;
    bool findInHighPriorityDirs(ISearchResultsContainer& results) override;
    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;
    bool lookUpAroundBinary(ISearchResultsContainer& results) override;
    bool findInLowPriorityDirs(ISearchResultsContainer& results) override;
    bool findInSystemDirs(ISearchResultsContainer& results) override;
    bool findInCacheDir(ISearchResultsContainer& results) override;
    ISearchEnv* getSearchEnv() const override { return m_env; }
    const char* fileToSearch() override { return m_fileName; }
    ObjectPtr<ISearchStepsIterator> getSearchStepsIterator(unsigned long long stepsMask) override;

    /// Every directory is searched the default way.
    bool find(const std::string& dir, bool recursive, const std::string& fileName,
              ISearchResultsContainer& results, bool& skip) override;

protected:
    bool findInPriorityDirs(ISearchResultsContainer& results, bool highPriority);
    bool findInSearchDirs(ISearchResultsContainer& results,
                          const ObjectPtr<ISearchDirIterator>& dirs, bool highPriority);
    void fillArchiveDirs(const ObjectPtr<ISearchDirIterator>& dirs,
                         ISearchDirectoryContainer& container, const std::string& baseName);
    /// Offers the requested name itself when it is absolute.
    bool offerAbsoluteName(ISearchResultsContainer& results);

    ISearchEnv* m_env;
    const char* m_fileName;
};

class BasicLocalAndRemoteFileSearchStrategy : public BasicFileSearchStrategy {
public:
    BasicLocalAndRemoteFileSearchStrategy(ISearchEnv* env, const char* fileName,
                                          const std::string& tempDir);
    /// A name the client's file retriever says is not on this machine is fetched into
    /// the cache and offered from there.
    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;

    const std::string& tempDir() const { return m_tempDir; }

protected:
    std::string m_tempDir;
};

class BinFileSearchStrategy : public BasicLocalAndRemoteFileSearchStrategy {
public:
    BinFileSearchStrategy(ISearchEnv* env, const char* fileName, const std::string& tempDir,
                          IValidator& validator);

    bool callSearchStarted(ISearchStartedCallback& callback, IStringContainer& strings) override;
    bool findInSystemDirs(ISearchResultsContainer& results) override;
    ObjectPtr<IValidFile> callFilesFound(IFilesFoundCallback& callback,
                                         IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> callNoFilesFound(INoFilesFoundCallback& callback,
                                           IInvalidFileIterator& invalid,
                                           IValidFileIterator& valid) override;
    search_category_t getCategorySpecific() override { return scBinaryFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;

private:
    IValidator& m_validator;
};

class SymFileSearchStrategy : public BasicLocalAndRemoteFileSearchStrategy {
public:
    SymFileSearchStrategy(ISearchEnv* env, const char* fileName, const std::string& tempDir,
                          const char* binaryFile, const char* checksum,
                          const char* remoteBinaryFile, IValidator& validator);

    bool callSearchStarted(ISearchStartedCallback& callback, IStringContainer& strings) override;
    bool lookUpAbsoluteName(ISearchResultsContainer& results) override;
    bool lookUpAroundBinary(ISearchResultsContainer& results) override;
    ObjectPtr<IValidFile> callFilesFound(IFilesFoundCallback& callback,
                                         IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> callNoFilesFound(INoFilesFoundCallback& callback,
                                           IInvalidFileIterator& invalid,
                                           IValidFileIterator& valid) override;
    search_category_t getCategorySpecific() override { return scSymbolFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;
    bool find(const std::string& dir, bool recursive, const std::string& fileName,
              ISearchResultsContainer& results, bool& skip) override;

private:
    bool isRemoteLinuxResult() const;
    bool lookUpAroundRemoteBinary(ISearchResultsContainer& results);

    std::string m_binaryFile;
    std::string m_checksum;
    std::string m_remoteBinaryFile;
    IValidator& m_validator;
};

class SrcFileSearchStrategy : public BasicFileSearchStrategy {
public:
    SrcFileSearchStrategy(ISearchEnv* env, const char* fileName, const char* binaryFile,
                          const char* checksum, IValidator& validator);

    bool callSearchStarted(ISearchStartedCallback& callback, IStringContainer& strings) override;
    ObjectPtr<IValidFile> callFilesFound(IFilesFoundCallback& callback,
                                         IValidFileIterator& valid) override;
    ObjectPtr<IValidFile> callNoFilesFound(INoFilesFoundCallback& callback,
                                           IInvalidFileIterator& invalid,
                                           IValidFileIterator& valid) override;
    search_category_t getCategorySpecific() override { return scSourceFiles; }
    void fillSystemDirs(ISearchDirectoryContainer& dirs) override;

private:
    std::string m_binaryFile;
    std::string m_checksum;
    IValidator& m_validator;
};

/// Copies `remoteName` from the remote system (through the environment's file retriever)
/// into `tempDir`, then archives it into the environment's cache directory, which is
/// where later searches find it again; `localName` receives the cached copy's path.
/// False when there is no cache directory (logged), no temporary directory, no
/// environment or retriever, when the name would leave `tempDir`, or on any failure.
bool fetchRemoteFile(const IFileSearchStrategy& strategy, const std::string& tempDir,
                     const std::string& remoteName, std::string& localName);

}  // namespace FF_2_13
