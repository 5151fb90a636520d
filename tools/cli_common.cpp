#include "cli_common.h"

#include <unistd.h>

#include <iostream>

namespace ffcli {

namespace {
// Runs shorter than this finish without a progress line.
constexpr std::chrono::milliseconds kQuietPeriod(500);
}  // namespace

int fail(int exitCode, const std::string& message) {
    std::cerr << "file-finder: " << message << std::endl;
    return exitCode;
}

std::optional<FF_2_13::search_category_t> categoryFromOption(const std::string& word) {
    if (word == "bin") return FF_2_13::scBinaryFiles;
    if (word == "sym") return FF_2_13::scSymbolFiles;
    if (word == "src") return FF_2_13::scSourceFiles;
    if (word == "all") return FF_2_13::scAllFiles;
    return std::nullopt;
}

ProgressLine::ProgressLine()
    : m_terminal(::isatty(STDERR_FILENO) == 1), m_start(std::chrono::steady_clock::now()) {}

void ProgressLine::update(std::size_t done, std::size_t total) {
    if (!m_terminal) return;
    if (!m_shown && std::chrono::steady_clock::now() - m_start < kQuietPeriod) return;
    m_shown = true;
    std::cerr << "\rresolving " << done << "/" << total << std::flush;
}

void ProgressLine::done() {
    if (m_shown) std::cerr << "\r\x1b[K" << std::flush;
    m_shown = false;
}

}  // namespace ffcli
