// The found-files lazy iterator.
#include "search/found_files_lazy_iterator.h"

#include "QORAL_2_18/debug.h"
#include "base/log.h"
#include "ff_utils.h"
#include "files/kernel_module_names.h"
#include "files/kernel_unpacker.h"
#include "platform/posix.h"
#include "search/kernel_image_cache.h"
#include "search/search_strategies.h"
#include "validation/validated_files.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kSearch;
constexpr const char* kImplSource = log_source::kSearchImpl;

// The five marks have one width, so that the trace lines align.
constexpr char kDoesNotExist[] = "*** DO__NOT__EXIST ";
constexpr char kValidDuplicate[] = "*** VALID_DUBLICAT ";
constexpr char kValidAdded[] = "*** VALID____ADDED ";
constexpr char kInvalidDuplicate[] = "*** INVALID_DUBLIC ";
constexpr char kInvalidAdded[] = "*** INVALID__ADDED ";

// Each step's operation of the strategy.
using StepOperation = bool (IFileSearchStrategy::*)(ISearchResultsContainer&);
const std::pair<search_step_t, StepOperation> kStepOperations[] = {
    {ssArchiveSearchDirs, &IFileSearchStrategy::findInArchiveDirs},
    {ssHighPrioritySearchDirs, &IFileSearchStrategy::findInHighPriorityDirs},
    {ssAbsoluteNameLookup, &IFileSearchStrategy::lookUpAbsoluteName},
    {ssAroundBinaryLookup, &IFileSearchStrategy::lookUpAroundBinary},
    {ssLowPrioritySearchDirs, &IFileSearchStrategy::findInLowPriorityDirs},
    {ssSystemDirs, &IFileSearchStrategy::findInSystemDirs},
    {ssCacheSearchDir, &IFileSearchStrategy::findInCacheDir},
};

template <class T>
bool listsName(const std::list<ObjectPtr<T>>& files, const char* name) {
    for (const ObjectPtr<T>& file : files)
        if (utils::compareCanonicalFileNames(file->name(), name) == 0) return true;
    return false;
}

}  // namespace

FoundFilesLazyIterator::FoundFilesLazyIterator(IFileSearchStrategy& strategy,
                                               IValidatorInternal& validator,
                                               const ObjectPtr<ISearchStepsIterator>& steps,
                                               const SearchOptionValues& options)
    : m_strategy(strategy),
      m_validator(validator),
      m_validIterator(m_validFiles),
      m_invalidIterator(m_invalidFiles),
      m_current(m_validFiles.end()),
      m_steps(steps),
      m_options(options) {
    QORAL_ASSERT_AT(m_steps, "Null pointer", kImplSource);
}

FoundFilesLazyIterator::~FoundFilesLazyIterator() = default;

void FoundFilesLazyIterator::reset() {
    m_current = m_validFiles.begin();
}

ObjectPtr<IValidFile> FoundFilesLazyIterator::next() {
    FF_TRACE_SCOPE(kLogSource, "ObjectPtr<IValidFile> FoundFilesLazyIterator::next()");
    if (m_current != m_validFiles.end()) return *m_current++;

    search_step_t step;
    if (!m_steps || !m_steps->current(step)) {
        // The remote source is no configured step: it comes once, after all of them.
        if (m_options.remoteSource && !m_remoteAsked) {
            m_remoteAsked = true;
            m_strategy.findInRemoteSource(*this);
            return next();
        }
        FF_LOG_INFO(kLogSource, "Nothing found");
        return ObjectPtr<IValidFile>();
    }
    if (!runStep(step)) {
        // Asking the user is the front's business, through the callbacks: never a step.
        FF_LOG_ERROR(kLogSource, "Unexpected value.");
        return ObjectPtr<IValidFile>();
    }
    if (m_current != m_validFiles.end())
        FF_LOG_INFO(kLogSource,
                    "Found file: " << (*m_current)->name() << " in step: " << dump(step));
    m_steps->next();
    return next();
}

bool FoundFilesLazyIterator::runStep(search_step_t step) {
    for (const auto& operation : kStepOperations) {
        if (operation.first != step) continue;
        // The step's own answer is not needed: what it found stands in the lists.
        (m_strategy.*operation.second)(*this);
        return true;
    }
    return false;
}

bool FoundFilesLazyIterator::validateAndAdd(const char* fileName, unsigned int searchStep) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool FoundFilesLazyIterator::validateAndAdd(const char*, unsigned int)");
    if (!utils::fileExists(fileName)) {
        FF_LOG_INFO(kLogSource, kDoesNotExist << fileName);
        if (m_options.observer) {
            posix::FileStatus status;
            tell(fileName, searchStep,
                 posix::statFile(fileName, status) ? coNotRegularFile : coAbsent);
        }
        return false;
    }
    ObjectPtr<IValidatedFile> validated = judge(fileName, searchStep);
    if (!validated) {
        tell(fileName, searchStep, coUnreadable);
        return false;
    }

    if (ObjectPtr<IValidFile> valid = validated->validFile()) {
        if (listsName(m_validFiles, valid->name())) {
            FF_LOG_INFO(kLogSource, kValidDuplicate << fileName);
            tell(fileName, searchStep, coDuplicate);
            return false;
        }
        m_validFiles.push_back(valid);
        if (m_current == m_validFiles.end()) m_current = std::prev(m_validFiles.end());
        FF_LOG_INFO(kLogSource, kValidAdded << fileName);
        tell(fileName, searchStep, coAccepted);
        return true;
    }
    ObjectPtr<IInvalidFile> invalid = validated->invalidFile();
    if (listsName(m_invalidFiles, invalid->name())) {
        FF_LOG_INFO(kLogSource, kInvalidDuplicate << fileName);
        tell(fileName, searchStep, coDuplicate);
        return false;
    }
    m_invalidFiles.push_back(invalid);
    FF_LOG_INFO(kLogSource, kInvalidAdded << fileName);
    tell(fileName, searchStep, coRefused, invalid->errorMessage());
    return false;
}

bool FoundFilesLazyIterator::wantsMissingCandidates() const {
    // A missing candidate leaves nothing but its trace and info lines, and trace lines
    // are only written when info lines are too. An observer hears of the ones left out
    // through candidateAbsent.
    return logging::logger().isEnabledFor(log4cplus::INFO_LOG_LEVEL) &&
           logging::linesReachAnAppender();
}

void FoundFilesLazyIterator::candidateAbsent(const char* fileName, unsigned int searchStep) {
    tell(fileName, searchStep, coAbsent);
}

bool FoundFilesLazyIterator::skipsUnlistableDirectories() const {
    return m_options.skipUnlistableDirectories;
}

void FoundFilesLazyIterator::directorySkipped(const char* path, const char* error) {
    FF_LOG_WARN(kLogSource, "Skipped a directory that cannot be listed: " << path << ": " << error);
    if (m_options.observer) m_options.observer->directorySkipped(path, error);
}

void FoundFilesLazyIterator::tell(const char* fileName, unsigned int searchStep,
                                  candidate_outcome_t outcome, const char* message) const {
    if (m_options.observer)
        m_options.observer->candidateSeen(fileName, static_cast<search_step_t>(searchStep & 0xFFFF),
                                          outcome, message ? message : "");
}

ObjectPtr<IValidatedFile> FoundFilesLazyIterator::judge(const char* fileName,
                                                        unsigned int searchStep) {
    if (unpacksFirst(fileName)) return judgeUnpacked(fileName, searchStep);
    ObjectPtr<IValidatedFile> verdict = m_validator.validateInternal(fileName, searchStep);
    if (verdict->validFile() || !KernelImageCache::isCompressedImage(fileName)) return verdict;
    // The unpacked kernel is judged with the step that found the compressed image, so the
    // result says where the kernel came from and the confidence policy is asked about a
    // real step. (An unpacked image has no step of its own; a marker value would reach
    // clients as a step that none of them knows.)
    std::string image;
    switch (KernelImageCache::unpack(fileName, image)) {
        case KernelImageCache::Outcome::unpacked:
            return m_validator.validateInternal(image.c_str(), searchStep);
        case KernelImageCache::Outcome::notUnpacked:
            return verdict;
        case KernelImageCache::Outcome::unhashable:
            break;
    }
    // A compressed image that cannot be hashed cannot be read: dropped like a candidate
    // that does not exist.
    return ObjectPtr<IValidatedFile>();
}

bool FoundFilesLazyIterator::unpacksFirst(const char* fileName) const {
    const bool compressed =
        (m_options.unpackedKernelsOnly && KernelImageCache::isCompressedImage(fileName)) ||
        (m_options.recordedKernelNames && compressedModuleSuffix(fileName) > 0);
    // Some architectures boot an ELF kernel that is named vmlinuz all the same.
    return compressed && !isElfFile(fileName);
}

ObjectPtr<IValidatedFile> FoundFilesLazyIterator::judgeUnpacked(const char* fileName,
                                                                unsigned int searchStep) {
    // A compressed file is of no use to a caller that reads modules: only what it carries
    // is judged, and what cannot be unpacked is turned down with the reason.
    std::string unpacked;
    const KernelUnpackResult result = KernelImageCache::isCompressedImage(fileName)
                                          ? KernelImageCache::unpackAnyFormat(fileName, unpacked)
                                          : KernelImageCache::unpackModule(fileName, unpacked);
    if (result.status == kuUnpacked)
        return m_validator.validateInternal(unpacked.c_str(), searchStep);
    const std::string reason = "cannot be unpacked: " + utils::describeKernelUnpack(result);
    ObjectPtr<IInvalidFile> rejected(new InvalidFile(
        fileName, svHard, reason.c_str(), static_cast<search_step_t>(searchStep & 0xFFFF)));
    return ObjectPtr<IValidatedFile>(new ValidatedFile(*rejected));
}

}  // namespace FF_2_13
