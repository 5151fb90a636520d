// File: ff_file_retriever.h
//
// The client's access to the files of the machine a result was recorded on. The client
// implements IFileRetriever and registers it per context and client id; the library keeps
// a plain pointer to it and never owns it, so the client keeps it alive as long as a
// context or search environment may use it. Its operations may be called from any thread
// that searches.
//
//   class MyRetriever : public IFileRetriever {
//       bool isLocal(const char* name) override { return false; }
//       unsigned int retrieve(const char* remoteName, const char* targetDir) override {
//           // copy remoteName to utils::addSubPart(targetDir, remoteName)
//           return 0;
//       }
//       unsigned int retrieveChecksum(const char* remoteName,
//                                     ObjectPtr<IChecksum>& checksum) override { ... }
//   };
//
// - isLocal(name): true when `name` is a file of this machine, so no retrieval is needed.
// - retrieve(remoteName, targetDir): copies the remote file into the local directory
//   `targetDir`; the copy lands at utils::addSubPart(targetDir, remoteName), and the
//   retriever creates the directories between. 0 on success, any other value on failure.
// - retrieveChecksum(remoteName, checksum): fills `checksum` with the remote file's
//   checksum. 0 on success.
#pragma once

#include "ff_checksum.h"

namespace FF_2_13 {

class FF_EXPORT IFileRetriever {
public:
    virtual bool isLocal(const char* name) = 0;
    virtual unsigned int retrieve(const char* remoteName, const char* targetDir) = 0;
    virtual unsigned int retrieveChecksum(const char* remoteName,
                                          ObjectPtr<IChecksum>& checksum) = 0;
    virtual ~IFileRetriever() {}
};

}  // namespace FF_2_13
