// The word of each category, for every file, directory and option that names one.
#include "ff_types.h"

namespace FF_2_13 {

const char* categoryWord(search_category_t category) {
    switch (category) {
        case scBinaryFiles:
            return "binaries";
        case scSymbolFiles:
            return "symbols";
        case scSourceFiles:
            return "sources";
        default:
            return "all";
    }
}

bool categoryFromWord(const std::string& word, search_category_t& category) {
    for (search_category_t known : {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles}) {
        if (word == categoryWord(known)) {
            category = known;
            return true;
        }
    }
    return false;
}

}  // namespace FF_2_13
