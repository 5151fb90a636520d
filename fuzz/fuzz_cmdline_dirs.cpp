// The command-line parser of search directories on arbitrary text.
//
// Properties, besides not crashing:
// - a parse that fails leaves the container untouched and says why;
// - a parse that succeeds round-trips: the container rendered and parsed again into a
//   new container gives the same directories, and renders to the same text;
// - the single-value parser agrees with formatSearchDirValue on every record.
#include <string>

#include "ff_cmdline_dirs.h"
#include "fuzz_support.h"
#include "search_dirs_snapshot.h"

using FF_2_13::IEditableSearchDirContainer;
using FF_2_13::ObjectPtr;
namespace cmdline = FF_2_13::cmdline;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Command-line text is a C string: it ends at the first NUL.
    const std::string text(reinterpret_cast<const char*>(data), size);

    ObjectPtr<IEditableSearchDirContainer> parsed = IEditableSearchDirContainer::create();
    std::string error;
    if (!cmdline::parseSearchDirs(text.c_str(), *parsed, error)) {
        FUZZ_CHECK(!error.empty(), "a failed parse without a message");
        FUZZ_CHECK(fffuzz::snapshotOf(*parsed) == fffuzz::DirsSnapshot{},
                   "a failed parse changed the container");
        // The same text as one option value: either parser may refuse it, neither crashes.
        (void)cmdline::parseSearchDirValue(text.c_str(), *parsed, error);
        return 0;
    }

    const fffuzz::DirsSnapshot first = fffuzz::snapshotOf(*parsed);
    const std::string rendered = cmdline::renderSearchDirs(*parsed);
    ObjectPtr<IEditableSearchDirContainer> again = IEditableSearchDirContainer::create();
    FUZZ_CHECK(cmdline::parseSearchDirs(rendered.c_str(), *again, error),
               "rendered text does not parse");
    FUZZ_CHECK(fffuzz::snapshotOf(*again) == first, "directories changed in the round trip");
    FUZZ_CHECK(cmdline::renderSearchDirs(*again) == rendered, "rendering is not stable");

    ObjectPtr<IEditableSearchDirContainer> byValue = IEditableSearchDirContainer::create();
    for (int c = 0; c < 4; ++c) {
        for (const fffuzz::DirRecord& record : first[c]) {
            const std::string value = cmdline::formatSearchDirValue(
                static_cast<FF_2_13::search_category_t>(c + 1), record.name.c_str(),
                record.recursive, record.highPriority);
            FUZZ_CHECK(cmdline::parseSearchDirValue(value.c_str(), *byValue, error),
                       "a formatted value does not parse");
        }
    }
    FUZZ_CHECK(fffuzz::snapshotOf(*byValue) == first, "value round trip changed directories");
    return 0;
}
