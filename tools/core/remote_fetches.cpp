#include "core/remote_fetches.h"

#include <algorithm>
#include <atomic>

namespace ffcli {

using namespace FF_2_13;

RemoteFetches::RemoteFetches(const ObjectPtr<IRemoteSource>& source) : m_source(source) {}

ObjectPtr<IRemoteFile> RemoteFetches::fetch(remote_file_kind_t kind, const char* buildId,
                                            const char* sourcePath) {
    const Key key{kind, buildId ? buildId : "", sourcePath ? sourcePath : ""};
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        auto known = m_answers.find(key);
        if (known != m_answers.end())
            return m_lastAnswers[std::this_thread::get_id()] = known->second;
        if (m_recordOnly) {
            if (std::find(m_recorded.begin(), m_recorded.end(), key) == m_recorded.end())
                m_recorded.push_back(key);
            return IRemoteFile::missed("not fetched yet");
        }
    }
    return remember(key, m_source->fetch(kind, buildId, sourcePath), true);
}

ObjectPtr<IRemoteFile> RemoteFetches::remember(const Key& key, ObjectPtr<IRemoteFile> file,
                                               bool asked) {
    if (!file) file = IRemoteFile::missed("the remote source gave no answer");
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[key] = file;
    if (asked) m_lastAnswers[std::this_thread::get_id()] = file;
    return file;
}

void RemoteFetches::setRecordOnly(bool on) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_recordOnly = on;
}

bool RemoteFetches::recordOnly() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_recordOnly;
}

std::size_t RemoteFetches::fetchRecorded(unsigned threads) {
    std::vector<Key> work;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        work.swap(m_recorded);
    }
    std::atomic<std::size_t> next{0};
    auto worker = [&] {
        for (std::size_t i = next++; i < work.size(); i = next++) {
            const Key& key = work[i];
            const std::string& path = std::get<2>(key);
            remember(
                key,
                m_source->fetch(static_cast<remote_file_kind_t>(std::get<0>(key)),
                                std::get<1>(key).c_str(), path.empty() ? nullptr : path.c_str()),
                false);
        }
    };
    std::vector<std::thread> pool;
    const std::size_t count = std::min<std::size_t>(std::max(threads, 1u), work.size());
    for (std::size_t i = 1; i < count; ++i) pool.emplace_back(worker);
    worker();  // this thread is one of them
    for (std::thread& thread : pool) thread.join();
    return work.size();
}

ObjectPtr<IRemoteFile> RemoteFetches::takeLastAnswer() {
    std::lock_guard<std::mutex> lock(m_mutex);
    auto last = m_lastAnswers.find(std::this_thread::get_id());
    if (last == m_lastAnswers.end()) return ObjectPtr<IRemoteFile>();
    ObjectPtr<IRemoteFile> file = last->second;
    m_lastAnswers.erase(last);
    return file;
}

std::string RemoteFetches::originOf(const std::string& path) const {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& answer : m_answers)
        if (path == answer.second->path()) return answer.second->origin();
    return std::string();
}

}  // namespace ffcli
