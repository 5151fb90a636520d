// File: ff_search.h
//
// The file search: where on this machine is a binary, the symbol file of a binary, a
// source file of a binary. A search is made for one search environment, normally by the
// resolution context manager (IResolutionContextMgr::createFileSearch), or directly:
//
//   ObjectPtr<IFileSearch> search = IFileSearch::create(env);
//   ObjectPtr<IValidFile> libc = search->findBinFile("/lib/x86_64-linux-gnu/libc.so.6",
//                                                    nullptr, nullptr, 0);
//   ObjectPtr<IValidFile> debug = search->findSymFile("libc.so.6.debug", libc->name(),
//                                                     nullptr, nullptr, nullptr, nullptr, nullptr);
//
// A search walks the enabled search steps of the environment's steps configuration in
// their fixed order, validates every candidate, and lets the environment's callbacks
// steer (ff_callbacks.h). It returns the chosen file, or empty when nothing acceptable
// was found. One IFileSearch may serve several threads at once.
//
// A search may throw boost::filesystem::filesystem_error when a directory it must walk
// cannot be listed (for example a sub-directory without read permission): the library
// does not hide that from its caller.
#pragma once

#include "ff_callbacks.h"
#include "ff_object.h"
#include "ff_search_options.h"
#include "ff_validation.h"

namespace FF_2_13 {

class ISearchEnv;

class FF_EXPORT IFileSearch : public IFFObject {
public:
    /// `fileName`: the binary as recorded (absolute path, bare name, kernel module name,
    /// "vmlinux"...). `validatorCallback` (may be null, not owned) adds the client's own
    /// checks; `suggestedFile` (may be null) is validated before any step; `stepsMask` is
    /// handed to the steps configuration. Empty for a null or empty name.
    virtual ObjectPtr<IValidFile> findBinFile(const char* fileName,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile,
                                              unsigned long long stepsMask) = 0;
    /// The symbol file `symFile` of `binaryFile` (the binary as found on this machine),
    /// with an optional expected checksum text. `remoteBinaryFile`: the binary's path on
    /// the machine the result was recorded on, when that is not this one (may be null).
    virtual ObjectPtr<IValidFile> findSymFile(const char* symFile, const char* binaryFile,
                                              const char* checksum,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile,
                                              ISymSrvDownloadProgressCallback* progress,
                                              const char* remoteBinaryFile) = 0;
    /// A source file `srcFile` of `binaryFile`.
    virtual ObjectPtr<IValidFile> findSrcFile(const char* srcFile, const char* binaryFile,
                                              const char* checksum,
                                              IValidatorCallback* validatorCallback,
                                              const char* suggestedFile) = 0;

    /// A search over `env` (not copied: later changes of env show in later searches).
    static ObjectPtr<IFileSearch> create(const ObjectPtr<ISearchEnv>& env);
    /// The same, with the capabilities `options` switch on (ff_search_options.h); the
    /// options are copied now. Null options: as create(env).
    static ObjectPtr<IFileSearch> create(const ObjectPtr<ISearchEnv>& env,
                                         const ObjectPtr<ISearchOptions>& options);
};

}  // namespace FF_2_13
