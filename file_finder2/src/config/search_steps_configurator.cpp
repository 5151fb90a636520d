// Search steps: the default configurator, the steps iterator with the fixed walking
// order, and the text dumps used in trace output.
#include "config/search_steps_configurator.h"

#include "base/log.h"
#include "base/string_container.h"
#include "ff_searchenv.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kSearchStepsConfig;

// Archive directories come first and the client's high-priority directories next; the
// cache directory is looked at before the name as recorded. ssAskUser (64) is not here:
// asking the user is not a step the iterator drives.
constexpr search_step_t kWalkingOrder[] = {
    ssArchiveSearchDirs,  ssHighPrioritySearchDirs, ssCacheSearchDir, ssAbsoluteNameLookup,
    ssAroundBinaryLookup, ssLowPrioritySearchDirs,  ssSystemDirs,
};
}  // namespace

// ---- DefaultSearchStepsIterator --------------------------------------------------------

DefaultSearchStepsIterator::DefaultSearchStepsIterator(int mask) {
    const unsigned bits = static_cast<unsigned>(mask);
    m_steps.reserve(sizeof kWalkingOrder / sizeof kWalkingOrder[0]);  // one per search
    for (search_step_t step : kWalkingOrder)
        if (bits & step) m_steps.push_back(step);
    reset();
}

void DefaultSearchStepsIterator::reset() {
    m_cursor = 0;
}

bool DefaultSearchStepsIterator::next() {
    if (m_cursor >= m_steps.size()) return false;
    ++m_cursor;
    return m_cursor < m_steps.size();
}

bool DefaultSearchStepsIterator::current(search_step_t& step) {
    if (m_cursor >= m_steps.size()) return false;
    step = m_steps[m_cursor];
    return true;
}

// ---- DefaultSearchStepsConfigurator ----------------------------------------------------

ObjectPtr<ISearchStepsConfigurator> ISearchStepsConfigurator::create() {
    return ObjectPtr<ISearchStepsConfigurator>(new DefaultSearchStepsConfigurator());
}

unsigned DefaultSearchStepsConfigurator::getSearchStepsMask(search_category_t category) const {
    switch (category) {
        case scBinaryFiles:
            return m_binaryMask;
        case scSymbolFiles:
            return m_symbolMask;
        case scSourceFiles:
            return m_sourceMask;
        default:
            FF_LOG_ERROR(kLogSource, "Unexpected value.");
            return 0;
    }
}

uint32_t* DefaultSearchStepsConfigurator::maskOf(search_category_t category) {
    switch (category) {
        case scBinaryFiles:
            return &m_binaryMask;
        case scSymbolFiles:
            return &m_symbolMask;
        case scSourceFiles:
            return &m_sourceMask;
        default:
            return nullptr;
    }
}

void DefaultSearchStepsConfigurator::setStep(search_step_t step, search_category_t category,
                                             bool enable) {
    FF_TRACE_SCOPE(kLogSource,
                   "void DefaultSearchStepsConfigurator::setStep(search_step_t, "
                   "search_category_t, bool)");
    uint32_t* mask = maskOf(category);
    if (!mask) {
        FF_LOG_ERROR(kLogSource, "Unsupported search category");
        return;
    }
    if (enable)
        *mask |= step;
    else
        *mask &= ~static_cast<uint32_t>(step);
}

ObjectPtr<ISearchStepsIterator> DefaultSearchStepsConfigurator::getSearchStepsIterator(
    search_category_t category, unsigned long long /*mask*/) {
    FF_TRACE_SCOPE(
        kLogSource,
        "ObjectPtr<ISearchStepsIterator> DefaultSearchStepsConfigurator::getSearchStepsIterator("
        "search_category_t, unsigned long long)");
    // The stored mask of the category decides; the caller's mask is not consulted.
    return getSearchStepsIterator(static_cast<int>(getSearchStepsMask(category)));
}

ObjectPtr<ISearchStepsIterator> DefaultSearchStepsConfigurator::getSearchStepsIterator(int mask) {
    return ObjectPtr<ISearchStepsIterator>(new DefaultSearchStepsIterator(mask));
}

// ---- Dumps -----------------------------------------------------------------------------

std::string dump(search_step_t step) {
    switch (step) {
        case ssArchiveSearchDirs:
            return "ssArchiveSearchDirs";
        case ssHighPrioritySearchDirs:
            return "ssHighPrioritySearchDirs";
        case ssAbsoluteNameLookup:
            return "ssAbsoluteNameLookup";
        case ssAroundBinaryLookup:
            return "ssAroundBinaryLookup";
        case ssLowPrioritySearchDirs:
            return "ssLowPrioritySearchDirs";
        case ssSystemDirs:
            return "ssSystemDirs";
        case ssAskUser:
            return "ssAskUser";
        case ssCacheSearchDir:
            return "ssCacheSearchDir";
        case ssRemoteSource:
            break;  // no configurable step: its traces read as they always have
    }
    return "Unknown search step";
}

std::string dump(const StringContainer& strings) {
    std::string text = "[StringContainer: m_list = ";
    const char* separator = "";
    for (const std::string& s : strings.m_list) {
        text += separator;
        text += s;
        separator = ", ";
    }
    return text + "]";
}

std::string dump(ObjectPtr<ISearchEnv> env, search_category_t category) {
    std::string text = "[ISearchEnv: searchDirs = ";
    if (!env) return text + "NULL pointer]";
    ObjectPtr<ISearchDirIterator> it = env->searchDirs(category);
    if (it) {
        const char* name = nullptr;
        bool recursive = false;
        bool highPriority = false;
        const char* separator = "";
        for (it->reset(); it->getCurrentRecord(name, recursive, highPriority); it->next()) {
            // The pieces join as they are: "/a ( )", "/b (Recursive,  )",
            // "/c ( HighPriority)", "/d (Recursive,  HighPriority)".
            text += separator;
            text += name;
            text += recursive ? " (Recursive, " : " (";
            text += highPriority ? " HighPriority)" : " )";
            separator = ", ";
        }
    }
    return text + "]";
}

}  // namespace FF_2_13
