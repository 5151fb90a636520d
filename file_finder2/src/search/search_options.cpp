// Search options and the copy a search keeps of them.
#include "search/search_options.h"

namespace FF_2_13 {

ObjectPtr<ISearchOptions> ISearchOptions::create() {
    return ObjectPtr<ISearchOptions>(new BasicSearchOptions());
}

void BasicSearchOptions::setSystemRoot(const char* dir) {
    std::string root = dir ? dir : "";
    // "/" and "/tmp/tree/" name the same roots as "" and "/tmp/tree".
    while (!root.empty() && root.back() == '/') root.pop_back();
    m_values.systemRoot = root;
}

SearchOptionValues SearchOptionValues::of(const ObjectPtr<ISearchOptions>& options) {
    SearchOptionValues values;
    if (!options) return values;
    // Through the interface: a client may hand in options of its own making.
    values.recordedKernelNames = options->recordedKernelNames();
    values.unpackedKernelsOnly = options->unpackedKernelsOnly();
    values.observer = options->observer();
    values.skipUnlistableDirectories = options->skipUnlistableDirectories();
    BasicSearchOptions normalised;
    normalised.setSystemRoot(options->systemRoot());
    values.systemRoot = normalised.values().systemRoot;
    values.remoteSource = options->remoteSource();
    return values;
}

const SearchOptionValues& SearchOptionValues::none() {
    static const SearchOptionValues defaults;
    return defaults;
}

std::string SearchOptionValues::underRoot(const std::string& path) const {
    return systemRoot + path;
}

}  // namespace FF_2_13
