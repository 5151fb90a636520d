// File: ff_search_steps.h
//
// Which search steps run for a file category. A search walks a fixed sequence of steps;
// a configurator keeps one mask of enabled steps per category, and the iterator it makes
// hands the enabled steps to the search in the library's fixed order:
//
//   ssArchiveSearchDirs (1), ssHighPrioritySearchDirs (2), ssCacheSearchDir (128),
//   ssAbsoluteNameLookup (4), ssAroundBinaryLookup (8), ssLowPrioritySearchDirs (16),
//   ssSystemDirs (32)
//
// ssAskUser (64) is never walked: it marks files the client suggested. Every category
// starts with the mask 63 (steps 1 to 32 on, the cache directory and asking the user off).
//
//   ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
//   steps->setStep(ssCacheSearchDir, scSymbolFiles, true);
//   steps->setStep(ssSystemDirs, scSourceFiles, false);
//   ObjectPtr<ISearchStepsIterator> it = steps->getSearchStepsIterator(scSymbolFiles, 0);
//   search_step_t step;
//   for (it->reset(); it->current(step); it->next())
//       std::cout << dump(step) << "\n";   // ssArchiveSearchDirs, ..., ssCacheSearchDir, ...
//
// A client registers its configurator per context and client id; a search without one
// uses the defaults.
#pragma once

#include <string>

#include "ff_object.h"
#include "ff_types.h"

namespace FF_2_13 {

class ISearchEnv;

/// The enabled steps of one category, fixed when the iterator was made. Not thread-safe.
/// Reading loop: reset(); while current(step) gives true, run the step, next().
class FF_EXPORT ISearchStepsIterator : public IFFObject {
public:
    /// Back to the first step.
    virtual void reset() = 0;
    /// Moves one step on; true when it now stands on a step, false when it moved onto the
    /// end or already was there.
    virtual bool next() = 0;
    /// The step under the cursor; false at the end, with `step` untouched.
    virtual bool current(search_step_t& step) = 0;
};

/// One mask of enabled steps per category (scBinaryFiles, scSymbolFiles, scSourceFiles;
/// scAllFiles has none). Made by create() with every mask at 63. The masks are plain
/// integers without a lock: set a configurator up before it is shared.
class FF_EXPORT ISearchStepsConfigurator : public IFFObject {
public:
    /// A new iterator over the enabled steps of `category`, in the fixed order. The stored
    /// mask of the category decides; `mask` is not looked at. A category without a mask
    /// gives an iterator without steps (and an error line in the log).
    virtual ObjectPtr<ISearchStepsIterator> getSearchStepsIterator(search_category_t category,
                                                                   unsigned long long mask) = 0;
    /// Switches `step` on or off for `category`. `step` is used as a raw bit mask, so
    /// several steps may be passed at once. A category without a mask changes nothing
    /// (and logs an error line).
    virtual void setStep(search_step_t step, search_category_t category, bool enable) = 0;

    static ObjectPtr<ISearchStepsConfigurator> create();
};

/// The step's enumerator name ("ssArchiveSearchDirs", ...), or "Unknown search step" for
/// any value that is not a single step.
FF_EXPORT std::string dump(search_step_t step);

/// Trace text of an environment's search directories for `category`:
/// "[ISearchEnv: searchDirs = /a ( ), /b (Recursive,  HighPriority)]"; each directory is
/// followed by " (Recursive, " or " (", then " HighPriority)" or " )". A null environment
/// gives "[ISearchEnv: searchDirs = NULL pointer]".
FF_EXPORT std::string dump(ObjectPtr<ISearchEnv> env, search_category_t category);

}  // namespace FF_2_13
