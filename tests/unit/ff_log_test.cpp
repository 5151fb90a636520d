// The library's logging helpers: a line is built only when an appender that keeps lines
// would receive it, wherever in the logger's ancestry the host attached that appender.
#include "ff_log.h"

#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>
#include <log4cplus/spi/loggingevent.h>

#include <string>
#include <vector>

using namespace FF_2_13;

namespace {

constexpr char kSource[] = "tests/unit/ff_log_test";

class Collector : public log4cplus::Appender {
public:
    ~Collector() override { destructorImpl(); }
    void close() override {}
    std::vector<std::string> lines;

protected:
    void append(const log4cplus::spi::InternalLoggingEvent& event) override {
        lines.push_back(event.getMessage());
    }
};

// Attaches a collector to `logger` for the test's duration.
class Attached {
public:
    explicit Attached(log4cplus::Logger logger) : m_logger(logger), m_collector(new Collector) {
        m_appender = log4cplus::SharedAppenderPtr(m_collector);
        m_logger.addAppender(m_appender);
    }
    ~Attached() { m_logger.removeAppender(m_appender); }
    const std::vector<std::string>& lines() const { return m_collector->lines; }

private:
    log4cplus::Logger m_logger;
    Collector* m_collector;
    log4cplus::SharedAppenderPtr m_appender;
};

}  // namespace

TEST(Logging, LinesReachAnAppenderTheHostAttachedToTheRootLogger) {
    Attached root(log4cplus::Logger::getRoot());
    FF_LOG_INFO(kSource, "outside " << 1);
    {
        FF_TRACE_SCOPE(kSource, "void operation()");
        FF_LOG_INFO(kSource, "inside " << 2);
    }
    EXPECT_EQ((std::vector<std::string>{"outside 1", "inside 2"}), root.lines());
}

// Whether anyone listens is asked once per operation: an appender attached in the middle
// of one hears the operations that start after it.
TEST(Logging, AnAppenderAttachedDuringAnOperationHearsTheNextOne) {
    log4cplus::Logger& logger = logging::logger();
    {
        FF_TRACE_SCOPE(kSource, "void first()");
        FF_LOG_INFO(kSource, "before");
        Attached late(logger);
        FF_LOG_INFO(kSource, "after, same operation");
        EXPECT_TRUE(late.lines().empty());
    }
    Attached listening(logger);
    {
        FF_TRACE_SCOPE(kSource, "void second()");
        FF_LOG_INFO(kSource, "next operation");
    }
    EXPECT_EQ((std::vector<std::string>{"next operation"}), listening.lines());
}
