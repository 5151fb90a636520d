// File: ff_searchenv.h
//
// The search environment: the record of everything one file search reads from its
// caller: search and archive directories (ff_searchdirs.h), the cache directory, the four
// client callbacks (held weakly, ff_events.h), a description of the recorded system
// (IEnvironmentInfo), the client's file retriever and messenger, and the steps
// configurator (ff_search_steps.h). The context manager builds one per search from a
// context's metadata; a client may also fill one itself:
//
//   ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
//   info->setOsType(osLinux);
//   info->setKernelRelease("5.10.0-21-amd64");
//
//   ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
//   env->setSearchDirs(dirs);
//   env->setCacheDir("/var/cache/app");
//   env->setFilesFoundCallback(&myFilesFound);
//   env->setEnvironmentInfo(info);
//
// An environment has no lock: it is filled by one thread before it is shared and then
// only read, by any number of threads.
#pragma once

#include "ff_callbacks.h"
#include "ff_events.h"
#include "ff_file_retriever.h"
#include "ff_object.h"
#include "ff_search_steps.h"
#include "ff_searchdirs.h"
#include "ff_types.h"

namespace courlet2 {
class IMessenger;
}

namespace FF_2_13 {

/// What is known of the machine a result was recorded on. A fresh one says osUnknown,
/// archUnknown and an empty kernel release.
class FF_EXPORT IEnvironmentInfo : public IFFObject {
public:
    virtual operating_system_type_t osType() const = 0;
    virtual architecture_t architecture() const = 0;
    /// Never null; valid until the next setKernelRelease or the object's end.
    virtual const char* kernelRelease() const = 0;
};

/// Settable environment info, made by create(). Not thread-safe: set it up, then share it.
class FF_EXPORT IEditableEnvironmentInfo : public IEnvironmentInfo {
public:
    /// Stored as given, unchecked.
    virtual void setOsType(operating_system_type_t type) = 0;
    /// Stored as given, unchecked.
    virtual void setArchitecture(architecture_t architecture) = 0;
    /// Copies `release`; null leaves the value as it was.
    virtual void setKernelRelease(const char* release) = 0;

    static ObjectPtr<IEditableEnvironmentInfo> create();
};

/// Everything a search reads. Empty pointers mean "not configured".
class FF_EXPORT ISearchEnv : public IFFObject {
public:
    /// A fresh iterator over the search directories of `category` on each call; empty when
    /// no container is set or it has nothing for the category.
    virtual ObjectPtr<ISearchDirIterator> searchDirs(search_category_t category) = 0;
    /// As searchDirs(), over the archive directories.
    virtual ObjectPtr<ISearchDirIterator> archiveDirs(search_category_t category) = 0;
    /// Never null: "" when no cache directory is set. Valid until the next setCacheDir.
    virtual const char* cacheDir() = 0;
    /// The holders inside the environment; call through a CallbackAccessor.
    virtual CallbackHolder<ISearchStartedCallback>& searchStartedCallback() = 0;
    virtual CallbackHolder<IFilesFoundCallback>& filesFoundCallback() = 0;
    virtual CallbackHolder<INoFilesFoundCallback>& noFilesFoundCallback() = 0;
    virtual CallbackHolder<IConfidenceLevelPolicyCallback>& confidenceLevelPolicyCallback() = 0;
    virtual ObjectPtr<IEnvironmentInfo> environmentInfo() = 0;
    /// Borrowed from the client; may be null.
    virtual IFileRetriever* fileRetriever() = 0;
    virtual ObjectPtr<ISearchStepsConfigurator> searchStepsConfigurator() const = 0;
    /// Borrowed from the client; may be null. Stored and handed on only.
    virtual courlet2::IMessenger* messenger() = 0;
};

/// An environment with setters, made empty by create(): no containers, no callbacks, an
/// empty cache directory, no environment info, retriever, configurator or messenger.
class FF_EXPORT IEditableSearchEnv : public ISearchEnv {
public:
    /// Setters of reference-counted fields share the object; an empty pointer clears.
    virtual void setSearchDirs(const ObjectPtr<ISearchDirContainer>& dirs) = 0;
    virtual void setArchiveDirs(const ObjectPtr<ISearchDirContainer>& dirs) = 0;
    /// Copies `dir`; null leaves the value as it was.
    virtual void setCacheDir(const char* dir) = 0;
    /// Callback setters register the holder with the new callback (and leave the old one).
    virtual void setSearchStartedCallback(const CallbackHolder<ISearchStartedCallback>& cb) = 0;
    virtual void setFilesFoundCallback(const CallbackHolder<IFilesFoundCallback>& cb) = 0;
    virtual void setNoFilesFoundCallback(const CallbackHolder<INoFilesFoundCallback>& cb) = 0;
    virtual void setConfidenceLevelPolicyCallback(
        const CallbackHolder<IConfidenceLevelPolicyCallback>& cb) = 0;
    virtual void setEnvironmentInfo(const ObjectPtr<IEnvironmentInfo>& info) = 0;
    /// Borrowed: the client keeps the retriever alive as long as the environment may use it.
    virtual void setFileRetriever(IFileRetriever* const& retriever) = 0;
    virtual void setSearchStepsConfigurator(const ObjectPtr<ISearchStepsConfigurator>& steps) = 0;
    /// Borrowed, like the retriever.
    virtual void setMessenger(courlet2::IMessenger* messenger) = 0;

    static ObjectPtr<IEditableSearchEnv> create();
};

}  // namespace FF_2_13
