// loadSearchHistory on arbitrary file contents.
//
// Properties, besides not crashing and not leaking: what loaded survives a round trip.
// The loaded history is saved, the file loaded into a fresh history and saved again;
// both saved files are the same text (the format writes entries in key order, so equal
// histories give equal files).
#include <string>

#include "ff_history.h"
#include "fuzz_support.h"

using FF_2_13::ISearchHistory;
using FF_2_13::ObjectPtr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fffuzz::clearScratch();
    const std::string file = fffuzz::writeScratchFile("history.json", data, size);
    const std::string first = fffuzz::scratchPath("first.json");
    const std::string second = fffuzz::scratchPath("second.json");

    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    (void)FF_2_13::loadSearchHistory(history, file.c_str());  // false for damaged files
    FUZZ_CHECK(FF_2_13::saveSearchHistory(history, first.c_str()), "saving failed");

    ObjectPtr<ISearchHistory> reloaded = ISearchHistory::create();
    FUZZ_CHECK(FF_2_13::loadSearchHistory(reloaded, first.c_str()),
               "a file the library wrote did not load cleanly");
    FUZZ_CHECK(FF_2_13::saveSearchHistory(reloaded, second.c_str()), "saving again failed");
    FUZZ_CHECK(fffuzz::readFile(first) == fffuzz::readFile(second),
               "the history changed in a save and load");
    return 0;
}
