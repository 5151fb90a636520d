// The engine of one search: walks the enabled search steps of a strategy one at a time,
// only as far as the caller asks for results, and is the results container into which
// the strategies and the directory finder pour candidates.
//
// next():
//   1. hand out a valid file an earlier step already found, if any is left;
//   2. otherwise run the next step (the strategy offers its candidates through
//      validateAndAdd) and try again; with no step left, return empty.
// validateAndAdd(candidate, step):
//   1. a candidate that does not exist is dropped without a trace in the lists;
//   2. the validator judges it; a rejected compressed kernel image ("vmlinuz...") is
//      replaced by its unpacked "vmlinux" from the KernelImageCache, judged with the
//      same step. With the search options that ask for it, a compressed kernel image or
//      module is unpacked before any judgement, and only the unpacked file is judged;
//      one that cannot be unpacked is rejected with the reason;
//   3. a file already listed under the same canonical name is a duplicate;
//   4. the rest is appended to the valid or the invalid list; only a new valid file
//      answers true, which tells the producer to stop.
//
// One iterator serves one search on one thread; it lives on the stack of the search.
#pragma once

#include <list>

#include "ff_callbacks.h"
#include "ff_search_steps.h"
#include "search/search_interfaces.h"
#include "search/search_options.h"
#include "validation/validator.h"

namespace FF_2_13 {

class IFileSearchStrategy;

class FoundFilesLazyIterator : public IValidFileIterator, public ISearchResultsContainer {
public:
    /// A list-only iterator over one of the lists: it runs no step, and it also sees
    /// files appended after it reached the end.
    template <class T, class I>
    class FilesIterator : public I {
    public:
        explicit FilesIterator(std::list<ObjectPtr<T>>& files) : m_files(&files) {}
        void reset() override { m_hasLast = false; }
        ObjectPtr<T> next() override {
            auto position = m_hasLast ? std::next(m_last) : m_files->begin();
            if (position == m_files->end()) return ObjectPtr<T>();
            m_last = position;
            m_hasLast = true;
            return *position;
        }

    private:
        std::list<ObjectPtr<T>>* m_files;
        typename std::list<ObjectPtr<T>>::iterator m_last;
        bool m_hasLast = false;
    };

    /// `steps`: the enabled steps of the strategy's category, in search order. `options`
    /// are not copied: the search's outlive the iterator.
    FoundFilesLazyIterator(IFileSearchStrategy& strategy, IValidatorInternal& validator,
                           const ObjectPtr<ISearchStepsIterator>& steps,
                           const SearchOptionValues& options = SearchOptionValues::none());
    ~FoundFilesLazyIterator();
    FoundFilesLazyIterator(const FoundFilesLazyIterator&) = delete;
    FoundFilesLazyIterator& operator=(const FoundFilesLazyIterator&) = delete;

    /// Replays the valid files found so far; the steps are not run again.
    void reset() override;
    /// The next valid file, running steps as needed; empty when no step is left.
    ObjectPtr<IValidFile> next() override;
    bool validateAndAdd(const char* fileName, unsigned int searchStep) override;
    /// Only while "*** DO__NOT__EXIST" lines reach someone.
    bool wantsMissingCandidates() const override;
    bool reportsAbsentCandidates() const override { return m_options.observer != nullptr; }
    void candidateAbsent(const char* fileName, unsigned int searchStep) override;
    bool skipsUnlistableDirectories() const override;
    void directorySkipped(const char* path, const char* error) override;

    IInvalidFileIterator& currentlyFoundInvalid() { return m_invalidIterator; }
    /// The valid files found so far, without running further steps.
    IValidFileIterator& currentlyFoundValid() { return m_validIterator; }

private:
    bool runStep(search_step_t step);
    /// Tells the observer, if any, what became of a candidate.
    void tell(const char* fileName, unsigned int searchStep, candidate_outcome_t outcome,
              const char* message = "") const;
    /// The validator's verdict on the candidate, or on the kernel it carries; empty when
    /// the candidate is to be dropped without a trace.
    ObjectPtr<IValidatedFile> judge(const char* fileName, unsigned int searchStep);
    /// True when the options ask for `fileName` to be unpacked before it is judged.
    bool unpacksFirst(const char* fileName) const;
    /// The verdict on what the compressed `fileName` carries, or its rejection with the
    /// reason it could not be unpacked.
    ObjectPtr<IValidatedFile> judgeUnpacked(const char* fileName, unsigned int searchStep);

    IFileSearchStrategy& m_strategy;
    IValidatorInternal& m_validator;
    std::list<ObjectPtr<IValidFile>> m_validFiles;
    std::list<ObjectPtr<IInvalidFile>> m_invalidFiles;
    FilesIterator<IValidFile, IValidFileIterator> m_validIterator;
    FilesIterator<IInvalidFile, IInvalidFileIterator> m_invalidIterator;
    std::list<ObjectPtr<IValidFile>>::iterator m_current;
    ObjectPtr<ISearchStepsIterator> m_steps;
    const SearchOptionValues& m_options;
    bool m_remoteAsked = false;
};

}  // namespace FF_2_13
