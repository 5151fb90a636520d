#include "file_locator.h"

namespace ffcli {

// The file search and the resolution contexts are not part of this build's library
// interface, so no locator can be made.
std::unique_ptr<FileLocator> makeLibraryLocator(const SearchSettings& /*settings*/) {
    return nullptr;
}

}  // namespace ffcli
