// The library's logging helpers: a line is built only when an appender that keeps lines would
// receive it, wherever in the logger's ancestry the host attached that appender.
#include "base/log.h"

#include <gtest/gtest.h>
#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>

using namespace FF_2_13;

namespace {

constexpr char kSource[] = "tests/unit/base/log_test";

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

}  // namespace

// Whether anyone listens is asked once per operation: an appender attached in the middle of
// one hears the operations that start after it. One on the root logger, as a host configures
// it, counts as much as one on the library's own logger.
TEST(Logging, AnAppenderAnywhereAboveHearsTheOperationsThatStartAfterIt) {
    log4cplus::Logger root = log4cplus::Logger::getRoot();
    auto* collector = new Collector;
    log4cplus::SharedAppenderPtr appender(collector);
    {
        FF_TRACE_SCOPE(kSource, "void first()");
        FF_LOG_INFO(kSource, "before");
        root.addAppender(appender);
        FF_LOG_INFO(kSource, "after, same operation");
    }
    FF_LOG_INFO(kSource, "outside " << 1);
    {
        FF_TRACE_SCOPE(kSource, "void second()");
        FF_LOG_INFO(kSource, "inside " << 2);
    }
    root.removeAppender(appender);
    EXPECT_EQ((std::vector<std::string>{"outside 1", "inside 2"}), collector->lines);
}
