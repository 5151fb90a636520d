#include "core/progress_line.h"

#include <unistd.h>

#include <iostream>

namespace ffcli {

namespace {
// Runs shorter than this finish without a progress line.
constexpr std::chrono::milliseconds kQuietPeriod(500);
// Nor do runs of a few dozen requests, however slow.
constexpr std::size_t kFewDozen = 36;
}  // namespace

ProgressLine::ProgressLine()
    : m_terminal(::isatty(STDERR_FILENO) == 1), m_start(std::chrono::steady_clock::now()) {}

void ProgressLine::update(std::size_t done, std::size_t total) {
    if (!m_terminal || total <= kFewDozen) return;
    if (!m_shown && std::chrono::steady_clock::now() - m_start < kQuietPeriod) return;
    m_shown = true;
    std::cerr << "\rresolving " << done << "/" << total << std::flush;
}

void ProgressLine::done() {
    if (m_shown) std::cerr << "\r\x1b[K" << std::flush;
    m_shown = false;
}

}  // namespace ffcli
