// File: cli_common.h
//
// Small pieces every sub-command of file-finder uses: error lines on stderr, the
// category words of --category, and the progress line of long runs.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include <file_finder.h>

namespace ffcli {

/// Writes "file-finder: MESSAGE" to stderr and returns `exitCode`.
int fail(int exitCode, const std::string& message);

/// The category of a --category word: "bin", "sym", "src" or "all". (Files and
/// --search-dir values name categories by FF_2_13::categoryWord().)
std::optional<FF_2_13::search_category_t> categoryFromOption(const std::string& word);

/// "resolving 12/40" on stderr, rewritten in place, once a run has taken longer than a
/// moment, and only when stderr is a terminal. Erased by done().
class ProgressLine {
public:
    ProgressLine();
    void update(std::size_t done, std::size_t total);
    void done();

private:
    bool m_terminal;
    bool m_shown = false;
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace ffcli
