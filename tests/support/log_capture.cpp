#include "log_capture.h"

#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include "base/log.h"

namespace fftest {

class LogCapture::Appender : public log4cplus::Appender {
public:
    ~Appender() override { destructorImpl(); }
    void close() override {}
    std::vector<LogLine> lines() const {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_lines;
    }
    void clear() {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_lines.clear();
    }

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_lines.push_back({event.getLogLevel(), event.getMessage()});
    }

private:
    mutable std::mutex m_mutex;
    std::vector<LogLine> m_lines;
};

LogCapture::LogCapture(log4cplus::LogLevel level) : m_sink(new Appender) {
    m_appender = log4cplus::SharedAppenderPtr(m_sink);
    log4cplus::Logger& logger = FF_2_13::logging::logger();
    m_previousLevel = logger.getLogLevel();
    logger.setLogLevel(level);
    logger.addAppender(m_appender);
}

LogCapture::~LogCapture() {
    log4cplus::Logger& logger = FF_2_13::logging::logger();
    logger.removeAppender(m_appender);
    logger.setLogLevel(m_previousLevel);
}

std::vector<LogLine> LogCapture::lines() const {
    return m_sink->lines();
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> result;
    for (const LogLine& line : lines()) result.push_back(line.text);
    return result;
}

bool LogCapture::hasErrorLine(const std::string& text, const std::string& source) const {
    const std::string prefix = text + ", at file: " + source + ":";
    for (const LogLine& line : lines())
        if (line.level == log4cplus::ERROR_LOG_LEVEL && line.text.rfind(prefix, 0) == 0 &&
            line.text.size() > prefix.size() &&
            line.text.find_first_not_of("0123456789", prefix.size()) == std::string::npos)
            return true;
    return false;
}

bool LogCapture::contains(const std::string& part) const {
    return count(part) > 0;
}

size_t LogCapture::count(const std::string& part) const {
    size_t n = 0;
    for (const LogLine& line : lines())
        if (line.text.find(part) != std::string::npos) ++n;
    return n;
}

void LogCapture::clear() {
    m_sink->clear();
}

}  // namespace fftest
