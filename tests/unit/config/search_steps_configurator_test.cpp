// The steps configurator: masks per category, the fixed walking order, the error lines of
// unsupported categories, and the trace dumps.
#include "config/search_steps_configurator.h"

#include <gtest/gtest.h>

#include <vector>

#include "ff_searchenv.h"
#include "base/string_container.h"
#include "log_capture.h"

using namespace FF_2_13;

namespace {

std::vector<search_step_t> walk(const ObjectPtr<ISearchStepsIterator>& it) {
    std::vector<search_step_t> steps;
    search_step_t step;
    for (it->reset(); it->current(step); it->next()) steps.push_back(step);
    return steps;
}

const std::vector<search_step_t> kDefaultWalk = {ssArchiveSearchDirs,     ssHighPrioritySearchDirs,
                                                 ssAbsoluteNameLookup,    ssAroundBinaryLookup,
                                                 ssLowPrioritySearchDirs, ssSystemDirs};

bool hasErrorLine(const fftest::LogCapture& log, const std::string& text) {
    return log.hasErrorLine(text, "file_finder2/src/ff_search_steps_config");
}

}  // namespace

TEST(SearchStepsConfigurator, DefaultsWalkTheSixStepsAndIteratorsAreSnapshots) {
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles})
        EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(c, 0))) << c;
    EXPECT_EQ(63u, dynamic_cast<DefaultSearchStepsConfigurator&>(*steps).getSearchStepsMask(
                       scSymbolFiles));
    ObjectPtr<ISearchStepsIterator> before = steps->getSearchStepsIterator(scSourceFiles, 0);
    steps->setStep(static_cast<search_step_t>(63), scSourceFiles, false);
    EXPECT_EQ(kDefaultWalk, walk(before));
    EXPECT_TRUE(walk(steps->getSearchStepsIterator(scSourceFiles, 0)).empty());
}

TEST(SearchStepsConfigurator, CacheStepGoesThirdForItsCategoryOnly) {
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(ssCacheSearchDir, scSymbolFiles, true);
    EXPECT_EQ(
        (std::vector<search_step_t>{ssArchiveSearchDirs, ssHighPrioritySearchDirs, ssCacheSearchDir,
                                    ssAbsoluteNameLookup, ssAroundBinaryLookup,
                                    ssLowPrioritySearchDirs, ssSystemDirs}),
        walk(steps->getSearchStepsIterator(scSymbolFiles, 0)));
    // The stored mask decides, not the mask argument; asking the user changes the mask but
    // never the walk.
    EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(scBinaryFiles, ~0ULL)));
    steps->setStep(ssAskUser, scSourceFiles, true);
    EXPECT_EQ(127u, dynamic_cast<DefaultSearchStepsConfigurator&>(*steps).getSearchStepsMask(
                        scSourceFiles));
    EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(scSourceFiles, 0)));
}

TEST(SearchStepsConfigurator, StepValueIsARawMaskAndHighBitsAreIgnored) {
    DefaultSearchStepsConfigurator steps;
    steps.addRef();
    steps.setStep(static_cast<search_step_t>(ssSystemDirs | ssArchiveSearchDirs), scBinaryFiles,
                  false);
    EXPECT_EQ(30u, steps.getSearchStepsMask(scBinaryFiles));
    EXPECT_EQ(
        (std::vector<search_step_t>{ssHighPrioritySearchDirs, ssCacheSearchDir, ssSystemDirs}),
        walk(steps.getSearchStepsIterator(2 | 128 | 256 | 1024 | 32)));
    EXPECT_TRUE(walk(steps.getSearchStepsIterator(0)).empty());

    // Past the last step: next() and current() answer false, and current() leaves its
    // argument alone.
    ObjectPtr<ISearchStepsIterator> it = steps.getSearchStepsIterator(ssSystemDirs);
    search_step_t step = ssAskUser;
    ASSERT_TRUE(it->current(step));
    EXPECT_EQ(ssSystemDirs, step);
    EXPECT_FALSE(it->next());
    step = ssAskUser;
    EXPECT_FALSE(it->current(step));
    EXPECT_EQ(ssAskUser, step);
    EXPECT_FALSE(it->next());
}

TEST(SearchStepsConfigurator, AllFilesHasNoMaskAndSaysSo) {
    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    EXPECT_TRUE(walk(steps->getSearchStepsIterator(scAllFiles, 63)).empty());
    EXPECT_TRUE(hasErrorLine(log, "Unexpected value.")) << ::testing::PrintToString(log.texts());

    log.clear();
    steps->setStep(ssSystemDirs, scAllFiles, false);
    steps->setStep(ssSystemDirs, static_cast<search_category_t>(0), false);
    EXPECT_EQ(2u, log.count("Unsupported search category"));
    EXPECT_TRUE(hasErrorLine(log, "Unsupported search category"));
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles})
        EXPECT_EQ(kDefaultWalk, walk(steps->getSearchStepsIterator(c, 0)));
}

// The trace dumps, with the blanks of the environment's flags exactly as they come.
TEST(Dump, StepsStringsAndEnvironmentsReadAsTheTraceWritesThem) {
    std::string steps;
    for (unsigned step = 1; step <= 128; step <<= 1)
        steps += dump(static_cast<search_step_t>(step)) + " ";
    StringContainer strings;
    for (const char* s : std::initializer_list<const char*>{"/a b", nullptr, "", "/c"})
        strings.add(s);
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, "/plain", false, false);
    dirs->addDirectory(scBinaryFiles, "/rec", true, false);
    dirs->addDirectory(scBinaryFiles, "/high", false, true);
    dirs->addDirectory(scBinaryFiles, "/both", true, true);
    ObjectPtr<IEditableSearchEnv> empty = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setSearchDirs(dirs);
    const std::pair<std::string, std::string> dumps[] = {
        {steps,
         "ssArchiveSearchDirs ssHighPrioritySearchDirs ssAbsoluteNameLookup ssAroundBinaryLookup "
         "ssLowPrioritySearchDirs ssSystemDirs ssAskUser ssCacheSearchDir "},
        {dump(static_cast<search_step_t>(0)), "Unknown search step"},
        {dump(static_cast<search_step_t>(3)), "Unknown search step"},
        {dump(static_cast<search_step_t>(256)), "Unknown search step"},
        {dump(StringContainer()), "[StringContainer: m_list = ]"},
        {dump(strings), "[StringContainer: m_list = /a b, , /c]"},
        {dump(ObjectPtr<ISearchEnv>(), scBinaryFiles), "[ISearchEnv: searchDirs = NULL pointer]"},
        {dump(empty, scBinaryFiles), "[ISearchEnv: searchDirs = ]"},
        {dump(env, scBinaryFiles),
         "[ISearchEnv: searchDirs = /plain ( ), /rec (Recursive,  ), /high ( HighPriority), "
         "/both (Recursive,  HighPriority)]"},
    };
    for (const auto& [actual, expected] : dumps) EXPECT_EQ(expected, actual);
}
