// File: tarnbase2/tarnbase2.h
//
// The host's configuration library, as far as the file finder uses it: where the
// product keeps per-user data, and the registry of message catalogs.
//
//   const char* dataDir = tarnbase2::IProductLocations::get()->userDataDir();
//   const QORAL_2_18::i18n::catalog_t* common = tarnbase2::getMessageCatalog("file_finder_common");
//
// Two English catalogs stand in the registry from the start:
//   "file_finder_common"  one text per validation failure ("FileDoesNotExist",
//                         "BinChecksumMismatch", ..., "NoDataForSourceFileValidation");
//                         each names its one argument "{arg1}" except "FileIsDirectory",
//                         which takes none;
//   "file_finder.climgr"  "CannotMatchFileWithChecksumMismatch", naming its argument
//                         "{%1}".
// A host replaces them (say, with translations) through registerMessageCatalog() and may
// remove them; placeholder syntax: QORAL_2_18/i18n.h.
//
// Everything here is thread-safe.
#pragma once

#include <string>

#include "QORAL_2_18/i18n.h"

#define TARNBASE_API __attribute__((visibility("default")))

namespace tarnbase2 {

/// Where the product keeps its files. One object per process.
class TARNBASE_API IProductLocations {
public:
    /// The product-locations object of the process; never null.
    static IProductLocations* get();

    /// The per-user data directory: the one set with setUserDataDir(), else
    /// $XDG_DATA_HOME/file_finder2 (when XDG_DATA_HOME is an absolute path), else
    /// $HOME/.local/share/file_finder2, else the system temporary directory. The
    /// directory is named, not created. The text stays valid for the life of the process.
    virtual const char* userDataDir() const = 0;

    /// Makes `dir` the per-user data directory; null restores the default. Texts returned
    /// earlier stay valid.
    static void setUserDataDir(const char* dir);

protected:
    ~IProductLocations() = default;
};

/// The catalog registered under `name`, or null. The catalog stays valid for the life of
/// the process, even after it has been replaced or removed, so a caller may use it
/// without holding anything.
TARNBASE_API const QORAL_2_18::i18n::catalog_t* getMessageCatalog(const std::string& name);

/// Registers `catalog` under `name`, replacing the catalog registered there (which is
/// kept alive; see getMessageCatalog). The registry keeps its own copy.
TARNBASE_API void registerMessageCatalog(const std::string& name,
                                         QORAL_2_18::i18n::catalog_t catalog);

/// Removes the catalog registered under `name`; false when there was none.
TARNBASE_API bool removeMessageCatalog(const std::string& name);

/// Puts the two built-in catalogs back, as at start-up (other names are left alone).
TARNBASE_API void restoreBuiltInMessageCatalogs();

}  // namespace tarnbase2
