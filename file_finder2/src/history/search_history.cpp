// The search history: one ordered map from (category, request) to the association,
// behind one shared/exclusive spin lock. The six public operations name the category and
// leave the rest to the map.
#include "history/search_history.h"

#include <tuple>

#include "base/log.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kHistory;

// The signature texts of the public operations, by category: bin, sym, src. The
// operations themselves only name the category; the trace is opened where the map is used.
struct Traces {
    const char* add;
    const char* find;
};
constexpr Traces kTraces[] = {
    {"ObjectPtr<IFileAssociation> SearchHistory::addBinFileAssociation(const char*, const char*)",
     "ObjectPtr<IFileAssociation> SearchHistory::findBinFileAssociation(const char*)"},
    {"ObjectPtr<IFileAssociation> SearchHistory::addSymFileAssociation(const char*, "
     "const char*, const char*, const char*)",
     "ObjectPtr<IFileAssociation> SearchHistory::findSymFileAssociation(const char*, "
     "const char*, const char*)"},
    {"ObjectPtr<IFileAssociation> SearchHistory::addSrcFileAssociation(const char*, "
     "const char*, const char*, const char*)",
     "ObjectPtr<IFileAssociation> SearchHistory::findSrcFileAssociation(const char*, "
     "const char*, const char*)"},
};

}  // namespace

SearchHistory::AssociationKey::AssociationKey(const SearchRequest& request)
    : category(request.category),
      fileName(request.fileName ? request.fileName : ""),
      binaryFile(request.binaryFile ? request.binaryFile : ""),
      checksum(request.checksum ? request.checksum : "") {}

bool SearchHistory::AssociationKey::operator<(const AssociationKey& other) const {
    return std::tie(category, fileName, binaryFile, checksum) <
           std::tie(other.category, other.fileName, other.binaryFile, other.checksum);
}

ObjectPtr<ISearchHistory> ISearchHistory::create() {
    return ObjectPtr<ISearchHistory>(new SearchHistory());
}

ObjectPtr<IFileAssociation> SearchHistory::addBinFileAssociation(const char* fileName,
                                                                 const char* resolvedName) {
    return putAssociation({scBinaryFiles, fileName}, resolvedName);
}

ObjectPtr<IFileAssociation> SearchHistory::addSymFileAssociation(const char* fileName,
                                                                 const char* binaryFile,
                                                                 const char* checksum,
                                                                 const char* resolvedName) {
    return putAssociation({scSymbolFiles, fileName, binaryFile, checksum}, resolvedName);
}

ObjectPtr<IFileAssociation> SearchHistory::addSrcFileAssociation(const char* fileName,
                                                                 const char* binaryFile,
                                                                 const char* checksum,
                                                                 const char* resolvedName) {
    return putAssociation({scSourceFiles, fileName, binaryFile, checksum}, resolvedName);
}

void SearchHistory::clear(search_category_t category) {
    FF_TRACE_SCOPE(kLogSource, "void SearchHistory::clear(search_category_t)");
    FFLockWrap exclusive(&m_lock);
    if (category == scAllFiles) {
        m_associations.clear();
    } else if (category == scBinaryFiles || category == scSymbolFiles ||
               category == scSourceFiles) {
        // The keys of one category are one run of the map: from its first possible key to
        // the first of the next category.
        const auto next = static_cast<search_category_t>(category + 1);
        m_associations.erase(m_associations.lower_bound(AssociationKey({category, ""})),
                             m_associations.lower_bound(AssociationKey({next, ""})));
    }
}

ObjectPtr<IFileAssociation> SearchHistory::findBinFileAssociation(const char* fileName) {
    return findAssociation({scBinaryFiles, fileName});
}

ObjectPtr<IFileAssociation> SearchHistory::findSymFileAssociation(const char* fileName,
                                                                  const char* binaryFile,
                                                                  const char* checksum) {
    return findAssociation({scSymbolFiles, fileName, binaryFile, checksum});
}

ObjectPtr<IFileAssociation> SearchHistory::findSrcFileAssociation(const char* fileName,
                                                                  const char* binaryFile,
                                                                  const char* checksum) {
    return findAssociation({scSourceFiles, fileName, binaryFile, checksum});
}

SearchHistory::Snapshot SearchHistory::snapshot() const {
    Snapshot copy;
    std::vector<Entry>* const byCategory[] = {&copy.binaries, &copy.symbols, &copy.sources};
    FFSpinSharedLockWrap reader(&m_lock);
    for (const auto& item : m_associations)
        byCategory[item.first.category - scBinaryFiles]->push_back(
            {item.first, item.second->resolvedName()});
    return copy;
}

ObjectPtr<IFileAssociation> SearchHistory::putAssociation(const SearchRequest& request,
                                                          const char* resolvedName) {
    FF_TRACE_SCOPE(kLogSource, ofCategory(kTraces, request).add);
    const AssociationKey key(request);
    FFLockWrap exclusive(&m_lock);
    ObjectPtr<IFileAssociation> association(new FileAssociation(resolvedName));
    // An equal key already present keeps its place in the map and gets the new value:
    // the older association is released here, though holders of it keep it alive.
    ObjectPtr<IFileAssociation>& stored = m_associations[key];
    stored = association;
    return stored;
}

ObjectPtr<IFileAssociation> SearchHistory::findAssociation(const SearchRequest& request) const {
    FF_TRACE_SCOPE(kLogSource, ofCategory(kTraces, request).find);
    const AssociationKey key(request);
    FFSpinSharedLockWrap reader(&m_lock);
    auto found = m_associations.find(key);
    return found == m_associations.end() ? ObjectPtr<IFileAssociation>() : found->second;
}

}  // namespace FF_2_13
