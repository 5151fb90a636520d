// The persistent search directory container loading arbitrary file contents.
//
// Properties, besides not crashing and not leaking:
// - what loaded, once saved and loaded again by a new container, comes back the same;
// - a file that did not load in full is never lost: after the save it stands beside the
//   new file, byte for byte ("<file>.corrupt").
#include <string>

#include "ff_persistent_dirs.h"
#include "fuzz_support.h"
#include "search_dirs_snapshot.h"

using FF_2_13::IPersistentSearchDirContainer;
using FF_2_13::ObjectPtr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fffuzz::clearScratch();
    const std::string file = fffuzz::writeScratchFile("search_dirs.json", data, size);

    fffuzz::DirsSnapshot loaded;
    {
        ObjectPtr<IPersistentSearchDirContainer> dirs =
            IPersistentSearchDirContainer::create(file.c_str());
        FUZZ_CHECK(dirs, "no container for a file name");
        loaded = fffuzz::snapshotOf(*dirs);
        FUZZ_CHECK(dirs->save(), "saving to the scratch directory failed");
    }  // the last handle goes, so the next create() reads the file again

    const std::string original(reinterpret_cast<const char*>(data), size);
    const std::string written = fffuzz::readFile(file);
    if (written != original) {
        // Either the file was damaged and is kept, or it was whole and only re-laid out;
        // in the second case nothing may have been dropped, which the reload shows.
        const std::string kept = fffuzz::readFile(file + ".corrupt");
        FUZZ_CHECK(kept.empty() || kept == original, "the damaged file was not kept whole");
    }

    ObjectPtr<IPersistentSearchDirContainer> again =
        IPersistentSearchDirContainer::create(file.c_str());
    FUZZ_CHECK(fffuzz::snapshotOf(*again) == loaded, "saved directories came back different");
    return 0;
}
