// File: remote_fetches.h
//
// The command's remote source: the library's debuginfod source behind a memo that
// remembers every answer (a hit with its server, a miss with its reason) and can gather
// what a run will ask for, so that a run fetches it all at once, a few transfers at a time,
// instead of one round trip after the other:
//
//   ObjectPtr<RemoteFetches> remote(new RemoteFetches(IDebuginfodSource::create()));
//   remote->setRecordOnly(true);      // searches note what they would fetch, and miss
//   runSearches();
//   remote->setRecordOnly(false);
//   remote->fetchRecorded(4);         // 4 transfers at a time
//   runSearches();                    // answered from the memo
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include <file_finder.h>

namespace ffcli {

class RemoteFetches : public FF_2_13::RefCountImpl<FF_2_13::IRemoteSource> {
public:
    explicit RemoteFetches(const FF_2_13::ObjectPtr<FF_2_13::IRemoteSource>& source);

    FF_2_13::ObjectPtr<FF_2_13::IRemoteFile> fetch(FF_2_13::remote_file_kind_t kind,
                                                   const char* buildId,
                                                   const char* sourcePath) override;

    /// On: a fetch not answered yet is noted and missed, without a transfer.
    void setRecordOnly(bool on);
    bool recordOnly() const;
    /// Fetches every noted request, `threads` at a time, into the memo; how many there were.
    std::size_t fetchRecorded(unsigned threads);

    /// The answer the calling thread was given last, or an empty pointer; forgets it.
    FF_2_13::ObjectPtr<FF_2_13::IRemoteFile> takeLastAnswer();
    /// The server the file `path` was fetched from; "" when it was not or is not known.
    std::string originOf(const std::string& path) const;

private:
    using Key = std::tuple<int, std::string, std::string>;

    /// Keeps `file` as the answer to `key`, and as the calling thread's last answer when
    /// `asked` (a search asked for it, not the pool).
    FF_2_13::ObjectPtr<FF_2_13::IRemoteFile> remember(const Key& key,
                                                      FF_2_13::ObjectPtr<FF_2_13::IRemoteFile> file,
                                                      bool asked);

    FF_2_13::ObjectPtr<FF_2_13::IRemoteSource> m_source;
    mutable std::mutex m_mutex;
    bool m_recordOnly = false;
    std::vector<Key> m_recorded;
    std::map<Key, FF_2_13::ObjectPtr<FF_2_13::IRemoteFile>> m_answers;
    std::map<std::thread::id, FF_2_13::ObjectPtr<FF_2_13::IRemoteFile>> m_lastAnswers;
};

}  // namespace ffcli
