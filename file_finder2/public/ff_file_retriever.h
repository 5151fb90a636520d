// File: ff_file_retriever.h
//
// The client's bridge to the remote system a result was recorded on. A client whose
// files are not all on this machine implements IFileRetriever and registers it in a
// context's metadata; the search then asks it which names are local, fetches remote files
// into a private temporary directory, and asks it for the recorded checksum of a file
// before accepting a candidate from the cache directory.
//
//   class MyRetriever : public IFileRetriever {
//   public:
//       bool isLocal(const char* name) override { return false; }
//       unsigned int retrieve(const char* remoteName, const char* targetDir) override {
//           return copyFromTarget(remoteName, targetDir) ? 0 : 1;
//       }
//       unsigned int retrieveChecksum(const char* remoteName,
//                                     ObjectPtr<IChecksum>& checksum) override {
//           checksum = IChecksumCalculator::create()->fromString(ctMD5, recordedMd5(remoteName));
//           return checksum ? 0 : 1;
//       }
//   };
#pragma once

#include "ff_checksum.h"
#include "ff_export.h"
#include "ff_object.h"

namespace FF_2_13 {

/// Implemented by the client, which owns it and keeps it alive while searches may use
/// it; the library keeps a plain pointer. Called from the searching threads, possibly
/// several at once.
class FF_EXPORT IFileRetriever {
public:
    /// True when `name` is a file of this machine (nothing to fetch).
    virtual bool isLocal(const char* name) = 0;
    /// Copies the remote file `remoteName` into the directory `targetDir`, keeping its
    /// path below it (utils::addSubPart(targetDir, remoteName)), creating the directories
    /// between. 0 on success, anything else on failure.
    virtual unsigned int retrieve(const char* remoteName, const char* targetDir) = 0;
    /// Fills `checksum` with the checksum recorded for `remoteName` on the remote system.
    /// 0 on success; on failure, or with `checksum` left empty, no remote comparison is
    /// made.
    virtual unsigned int retrieveChecksum(const char* remoteName,
                                          ObjectPtr<IChecksum>& checksum) = 0;
    virtual ~IFileRetriever() {}
};

}  // namespace FF_2_13
