// Captures what the library writes to the logger "FILE_FINDER" while it lives, with the
// logger's level set to `level` (TRACE by default), and restores both afterwards.
#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <mutex>
#include <string>
#include <vector>

namespace fftest {

struct LogLine {
    log4cplus::LogLevel level;
    std::string text;
};

class LogCapture {
public:
    explicit LogCapture(log4cplus::LogLevel level = log4cplus::TRACE_LOG_LEVEL);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;
    std::vector<std::string> texts() const;
    /// True when some line's text contains `part`.
    bool contains(const std::string& part) const;
    /// Number of lines whose text contains `part`.
    size_t count(const std::string& part) const;
    /// True when an error line reads exactly "<text>, at file: <source>:<line number>".
    bool hasErrorLine(const std::string& text, const std::string& source) const;
    void clear();

private:
    class Appender;
    log4cplus::SharedAppenderPtr m_appender;
    Appender* m_sink;
    log4cplus::LogLevel m_previousLevel;
};

}  // namespace fftest
