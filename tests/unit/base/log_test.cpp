// The library's logging helpers: a line is built only when an appender that keeps lines
// would receive it, wherever in the logger's ancestry the host attached that appender.
#include "base/log.h"

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

// Whether anyone listens is asked once per operation: an appender attached in the middle
// of one hears the operations that start after it. One attached to the root logger, as a
// host configures it, counts as much as one on the library's own logger.
TEST(Logging, AnAppenderAnywhereAboveHearsTheOperationsThatStartAfterIt) {
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    {
        FF_TRACE_SCOPE(kSource, "void first()");
        FF_LOG_INFO(kSource, "before");
        Attached late(root);
        FF_LOG_INFO(kSource, "after, same operation");
        EXPECT_TRUE(late.lines().empty());
    }
    Attached listening(root);
    FF_LOG_INFO(kSource, "outside " << 1);
    {
        FF_TRACE_SCOPE(kSource, "void second()");
        FF_LOG_INFO(kSource, "inside " << 2);
    }
    EXPECT_EQ((std::vector<std::string>{"outside 1", "inside 2"}), listening.lines());
}
