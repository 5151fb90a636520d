// The search history's concrete classes: the one map behind ISearchHistory, keyed on the
// category and the names of a request, and the immutable associations it holds.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "ff_history.h"
#include "ff_lock.h"
#include "search/search_request.h"

namespace FF_2_13 {

class FileAssociation : public RefCountImpl<IFileAssociation> {
public:
    /// A null name is kept as "": a search remembered as failed.
    explicit FileAssociation(const char* resolvedName)
        : m_resolvedName(resolvedName ? resolvedName : "") {}
    const char* resolvedName() const override { return m_resolvedName.c_str(); }

private:
    const std::string m_resolvedName;
};

class SearchHistory : public RefCountImpl<ISearchHistory> {
public:
    /// The category and names of one request. Binary requests leave binaryFile and
    /// checksum empty.
    struct AssociationKey {
        /// Null names are stored as "", so a null and an empty name are one key.
        explicit AssociationKey(const SearchRequest& request);

        /// Lexicographic over category, fileName, binaryFile, checksum, the names each
        /// compared as plain std::string (bytes, case-sensitive, shorter first on a
        /// common prefix).
        bool operator<(const AssociationKey& other) const;

        search_category_t category;
        std::string fileName;
        std::string binaryFile;
        std::string checksum;
    };

    /// One association as save reads it: the key and the resolved name.
    struct Entry {
        AssociationKey key;
        std::string resolvedName;
    };

    /// Copies of the associations of each category, in key order.
    struct Snapshot {
        std::vector<Entry> binaries;
        std::vector<Entry> symbols;
        std::vector<Entry> sources;
    };

    ObjectPtr<IFileAssociation> addBinFileAssociation(const char* fileName,
                                                      const char* resolvedName) override;
    ObjectPtr<IFileAssociation> addSymFileAssociation(const char* fileName, const char* binaryFile,
                                                      const char* checksum,
                                                      const char* resolvedName) override;
    ObjectPtr<IFileAssociation> addSrcFileAssociation(const char* fileName, const char* binaryFile,
                                                      const char* checksum,
                                                      const char* resolvedName) override;
    void clear(search_category_t category) override;
    ObjectPtr<IFileAssociation> findBinFileAssociation(const char* fileName) override;
    ObjectPtr<IFileAssociation> findSymFileAssociation(const char* fileName, const char* binaryFile,
                                                       const char* checksum) override;
    ObjectPtr<IFileAssociation> findSrcFileAssociation(const char* fileName, const char* binaryFile,
                                                       const char* checksum) override;

    /// Every association, copied at one moment under the shared lock.
    Snapshot snapshot() const;

private:
    using AssociationMap = std::map<AssociationKey, ObjectPtr<IFileAssociation>>;

    ObjectPtr<IFileAssociation> putAssociation(const SearchRequest& request,
                                               const char* resolvedName);
    ObjectPtr<IFileAssociation> findAssociation(const SearchRequest& request) const;

    AssociationMap m_associations;
    // Guards the map: shared for lookups and snapshots, exclusive for changes.
    mutable FFSpinSharedLock m_lock;
};

}  // namespace FF_2_13
