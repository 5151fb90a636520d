// The search history: three ordered maps behind one shared/exclusive spin lock.
#include <tuple>

#include "history/search_history.h"
#include "base/log.h"

namespace FF_2_13 {

namespace {
constexpr const char* kLogSource = log_source::kHistory;

void appendEntries(const std::map<SearchHistory::AssociationKey, ObjectPtr<IFileAssociation>>& map,
                   std::vector<SearchHistory::Entry>& entries) {
    entries.reserve(map.size());
    for (const auto& item : map) entries.push_back({item.first, item.second->resolvedName()});
}
}  // namespace

SearchHistory::AssociationKey::AssociationKey(const char* fileName, const char* binaryFile,
                                              const char* checksum)
    : fileName(fileName ? fileName : ""),
      binaryFile(binaryFile ? binaryFile : ""),
      checksum(checksum ? checksum : "") {}

bool SearchHistory::AssociationKey::operator<(const AssociationKey& other) const {
    return std::tie(fileName, binaryFile, checksum) <
           std::tie(other.fileName, other.binaryFile, other.checksum);
}

ObjectPtr<ISearchHistory> ISearchHistory::create() {
    return ObjectPtr<ISearchHistory>(new SearchHistory());
}

ObjectPtr<IFileAssociation> SearchHistory::addBinFileAssociation(const char* fileName,
                                                                 const char* resolvedName) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileAssociation> SearchHistory::addBinFileAssociation(char const*, "
                   "char const*)");
    return putAssociation(m_binAssociations, AssociationKey(fileName, nullptr, nullptr),
                          resolvedName);
}

ObjectPtr<IFileAssociation> SearchHistory::addSymFileAssociation(const char* fileName,
                                                                 const char* binaryFile,
                                                                 const char* checksum,
                                                                 const char* resolvedName) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileAssociation> SearchHistory::addSymFileAssociation(char const*, "
                   "char const*, char const*, char const*)");
    return putAssociation(m_symAssociations, AssociationKey(fileName, binaryFile, checksum),
                          resolvedName);
}

ObjectPtr<IFileAssociation> SearchHistory::addSrcFileAssociation(const char* fileName,
                                                                 const char* binaryFile,
                                                                 const char* checksum,
                                                                 const char* resolvedName) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileAssociation> SearchHistory::addSrcFileAssociation(char const*, "
                   "char const*, char const*, char const*)");
    return putAssociation(m_srcAssociations, AssociationKey(fileName, binaryFile, checksum),
                          resolvedName);
}

void SearchHistory::clear(search_category_t category) {
    FF_TRACE_SCOPE(kLogSource, "void SearchHistory::clear(search_category_t)");
    FFLockWrap exclusive(&m_lock);
    switch (category) {
        case scBinaryFiles:
            m_binAssociations.clear();
            break;
        case scSymbolFiles:
            m_symAssociations.clear();
            break;
        case scSourceFiles:
            m_srcAssociations.clear();
            break;
        case scAllFiles:
            m_binAssociations.clear();
            m_symAssociations.clear();
            m_srcAssociations.clear();
            break;
    }
}

ObjectPtr<IFileAssociation> SearchHistory::findBinFileAssociation(const char* fileName) {
    FF_TRACE_SCOPE(
        kLogSource,
        "ObjectPtr<IFileAssociation> SearchHistory::findBinFileAssociation(char const*)");
    return findAssociation(m_binAssociations, AssociationKey(fileName, nullptr, nullptr));
}

ObjectPtr<IFileAssociation> SearchHistory::findSymFileAssociation(const char* fileName,
                                                                  const char* binaryFile,
                                                                  const char* checksum) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileAssociation> SearchHistory::findSymFileAssociation(char const*, "
                   "char const*, char const*)");
    return findAssociation(m_symAssociations, AssociationKey(fileName, binaryFile, checksum));
}

ObjectPtr<IFileAssociation> SearchHistory::findSrcFileAssociation(const char* fileName,
                                                                  const char* binaryFile,
                                                                  const char* checksum) {
    FF_TRACE_SCOPE(kLogSource,
                   "ObjectPtr<IFileAssociation> SearchHistory::findSrcFileAssociation(char const*, "
                   "char const*, char const*)");
    return findAssociation(m_srcAssociations, AssociationKey(fileName, binaryFile, checksum));
}

SearchHistory::Snapshot SearchHistory::snapshot() const {
    Snapshot copy;
    FFSpinSharedLockWrap reader(&m_lock);
    appendEntries(m_binAssociations, copy.binaries);
    appendEntries(m_symAssociations, copy.symbols);
    appendEntries(m_srcAssociations, copy.sources);
    return copy;
}

ObjectPtr<IFileAssociation> SearchHistory::putAssociation(AssociationMap& map,
                                                          const AssociationKey& key,
                                                          const char* resolvedName) {
    FFLockWrap exclusive(&m_lock);
    ObjectPtr<IFileAssociation> association(new FileAssociation(resolvedName));
    // An equal key already present keeps its place in the map and gets the new value:
    // the older association is released here, though holders of it keep it alive.
    ObjectPtr<IFileAssociation>& stored = map[key];
    stored = association;
    return stored;
}

ObjectPtr<IFileAssociation> SearchHistory::findAssociation(const AssociationMap& map,
                                                           const AssociationKey& key) const {
    FFSpinSharedLockWrap reader(&m_lock);
    auto found = map.find(key);
    return found == map.end() ? ObjectPtr<IFileAssociation>() : found->second;
}

}  // namespace FF_2_13
