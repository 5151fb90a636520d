#include "core/transfer_progress.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace ffcli {

namespace {

// Transfers shorter than this finish without a line.
constexpr std::chrono::milliseconds kQuietPeriod(1000);

std::string mebibytes(long long bytes) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f MiB", static_cast<double>(bytes) / (1024.0 * 1024.0));
    return text;
}

}  // namespace

TransferProgress::TransferProgress() : m_terminal(::isatty(STDERR_FILENO) == 1) {}

bool TransferProgress::onProgress(const char* url, long long received, long long total) {
    if (!m_terminal) return true;
    const auto now = std::chrono::steady_clock::now();
    std::lock_guard<std::mutex> lock(m_mutex);
    Transfer& transfer = m_transfers[std::this_thread::get_id()];
    // Another server, or a count that starts again: another transfer.
    if (transfer.url != url || received < transfer.received) transfer = {url, received, now};
    transfer.received = received;
    if (now - transfer.start < kQuietPeriod) return true;
    m_shown = true;
    std::cerr << "\r\x1b[Kdebuginfod: " << mebibytes(received);
    if (total > 0) std::cerr << " of " << mebibytes(total);
    if (*url) std::cerr << " from " << url;
    std::cerr << std::flush;
    return true;
}

void TransferProgress::done() {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_shown) std::cerr << "\r\x1b[K" << std::flush;
    m_shown = false;
    m_transfers.clear();
}

}  // namespace ffcli
