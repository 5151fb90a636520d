#include "log_capture.h"

#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <mutex>

#include "base/log.h"

namespace fftest {

class LogCapture::Appender : public log4cplus::Appender {
public:
    ~Appender() override { destructorImpl(); }
    void close() override {}
    mutable std::mutex mutex;
    std::vector<std::pair<log4cplus::LogLevel, std::string>> lines;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        std::lock_guard<std::mutex> guard(mutex);
        lines.emplace_back(event.getLogLevel(), event.getMessage());
    }
};

LogCapture::LogCapture(log4cplus::LogLevel level) : m_sink(new Appender) {
    m_appender = log4cplus::SharedAppenderPtr(m_sink);
    log4cplus::Logger& logger = FF_2_13::logging::logger();
    m_previousLevel = logger.getLogLevel();
    logger.setLogLevel(level);
    logger.addAppender(m_appender);
}

LogCapture::~LogCapture() {
    FF_2_13::logging::logger().removeAppender(m_appender);
    FF_2_13::logging::logger().setLogLevel(m_previousLevel);
}

std::vector<std::string> LogCapture::texts() const {
    std::lock_guard<std::mutex> guard(m_sink->mutex);
    std::vector<std::string> texts;
    for (const auto& line : m_sink->lines) texts.push_back(line.second);
    return texts;
}

size_t LogCapture::count(const std::string& part) const {
    size_t n = 0;
    for (const std::string& text : texts()) n += text.find(part) != std::string::npos;
    return n;
}

bool LogCapture::hasErrorLine(const std::string& text, const std::string& source) const {
    const std::string prefix = text + ", at file: " + source + ":";
    std::lock_guard<std::mutex> guard(m_sink->mutex);
    for (const auto& [level, line] : m_sink->lines)
        if (level == log4cplus::ERROR_LOG_LEVEL && line.rfind(prefix, 0) == 0 &&
            line.size() > prefix.size() &&
            line.find_first_not_of("0123456789", prefix.size()) == std::string::npos)
            return true;
    return false;
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> guard(m_sink->mutex);
    m_sink->lines.clear();
}

}  // namespace fftest
