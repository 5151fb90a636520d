// File: ff_callbacks.h
//
// The four callbacks through which a client watches and steers each search, and the
// iterators and containers the library hands them:
//
//   search started   -> ISearchStartedCallback: may add suggested files, may stop the search
//   files found      -> IFilesFoundCallback: picks one of the valid files
//   no files found   -> INoFilesFoundCallback: sees the rejected files, may supply one
//   undecided file   -> IConfidenceLevelPolicyCallback: accepts (0, 1) or rejects (2)
//
// The client owns its callbacks; the library holds them weakly (ff_events.h) and calls
// each with its lock taken shared, so a client may replace or destroy a callback while
// searches run. A callback that may be destroyed while another thread calls it must call
// disconnectHolders() first thing in its destructor:
//
//   class MyFilesFound : public IFilesFoundCallback {
//   public:
//       ~MyFilesFound() override { disconnectHolders(); }
//       ObjectPtr<IValidFile> binFilesFound(const char* name, IValidFileIterator& files) override {
//           return files.next();  // the first valid file
//       }
//       ...
//   };
//
// Callbacks run on the searching thread; one callback registered for several searches is
// called concurrently, so its own state needs its own guard. A callback must not destroy
// itself, nor the callback it is being called through.
#pragma once

#include <cstddef>

#include "ff_events.h"
#include "ff_types.h"
#include "ff_validation.h"

namespace FF_2_13 {

/// Suggested resolutions a search-started callback may add to; validated before any step.
class FF_EXPORT IStringContainer {
public:
    /// Appends a copy of `text`; a null text is ignored.
    virtual void add(const char* text) = 0;
    virtual size_t size() const = 0;
    /// The text at `index` (0-based), or null past the end.
    virtual const char* get(size_t index) const = 0;

protected:
    ~IStringContainer() = default;
};

/// The valid files of a search. Lives as long as the callback call that receives it.
class FF_EXPORT IValidFileIterator {
public:
    /// Back to the first file found.
    virtual void reset() = 0;
    /// The next file, or empty when there is none (for the files-found callback,
    /// advancing may run further search steps).
    virtual ObjectPtr<IValidFile> next() = 0;

protected:
    ~IValidFileIterator() = default;
};

/// The rejected files of a search, with their messages.
class FF_EXPORT IInvalidFileIterator {
public:
    virtual void reset() = 0;
    virtual ObjectPtr<IInvalidFile> next() = 0;

protected:
    ~IInvalidFileIterator() = default;
};

/// Progress of symbol-server downloads: accepted by findSymFile and handed on; no step of
/// the local search calls it.
class FF_EXPORT ISymSrvDownloadProgressCallback {
public:
    /// Answer false to cancel the download.
    virtual bool progress(unsigned long long done, unsigned long long total) = 0;
    virtual ~ISymSrvDownloadProgressCallback() {}
};

class FF_EXPORT ISearchStartedCallback : public EventGenerator {
public:
    /// Answer true to search, false to skip every search step (suggestions are still
    /// validated). Suggestions added to `strings` are validated first.
    virtual bool binFileSearchStarted(const char* fileName, IStringContainer& strings) = 0;
    virtual bool symFileSearchStarted(const char* fileName, const char* binaryFile,
                                      const char* checksum, IStringContainer& strings) = 0;
    virtual bool srcFileSearchStarted(const char* fileName, const char* binaryFile,
                                      const char* checksum, IStringContainer& strings) = 0;
};

class FF_EXPORT IFilesFoundCallback : public EventGenerator {
public:
    /// Returns the chosen file (may be empty: the search then returns empty).
    virtual ObjectPtr<IValidFile> binFilesFound(const char* fileName, IValidFileIterator& valid) = 0;
    virtual ObjectPtr<IValidFile> symFilesFound(const char* fileName, const char* binaryFile,
                                                const char* checksum, IValidFileIterator& valid) = 0;
    virtual ObjectPtr<IValidFile> srcFilesFound(const char* fileName, const char* binaryFile,
                                                const char* checksum, IValidFileIterator& valid) = 0;
};

class FF_EXPORT INoFilesFoundCallback : public EventGenerator {
public:
    /// Sees the rejected candidates (and the valid suggestions of a search that was told
    /// not to go on); may return a file of its own, for example one validated through
    /// `validator` or forced valid.
    virtual ObjectPtr<IValidFile> noBinFilesFound(const char* fileName, IValidator& validator,
                                                  IInvalidFileIterator& invalid,
                                                  IValidFileIterator& valid) = 0;
    virtual ObjectPtr<IValidFile> noSymFilesFound(const char* fileName, const char* binaryFile,
                                                  const char* checksum, IValidator& validator,
                                                  IInvalidFileIterator& invalid,
                                                  IValidFileIterator& valid) = 0;
    virtual ObjectPtr<IValidFile> noSrcFilesFound(const char* fileName, const char* binaryFile,
                                                  const char* checksum, IValidator& validator,
                                                  IInvalidFileIterator& invalid,
                                                  IValidFileIterator& valid) = 0;
};

class FF_EXPORT IConfidenceLevelPolicyCallback : public EventGenerator {
public:
    /// Decides a file the validators left undecided, found in step `value`: 0 accepts
    /// with confidence 1, 1 accepts with confidence 2, 2 rejects.
    virtual unsigned int getConfidenceLevel(search_category_t category, unsigned int value) = 0;
};

/// The four callbacks of one client, held weakly.
struct file_finder_callbacks_t {
    CallbackHolder<ISearchStartedCallback> searchStarted;
    CallbackHolder<IFilesFoundCallback> filesFound;
    CallbackHolder<INoFilesFoundCallback> noFilesFound;
    CallbackHolder<IConfidenceLevelPolicyCallback> confidenceLevelPolicy;
};

}  // namespace FF_2_13
