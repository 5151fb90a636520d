// File: ff_history.h
//
// The search history: per file category, the file a request was last resolved to. The
// default callbacks consult it when a search starts and update it when a search ends, so
// that a name once resolved resolves the same way again. A client gets one from
// ISearchHistory::create() (or from its search manipulator) and may keep it across runs
// with saveSearchHistory() / loadSearchHistory().
//
//   ObjectPtr<ISearchHistory> history = ISearchHistory::create();
//   loadSearchHistory(history, "/home/me/.app/history.json");   // missing file: empty
//   history->addBinFileAssociation("libx.so", "/opt/app/lib/libx.so");
//   ObjectPtr<IFileAssociation> a = history->findBinFileAssociation("libx.so");
//   // a->resolvedName() == "/opt/app/lib/libx.so"
//   saveSearchHistory(history, "/home/me/.app/history.json");
#pragma once

#include "ff_object.h"
#include "ff_types.h"

namespace FF_2_13 {

/// One remembered resolution: the name of the file a request resolved to. Made by the
/// history, shared through ObjectPtr and immutable, so a reference taken earlier keeps
/// reporting its name after the history replaced or cleared it. Thread-safe.
class FF_EXPORT IFileAssociation : public IFFObject {
  public:
    /// The resolved file name; the empty string for a request remembered as failed.
    /// Valid as long as the association lives.
    virtual const char* resolvedName() const = 0;
};

/// Three maps, one per category, from the names of a request to its association:
/// - binaries: the requested file name;
/// - symbol files and source files: the requested file name, the binary it belongs to
///   and the expected checksum, all three compared.
/// Names compare byte by byte and case-sensitively, with no path canonicalisation
/// ("lib.so" and "./lib.so" are two requests). A null name is the same as "".
///
/// Made by create(); shared by every holder of an ObjectPtr. All operations are
/// thread-safe: lookups run side by side, changes one at a time.
class FF_EXPORT ISearchHistory : public IFFObject {
  public:
    /// Remembers `resolvedName` for the request, replacing what was remembered for it;
    /// returns the new association. A null resolvedName is remembered as "".
    virtual ObjectPtr<IFileAssociation> addBinFileAssociation(const char* fileName,
                                                              const char* resolvedName) = 0;
    virtual ObjectPtr<IFileAssociation> addSymFileAssociation(const char* fileName,
                                                              const char* binaryFile,
                                                              const char* checksum,
                                                              const char* resolvedName) = 0;
    virtual ObjectPtr<IFileAssociation> addSrcFileAssociation(const char* fileName,
                                                              const char* binaryFile,
                                                              const char* checksum,
                                                              const char* resolvedName) = 0;
    /// Forgets one category (scBinaryFiles, scSymbolFiles, scSourceFiles) or all three
    /// (scAllFiles); any other value changes nothing.
    virtual void clear(search_category_t category) = 0;
    /// The association remembered for the request, or an empty pointer.
    virtual ObjectPtr<IFileAssociation> findBinFileAssociation(const char* fileName) = 0;
    virtual ObjectPtr<IFileAssociation> findSymFileAssociation(const char* fileName,
                                                               const char* binaryFile,
                                                               const char* checksum) = 0;
    virtual ObjectPtr<IFileAssociation> findSrcFileAssociation(const char* fileName,
                                                               const char* binaryFile,
                                                               const char* checksum) = 0;

    /// A new, empty history.
    static ObjectPtr<ISearchHistory> create();
};

// Keeping a history across runs.
//
// The file is JSON (UTF-8), one array per category, entries in key order:
//
//   {
//     "version": 1,
//     "binaries": [ { "file": "libx.so", "resolved": "/opt/app/lib/libx.so" } ],
//     "symbols":  [ { "file": "libx.so.debug", "binary": "libx.so",
//                     "checksum": "9e107d9d", "resolved": "/usr/lib/debug/libx.so.debug" } ],
//     "sources":  [ { "file": "x.c", "binary": "libx.so", "checksum": "",
//                     "resolved": "/src/x.c" } ]
//   }
//
// Names are byte strings, written as "Names in JSON" in ff_utils.h says: a JSON string
// when the name is well-formed UTF-8, otherwise escaped, so that every name comes back
// exactly as it went in (the forms earlier versions wrote load too):
//
//   "file": { "percentEncoded": "lib%FF.so" }      // the bytes 'l' 'i' 'b' 0xff '.' 's' 'o'
//
// Members of an entry other than those above are ignored; a top-level member other than
// these four is a fault (a category this version does not know).

/// Writes every association of `history` to `file`, replacing the file atomically: the
/// text goes to a temporary file in the same directory, is flushed to disk and then
/// renamed over `file`, so a reader (or a crash) sees the old file or the new one, never
/// a mix, and keeps the old file's permissions. False, with the reason logged and the
/// old file untouched, when the file cannot be written, or when `history` is empty,
/// `file` is null, or `history` was not made by ISearchHistory::create().
FF_EXPORT bool saveSearchHistory(const ObjectPtr<ISearchHistory>& history, const char* file);

/// Adds the associations stored in `file` to `history`; an entry replaces what the
/// history remembered for the same request, other associations stay. A missing file is
/// an empty history: true, nothing added. A file that is not JSON adds nothing; one that
/// is partly not of the form above adds every valid entry. Either way each fault is
/// logged at error level (where it is, what is wrong) and the answer is false. Works on
/// any ISearchHistory; false for an empty `history` or a null `file`.
FF_EXPORT bool loadSearchHistory(const ObjectPtr<ISearchHistory>& history, const char* file);

}  // namespace FF_2_13
