// File: tarnbase2/config_storage.h
//
// The host's configuration storage: one JSON document, an object of named properties,
// kept in a file that the host names. Values cross this interface as JSON text, so that
// no JSON library's type shows in the header.
//
//   tarnbase2::ConfigStorage storage("/home/u/.config/app/file_finder.json");
//   std::string dirs;
//   if (storage.getProperty("searchDirs", dirs)) ...        // e.g. "[{...}]"
//   auto result = storage.setProperty("searchDirs", "[]");  // written when result.ok
//
// What the storage promises:
// - Creation loads what the file holds. A missing or empty file is an empty document. A
//   file that cannot be read or parsed is an empty document too, and loadProblem() says
//   why; the file is left exactly as it is until the next write.
// - Every write replaces the whole file atomically: the document goes to a temporary
//   file in the same directory, which is flushed to the disk and renamed over the old
//   one, so a crash or a full disk mid-write leaves the previous file whole. A failed
//   write leaves the file as it was and removes its temporary file.
// - A file whose content could not be read in full (unparsable, or a property its owner
//   could not read: see keepDamagedFile) is not lost by the next write: that write first
//   keeps it beside, as "<file>.corrupt" (or "<file>.corrupt.1", ...), and fails rather
//   than drop it when it cannot.
// - All operations of one object are serialised; one object per file and process is
//   expected (two objects on one file overwrite each other's properties).
// - A new file is made with mode 0600; a replaced file keeps its mode. When the name is a
//   symbolic link, the file it points to is replaced and the link stays.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#ifndef TARNBASE2_EXPORT
#define TARNBASE2_EXPORT __attribute__((visibility("default")))
#endif

namespace tarnbase2 {

class TARNBASE2_EXPORT ConfigStorage {
public:
    /// What a write did.
    struct WriteResult {
        bool ok = false;
        /// Why the write failed (empty when it succeeded).
        std::string error;
        /// Where the previous, damaged file was kept (empty when nothing was kept).
        std::string keptAs;
    };

    /// Loads `fileName`; never throws for what the file holds.
    explicit ConfigStorage(std::string fileName);
    ~ConfigStorage();
    ConfigStorage(const ConfigStorage&) = delete;
    ConfigStorage& operator=(const ConfigStorage&) = delete;

    const std::string& fileName() const { return m_fileName; }

    /// Empty when the file was read in full or was missing; otherwise why it could not be
    /// read (the document then started empty).
    std::string loadProblem() const;

    /// The value of `key` as compact JSON text; false when the document has no such key.
    bool getProperty(const std::string& key, std::string& jsonText) const;

    /// Sets `key` to the value `jsonText` (which must parse as JSON) and writes the whole
    /// document. On failure the file is unchanged; the document in memory holds the new
    /// value all the same, and the next successful write carries it.
    WriteResult setProperty(const std::string& key, const std::string& jsonText);

    /// Tells the storage that part of what it loaded could not be used by its owner, so
    /// that the next write keeps the current file beside it first.
    void keepDamagedFile();

private:
    struct Document;

    WriteResult writeLocked();

    const std::string m_fileName;
    std::string m_targetName;  // m_fileName, or what it links to
    std::unique_ptr<Document> m_document;
    std::string m_loadProblem;
    bool m_damaged = false;
    mutable std::mutex m_mutex;
};

}  // namespace tarnbase2
