// The narrow interfaces between the producers of candidate paths (the search strategies
// and the directory finder) and the consumer that validates them (the lazy iterator).
//
// None of them is reference counted and none is ever deleted through the interface: the
// objects behind them live on the stack of one search, and the protected destructors say
// so. Every call happens on the searching thread, synchronously.
#pragma once

#include <string>

namespace FF_2_13 {

/// Takes every candidate path a producer composes. Implemented by the lazy iterator,
/// which validates the candidate once, drops a duplicate, and files it as valid or
/// invalid; producers never check a candidate themselves.
class ISearchResultsContainer {
  public:
    /// `fileName` is the candidate path; `searchStep` the search_step_t value of the step
    /// that produced it. True means: stop searching now (nothing more is wanted).
    virtual bool validateAndAdd(const char* fileName, unsigned int searchStep) = 0;

  protected:
    ~ISearchResultsContainer() = default;
};

/// Lets a strategy fill a directory finder (or anything else that collects search
/// directories) without knowing what it is.
class ISearchDirectoryContainer {
  public:
    /// Adds `name` as given (no normalisation, no check that it exists); duplicates and
    /// empty names are kept. `recursive`: sub-directories are searched too.
    virtual void addSearchDirectory(const char* name, bool recursive) = 0;

  protected:
    ~ISearchDirectoryContainer() = default;
};

/// Lets the owner of a directory finder take over the search of one directory.
class ISearchDirectoryFindCallback {
  public:
    /// Called for each search directory before the finder searches it itself. True: stop
    /// the whole search (as the results container's true does). False with `skip` set:
    /// the finder leaves this directory alone and goes on with the next. False with
    /// `skip` left false: the finder searches the directory as usual.
    virtual bool find(const std::string& dir, bool recursive, const std::string& fileName,
                      ISearchResultsContainer& results, bool& skip) = 0;

  protected:
    ~ISearchDirectoryFindCallback() = default;
};

}  // namespace FF_2_13
