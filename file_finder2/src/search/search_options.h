// The search options a client sets (BasicSearchOptions, behind ISearchOptions) and the copy
// a search takes of them when it is made (SearchOptionValues), which the front hands to
// its strategies and its lazy iterator. Every default is the behaviour of a search made
// without options.
#pragma once

#include <string>

#include "ff_search_options.h"

namespace FF_2_13 {

struct SearchOptionValues {
    bool recordedKernelNames = false;
    bool unpackedKernelsOnly = false;
    std::string systemRoot;                 ///< "" for this machine's root
    ObjectPtr<IRemoteSource> remoteSource;  ///< empty: no remote step
    ISearchObserver* observer = nullptr;
    bool skipUnlistableDirectories = false;
    bool remoteChecksumAskedOnce = false;

    /// The values of `options`; the defaults for null.
    static SearchOptionValues of(const ObjectPtr<ISearchOptions>& options);
    /// The defaults: a search made without options.
    static const SearchOptionValues& none();

    /// `path` (absolute) under the system root: "/lib/modules" stays as it is without a
    /// root, and becomes "/tmp/tree/lib/modules" under "/tmp/tree".
    std::string underRoot(const std::string& path) const;
};

class BasicSearchOptions : public RefCountImpl<ISearchOptions> {
public:
    void setRecordedKernelNames(bool on) override { m_values.recordedKernelNames = on; }
    bool recordedKernelNames() const override { return m_values.recordedKernelNames; }
    void setUnpackedKernelsOnly(bool on) override { m_values.unpackedKernelsOnly = on; }
    bool unpackedKernelsOnly() const override { return m_values.unpackedKernelsOnly; }
    void setSystemRoot(const char* dir) override;
    const char* systemRoot() const override { return m_values.systemRoot.c_str(); }

    void setRemoteSource(const ObjectPtr<IRemoteSource>& source) override {
        m_values.remoteSource = source;
    }
    ObjectPtr<IRemoteSource> remoteSource() const override { return m_values.remoteSource; }
    void setObserver(ISearchObserver* observer) override { m_values.observer = observer; }
    ISearchObserver* observer() const override { return m_values.observer; }
    void setSkipUnlistableDirectories(bool on) override { m_values.skipUnlistableDirectories = on; }
    bool skipUnlistableDirectories() const override { return m_values.skipUnlistableDirectories; }
    void setRemoteChecksumAskedOnce(bool on) override { m_values.remoteChecksumAskedOnce = on; }
    bool remoteChecksumAskedOnce() const override { return m_values.remoteChecksumAskedOnce; }

    const SearchOptionValues& values() const { return m_values; }

private:
    SearchOptionValues m_values;
};

}  // namespace FF_2_13
