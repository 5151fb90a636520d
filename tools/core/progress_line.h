// File: progress_line.h
//
// The progress line of long runs of the file-finder command.
#pragma once

#include <chrono>
#include <cstddef>

namespace ffcli {

/// "resolving 12/40" on stderr, rewritten in place, once a run of more than a few dozen
/// requests has taken longer than a moment, and only when stderr is a terminal. Erased by done().
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
