// The category words: one per category both ways, and "all" for every value outside the
// four, where archives keep such files.
#include <gtest/gtest.h>

#include "ff_types.h"

using namespace FF_2_13;

TEST(CategoryWords, EachCategoryHasOneWordAndEveryOtherValueFilesUnderAll) {
    const std::pair<int, const char*> words[] = {{scBinaryFiles, "binaries"},
                                                 {scSymbolFiles, "symbols"},
                                                 {scSourceFiles, "sources"},
                                                 {scAllFiles, "all"},
                                                 {0, "all"},
                                                 {5, "all"},
                                                 {-1, "all"}};
    for (const auto& [value, word] : words)
        EXPECT_STREQ(word, categoryWord(static_cast<search_category_t>(value))) << value;

    for (int value = scBinaryFiles; value <= scAllFiles; ++value) {
        search_category_t category = scAllFiles;
        EXPECT_TRUE(
            categoryFromWord(categoryWord(static_cast<search_category_t>(value)), category));
        EXPECT_EQ(value, category);
    }
    const std::string others[] = {"", "bin", "Binaries", "symbols ", std::string("all\0", 4)};
    for (const std::string& other : others) {
        search_category_t category = scSymbolFiles;
        EXPECT_FALSE(categoryFromWord(other, category)) << other;
        EXPECT_EQ(scSymbolFiles, category);
    }
}
