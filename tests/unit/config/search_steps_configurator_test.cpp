// The steps configurator: masks per category, the fixed walking order, the error lines of
// unsupported categories, and the trace dumps.
#include "config/search_steps_configurator.h"

#include <gtest/gtest.h>

#include "base/string_container.h"
#include "ff_searchenv.h"
#include "log_capture.h"

using namespace FF_2_13;
using Steps = std::vector<search_step_t>;

namespace {

Steps walk(const ObjectPtr<ISearchStepsIterator>& it) {
    Steps steps;
    search_step_t step;
    for (it->reset(); it->current(step); it->next()) steps.push_back(step);
    return steps;
}

const Steps kDefaultWalk = {ssArchiveSearchDirs,  ssHighPrioritySearchDirs, ssAbsoluteNameLookup,
                            ssAroundBinaryLookup, ssLowPrioritySearchDirs,  ssSystemDirs};

}  // namespace

TEST(SearchStepsConfigurator, StoredMasksDecideTheWalkInItsFixedOrder) {
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    auto& impl = dynamic_cast<DefaultSearchStepsConfigurator&>(*steps);
    ObjectPtr<ISearchStepsIterator> before = steps->getSearchStepsIterator(scSourceFiles, 0);
    steps->setStep(ssCacheSearchDir, scSymbolFiles, true);
    steps->setStep(ssAskUser, scSourceFiles, true);  // in the mask, never in the walk
    steps->setStep(static_cast<search_step_t>(ssSystemDirs | ssArchiveSearchDirs), scBinaryFiles,
                   false);
    EXPECT_EQ(kDefaultWalk, walk(before)) << "an iterator is a snapshot";
    EXPECT_EQ(
        (Steps{ssArchiveSearchDirs, ssHighPrioritySearchDirs, ssCacheSearchDir,
               ssAbsoluteNameLookup, ssAroundBinaryLookup, ssLowPrioritySearchDirs, ssSystemDirs}),
        walk(steps->getSearchStepsIterator(scSymbolFiles, 0)));
    EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(scSourceFiles, ~0ULL)));
    EXPECT_EQ(127u, impl.getSearchStepsMask(scSourceFiles));
    EXPECT_EQ(30u, impl.getSearchStepsMask(scBinaryFiles));  // the step value is a raw mask
    EXPECT_EQ((Steps{ssHighPrioritySearchDirs, ssCacheSearchDir, ssSystemDirs}),
              walk(impl.getSearchStepsIterator(2 | 128 | 256 | 1024 | 32)));

    // Past the last step next() and current() answer false; current() leaves its argument.
    ObjectPtr<ISearchStepsIterator> it = impl.getSearchStepsIterator(ssSystemDirs);
    search_step_t step = ssAskUser;
    EXPECT_TRUE(it->current(step) && step == ssSystemDirs);
    EXPECT_FALSE(it->next());
    step = ssAskUser;
    EXPECT_FALSE(it->current(step) || it->next());
    EXPECT_EQ(ssAskUser, step);
}

TEST(SearchStepsConfigurator, AllFilesHasNoMaskAndSaysSo) {
    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    EXPECT_TRUE(walk(steps->getSearchStepsIterator(scAllFiles, 63)).empty());
    EXPECT_TRUE(log.hasErrorLine("Unexpected value.", "file_finder2/src/ff_search_steps_config"));
    steps->setStep(ssSystemDirs, scAllFiles, false);
    steps->setStep(ssSystemDirs, static_cast<search_category_t>(0), false);
    EXPECT_EQ(2u, log.count("Unsupported search category"));
    EXPECT_TRUE(
        log.hasErrorLine("Unsupported search category", "file_finder2/src/ff_search_steps_config"));
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles})
        EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(c, 0)));
}

// The trace dumps, with the blanks of the environment's flags exactly as they come.
TEST(Dump, StepsStringsAndEnvironmentsReadAsTheTraceWritesThem) {
    std::string steps;
    for (unsigned step : {0u, 1u, 2u, 3u, 4u, 8u, 16u, 32u, 64u, 128u, 256u})
        steps += dump(static_cast<search_step_t>(step)) + ",";
    EXPECT_EQ(
        "Unknown search step,ssArchiveSearchDirs,ssHighPrioritySearchDirs,Unknown search step,"
        "ssAbsoluteNameLookup,ssAroundBinaryLookup,ssLowPrioritySearchDirs,ssSystemDirs,"
        "ssAskUser,ssCacheSearchDir,Unknown search step,",
        steps);
    StringContainer strings;
    for (const char* s : {"/a b", static_cast<const char*>(nullptr), "", "/c"}) strings.add(s);
    EXPECT_EQ("[StringContainer: m_list = /a b, , /c]", dump(strings));
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (int flags = 0; flags < 4; ++flags)
        dirs->addDirectory(scBinaryFiles, ("/" + std::to_string(flags)).c_str(), flags & 1,
                           flags & 2);
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    EXPECT_EQ("[ISearchEnv: searchDirs = ]", dump(env, scBinaryFiles));
    env->setSearchDirs(dirs);
    EXPECT_EQ(
        "[ISearchEnv: searchDirs = /0 ( ), /1 (Recursive,  ), /2 ( HighPriority), "
        "/3 (Recursive,  HighPriority)]",
        dump(env, scBinaryFiles));
    EXPECT_EQ("[ISearchEnv: searchDirs = NULL pointer]",
              dump(ObjectPtr<ISearchEnv>(), scBinaryFiles));
}
