// Captures what the library writes to the logger "FILE_FINDER" while it lives, with the
// logger's level set to `level` (TRACE by default), and restores both afterwards.
#pragma once

#include <log4cplus/appender.h>
#include <log4cplus/loglevel.h>

#include <string>
#include <vector>

namespace fftest {

class LogCapture {
public:
    explicit LogCapture(log4cplus::LogLevel level = log4cplus::TRACE_LOG_LEVEL);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The texts of the lines, in order.
    std::vector<std::string> texts() const;
    std::vector<std::string> lines() const { return texts(); }
    /// The number of lines whose text contains `part`; whether there is one.
    size_t count(const std::string& part) const;
    bool contains(const std::string& part) const { return count(part) > 0; }
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
