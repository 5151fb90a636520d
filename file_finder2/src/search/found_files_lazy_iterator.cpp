// The found-files lazy iterator.
#include <boost/filesystem/operations.hpp>

#include "QORAL_2_18/debug.h"
#include "ff_checksum.h"
#include "search/found_files_lazy_iterator.h"
#include "ff_kernel_image.h"
#include "base/log.h"
#include "search/search_strategies.h"
#include "ff_utils.h"
#include "tarnbase2/tarnbase2.h"

namespace FF_2_13 {

namespace {

constexpr const char* kLogSource = log_source::kSearch;
constexpr const char* kImplSource = log_source::kSearchImpl;
constexpr char kKernelImageCache[] = "vmlinux_cache";

// The five marks have one width, so that the trace lines align.
constexpr char kDoesNotExist[] = "*** DO__NOT__EXIST ";
constexpr char kValidDuplicate[] = "*** VALID_DUBLICAT ";
constexpr char kValidAdded[] = "*** VALID____ADDED ";
constexpr char kInvalidDuplicate[] = "*** INVALID_DUBLIC ";
constexpr char kInvalidAdded[] = "*** INVALID__ADDED ";

template <class T>
bool listsName(const std::list<ObjectPtr<T>>& files, const char* name) {
    for (const ObjectPtr<T>& file : files)
        if (utils::compareCanonicalFileNames(file->name(), name) == 0) return true;
    return false;
}

}  // namespace

FoundFilesLazyIterator::FoundFilesLazyIterator(IFileSearchStrategy& strategy,
                                               IValidatorInternal& validator,
                                               unsigned long long stepsMask)
    : m_strategy(strategy),
      m_validator(validator),
      m_validIterator(m_validFiles),
      m_invalidIterator(m_invalidFiles),
      m_current(m_validFiles.end()),
      m_steps(strategy.getSearchStepsIterator(stepsMask)) {
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
    // The step's own answer is not needed: what it found stands in the lists.
    switch (step) {
        case ssArchiveSearchDirs:
            m_strategy.findInArchiveDirs(*this);
            return true;
        case ssHighPrioritySearchDirs:
            m_strategy.findInHighPriorityDirs(*this);
            return true;
        case ssAbsoluteNameLookup:
            m_strategy.lookUpAbsoluteName(*this);
            return true;
        case ssAroundBinaryLookup:
            m_strategy.lookUpAroundBinary(*this);
            return true;
        case ssLowPrioritySearchDirs:
            m_strategy.findInLowPriorityDirs(*this);
            return true;
        case ssSystemDirs:
            m_strategy.findInSystemDirs(*this);
            return true;
        case ssCacheSearchDir:
            m_strategy.findInCacheDir(*this);
            return true;
        default:
            return false;
    }
}

bool FoundFilesLazyIterator::validateAndAdd(const char* fileName, unsigned int searchStep) {
    FF_TRACE_SCOPE(kLogSource,
                   "bool FoundFilesLazyIterator::validateAndAdd(const char*, unsigned int)");
    if (!utils::fileExists(fileName)) {
        FF_LOG_INFO(kLogSource, kDoesNotExist << fileName);
        return false;
    }
    ObjectPtr<IValidatedFile> validated = m_validator.validateInternal(fileName, searchStep);
    if (!validated->validFile() && utils::getFileNameOnly(fileName).compare(
                                       0, std::char_traits<char>::length(VMLINUZ), VMLINUZ) == 0) {
        validated = validateKernelImage(fileName, searchStep, validated);
        if (!validated) return false;
    }

    if (ObjectPtr<IValidFile> valid = validated->validFile()) {
        if (listsName(m_validFiles, valid->name())) {
            FF_LOG_INFO(kLogSource, kValidDuplicate << fileName);
            return false;
        }
        m_validFiles.push_back(valid);
        if (m_current == m_validFiles.end()) m_current = std::prev(m_validFiles.end());
        FF_LOG_INFO(kLogSource, kValidAdded << fileName);
        return true;
    }
    ObjectPtr<IInvalidFile> invalid = validated->invalidFile();
    if (listsName(m_invalidFiles, invalid->name())) {
        FF_LOG_INFO(kLogSource, kInvalidDuplicate << fileName);
        return false;
    }
    m_invalidFiles.push_back(invalid);
    FF_LOG_INFO(kLogSource, kInvalidAdded << fileName);
    return false;
}

// A compressed kernel image is no module to symbolise: unpack the kernel once per user
// and per checksum into <user data>/vmlinux_cache/<md5>/vmlinux and judge that instead.
//
// The unpacked image is validated with the step that found the compressed one, so the
// result says where the kernel came from and the confidence policy is asked about a real
// step. (An unpacked image has no step of its own; a marker value such as 256 would
// reach clients as a step that none of them knows.)
ObjectPtr<IValidatedFile> FoundFilesLazyIterator::validateKernelImage(
    const char* fileName, unsigned int searchStep, const ObjectPtr<IValidatedFile>& verdict) {
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    if (!calculator) return ObjectPtr<IValidatedFile>();
    ObjectPtr<IChecksum> checksum = calculator->calculateChecksum(fileName, ctMD5);
    if (!checksum) return ObjectPtr<IValidatedFile>();

    const char* userData = tarnbase2::IProductLocations::get()->userDataDir();
    const std::string cacheRoot = utils::addSubPart(userData, kKernelImageCache);
    const std::string imageDir = utils::addSubPart(cacheRoot.c_str(), checksum->value());
    const std::string image = utils::addSubPart(imageDir.c_str(), VMLINUX);
    if (!utils::fileExists(image.c_str())) {
        boost::system::error_code ignored;  // a data directory that cannot be made shows below
        boost::filesystem::create_directories(userData, ignored);
        utils::createDir(cacheRoot.c_str());
        utils::createDir(imageDir.c_str());
        utils::extractVmlinux(fileName, image.c_str());
    }
    if (!utils::fileExists(image.c_str())) return verdict;  // not a kernel image after all
    return m_validator.validateInternal(image.c_str(), searchStep);
}

}  // namespace FF_2_13
