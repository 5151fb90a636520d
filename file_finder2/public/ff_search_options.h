// File: ff_search_options.h
//
// Search options: the capabilities a client switches on for the searches it creates. A
// search made without options (IFileSearch::create(env), the context manager's
// createFileSearch) behaves as it always has; each option changes only what it says.
//
//   ObjectPtr<ISearchOptions> options = ISearchOptions::create();
//   options->setRecordedKernelNames(true);    // "snd_hda_intel", "[kernel.kallsyms]"
//   options->setUnpackedKernelsOnly(true);    // "vmlinux" is an unpacked kernel
//   ObjectPtr<IFileSearch> search = IFileSearch::create(env, options);
//   search->findBinFile("[snd_hda_intel]", nullptr, nullptr, 0);
//
// The kernel release the kernel options use is the environment's
// (IEnvironmentInfo::kernelRelease()), or the running kernel's when it names none.
//
// A search copies the options when it is created: changing them later does not reach it.
// An options object has no lock: set it up on one thread, then create searches with it.
#pragma once

#include "ff_export.h"
#include "ff_object.h"
#include "ff_remote_source.h"
#include "ff_types.h"

namespace FF_2_13 {

/// What became of one candidate path a search looked at.
enum candidate_outcome_t : int {
    coAbsent = 0,          ///< nothing by that name
    coNotRegularFile = 1,  ///< a directory, a device, a socket...
    coUnreadable = 2,      ///< there, but it could not be read
    coAccepted = 3,        ///< passed every check
    coRefused = 4,         ///< turned down by a check: the message says which and why
    coDuplicate = 5,       ///< the same file as a candidate met before
};

/// Told, on the searching thread, about every candidate a search looks at and every
/// directory it skips. The client owns it and keeps it alive as long as any search made
/// with the options that name it.
class ISearchObserver {
public:
    /// `message`: a refusal's message (the check's own words), otherwise "".
    virtual void candidateSeen(const char* path, search_step_t step, candidate_outcome_t outcome,
                               const char* message) = 0;
    /// A directory of a recursive walk that could not be listed and was left out
    /// (setSkipUnlistableDirectories); `error` is the file-system error.
    virtual void directorySkipped(const char* path, const char* error) = 0;

protected:
    ~ISearchObserver() = default;
};

class FF_EXPORT ISearchOptions : public IFFObject {
public:
    /// Kernel modules and the kernel by the names a profiler records (off by default):
    ///  - a binary or symbol file named like a module ("snd_hda_intel", "[snd_hda_intel]",
    ///    "nf-conntrack.ko", "ext4.ko.xz": no directory, no extension other than .ko and a
    ///    compression after it) is looked for under every name its file may have: "-" and
    ///    "_" interchanged, with .ko, .ko.xz, .ko.zst and .ko.gz, after the name itself;
    ///  - a compressed module that is found is unpacked once into the per-user cache
    ///    (module_cache/<md5>/<name>.ko) and the unpacked file is what is validated and
    ///    returned; one that cannot be unpacked is rejected with the reason;
    ///  - "[kernel.kallsyms]" is a name of the kernel, "vmlinux";
    ///  - the system directories of the kernel release R: for binaries /lib/modules/R/kernel,
    ///    /lib/modules/R/updates and /lib/modules/R/extra, recursively; for symbol files
    ///    /usr/lib/debug/lib/modules/R, recursively, and /usr/lib/debug/boot/vmlinux-R.
    virtual void setRecordedKernelNames(bool on) = 0;
    virtual bool recordedKernelNames() const = 0;

    /// A compressed kernel image ("vmlinuz...") that a binary search finds is always
    /// unpacked, in whatever compression it comes (gzip, xz, lzma, bzip2, lz4, zstd), and
    /// the unpacked kernel is judged in its place; an image that cannot be unpacked is
    /// rejected with the reason (format and cause) instead of being answered itself.
    /// Off by default: the compressed image is judged first and only a rejected one is
    /// unpacked, from gzip only.
    virtual void setUnpackedKernelsOnly(bool on) = 0;
    virtual bool unpackedKernelsOnly() const = 0;

    /// The directory the system directories are taken under ("/lib/modules" becomes
    /// DIR/lib/modules, "/boot/vmlinuz-R" DIR/boot/vmlinuz-R...): an unpacked package tree
    /// or another machine's file system. Give an absolute path: the kernel image of the
    /// release is looked for by its absolute name. Empty (the default) or null: the root
    /// of this machine. Copied.
    virtual void setSystemRoot(const char* dir) = 0;
    /// Never null.
    virtual const char* systemRoot() const = 0;

    /// A remote source asked by build-id for what no step found (ff_remote_source.h), after
    /// the system directories; its file is validated like any other and reported with the
    /// step ssRemoteSource. It is asked once the search has gone past every configured step:
    /// when nothing acceptable was found, or when a files-found callback reads past the
    /// files the steps found. Empty (the default): the search never leaves this machine. Kept
    /// by reference: the source is shared by every search made with the options.
    virtual void setRemoteSource(const ObjectPtr<IRemoteSource>& source) = 0;
    virtual ObjectPtr<IRemoteSource> remoteSource() const = 0;

    /// Tells `observer` about every candidate and every skipped directory (null, the
    /// default: nobody). Candidates that do not exist are reported as absent too (a
    /// recursive walk knows them from its listings, without looking each one up); results,
    /// log lines and callbacks stay as they are.
    virtual void setObserver(ISearchObserver* observer) = 0;
    virtual ISearchObserver* observer() const = 0;

    /// A directory of a recursive search directory that cannot be listed (no permission,
    /// a link loop) is left out, logged as a warning and reported to the observer, and the
    /// walk goes on. Off by default: the file-system error ends the search and reaches
    /// the caller.
    virtual void setSkipUnlistableDirectories(bool on) = 0;
    virtual bool skipUnlistableDirectories() const = 0;

    /// The file retriever (IFileRetriever::retrieveChecksum) is asked for the remote
    /// checksum of a requested name once per search, even when that question fails. Off by
    /// default: a failed question is asked again at each candidate of the cache step, which
    /// costs a slow or unreachable remote system one round trip per candidate.
    virtual void setRemoteChecksumAskedOnce(bool on) = 0;
    virtual bool remoteChecksumAskedOnce() const = 0;

    static ObjectPtr<ISearchOptions> create();
};

}  // namespace FF_2_13
