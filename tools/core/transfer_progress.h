// File: transfer_progress.h
//
// The progress of debuginfod transfers on stderr: "debuginfod: 1.2 MiB of 3.4 MiB from
// URL", rewritten in place, for a transfer that has taken longer than a moment, and only
// when stderr is a terminal. Transfers may run on several threads at once: the line shows
// the one that reported last. Erased by done().
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>

#include <file_finder.h>

namespace ffcli {

class TransferProgress : public FF_2_13::IRemoteProgressCallback {
public:
    TransferProgress();
    bool onProgress(const char* url, long long received, long long total) override;
    void done();

private:
    struct Transfer {
        std::string url;
        long long received = 0;
        std::chrono::steady_clock::time_point start;
    };

    const bool m_terminal;
    std::mutex m_mutex;
    std::map<std::thread::id, Transfer> m_transfers;
    bool m_shown = false;
};

}  // namespace ffcli
