// The category words: one per category both ways, and "all" for every value outside the four,
// where archives keep such files.
#include <gtest/gtest.h>

#include "ff_types.h"

using namespace FF_2_13;

TEST(CategoryWords, EachCategoryHasOneWordAndEveryOtherValueFilesUnderAll) {
    const std::pair<int, const char*> words[] = {{scBinaryFiles, "binaries"},
                                                 {scSymbolFiles, "symbols"},
                                                 {scSourceFiles, "sources"},
                                                 {scAllFiles, "all"},
                                                 {0, "all"},
                                                 {-1, "all"}};
    for (const auto& [value, word] : words) {
        EXPECT_STREQ(word, categoryWord(static_cast<search_category_t>(value))) << value;
        search_category_t category = scSymbolFiles;
        EXPECT_TRUE(categoryFromWord(word, category));
        EXPECT_EQ(value > 0 ? value : scAllFiles, category);
    }
    for (const std::string& other :
         {std::string("bin"), std::string("Binaries"), std::string("all\0", 4)}) {
        search_category_t category = scSymbolFiles;
        EXPECT_FALSE(categoryFromWord(other, category)) << other;
        EXPECT_EQ(scSymbolFiles, category);
    }
}
