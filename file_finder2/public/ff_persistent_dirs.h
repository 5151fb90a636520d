// File: ff_persistent_dirs.h
//
// Search directories that outlive the process: an editable container whose every change
// is mirrored into the host's configuration storage, a JSON file that the host names.
//
//   ObjectPtr<IPersistentSearchDirContainer> dirs =
//       IPersistentSearchDirContainer::create("/home/u/.config/app/search_dirs.json");
//   dirs->addDirectory(scSymbolFiles, "/opt/app/debug", true, true);  // written at once
//   if (!dirs->isSaved()) ...   // the write failed: see the log, retry with save()
//
// The file holds one property, "searchDirs": a list of entries in the order binaries,
// symbols, sources, all, each category's directories in their list order:
//
//   { "searchDirs": [
//       { "searchCategory": { "category": "symbols" },
//         "searchDirectory": { "name": "/opt/app/debug", "recursive": true,
//                              "priority": "high" } } ] }
//
// - "category": "binaries", "symbols", "sources" or "all": categoryWord() of
//   scBinaryFiles to scAllFiles.
// - "name": the directory as it was added, written as "Names in JSON" in ff_utils.h
//   says: a JSON string when it is well-formed UTF-8, otherwise escaped, such as
//   {"percentEncoded": "/latin1/%E9t%E9"}, so that every name comes back byte for byte
//   (the lists of byte values that earlier versions wrote load too).
// - "recursive": true or false.
// - "priority": "high" (searched in the high-priority step) or "low".
//
// Loading, at creation: a missing file is an empty container. What cannot be read is
// logged at error level, with the entry's position and what was wrong, and skipped; the
// readable entries load. The file is left as it is until the next change, which first
// keeps the damaged file beside it ("<file>.corrupt", see tarnbase2/config_storage.h), so
// nothing is ever lost. Every write replaces the file atomically (a temporary file in the
// same directory, flushed, renamed over the old one); a failed write leaves the previous
// file whole, is logged, and keeps the change in memory for the next write.
//
// Thread-safe: changes from several threads are serialised, each written in turn. While
// a container for a file is alive, create() for the same file returns another handle on
// the same directories (the file is not read again), so that no two lists of one process
// overwrite each other. A change that leaves the directories as they were writes nothing.
#pragma once

#include "ff_searchdirs.h"

namespace FF_2_13 {

class FF_EXPORT IPersistentSearchDirContainer : public IEditableSearchDirContainer {
public:
    /// The file the directories are kept in, as given to create().
    virtual const char* storageFile() const = 0;
    /// True when the file holds every change made so far; false after a failed write
    /// until a later write succeeds.
    virtual bool isSaved() const = 0;
    /// Writes the directories now, also when nothing changed; true on success.
    virtual bool save() = 0;

    /// The container kept in `storageFile`; empty for a null or empty name.
    static ObjectPtr<IPersistentSearchDirContainer> create(const char* storageFile);
};

}  // namespace FF_2_13
