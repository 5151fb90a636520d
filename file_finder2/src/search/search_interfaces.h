// The narrow interfaces between the producers of candidate paths (the search strategies
// and the directory finder) and the consumer that validates them (the lazy iterator).
//
// None of them is reference counted and none is ever deleted through the interface: the
// objects behind them live on the stack of one search, and the protected destructors say
// so. Every call happens on the searching thread, synchronously.
#pragma once

namespace FF_2_13 {

/// Takes every candidate path a producer composes. Implemented by the lazy iterator,
/// which validates the candidate once, drops a duplicate, and files it as valid or
/// invalid; producers never validate a candidate themselves.
class ISearchResultsContainer {
public:
    /// `fileName` is the candidate path; `searchStep` the search_step_t value of the step
    /// that produced it. True means: stop searching now (nothing more is wanted).
    virtual bool validateAndAdd(const char* fileName, unsigned int searchStep) = 0;
    /// Whether a candidate that is not an existing regular file must still be offered.
    /// The lazy iterator records nothing for one, and wants it only while it logs what
    /// it is offered; otherwise a producer that already knows that a candidate is missing
    /// (its directory's listing lacks the name) may leave it out and spare the container
    /// a look-up by full name. A container that says nothing gets every candidate.
    virtual bool wantsMissingCandidates() const { return true; }
    /// Whether a producer that leaves out a missing candidate should still name it
    /// (candidateAbsent): for a container that reports what was looked at without looking
    /// each name up again.
    virtual bool reportsAbsentCandidates() const { return false; }
    virtual void candidateAbsent(const char* /*fileName*/, unsigned int /*searchStep*/) {}
    /// Whether a directory that cannot be listed is to be skipped (directorySkipped) rather
    /// than end the search with the file-system error.
    virtual bool skipsUnlistableDirectories() const { return false; }
    virtual void directorySkipped(const char* /*path*/, const char* /*error*/) {}

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

}  // namespace FF_2_13
