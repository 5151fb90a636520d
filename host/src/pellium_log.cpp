// Component logger set-up over log4cplus.
#include "pellium_1/log.h"

#include <log4cplus/appender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

namespace pellium_1 {
namespace log {

void configureComponentLogger(const char* loggerName) {
    log4cplus::initialize();
    if (!loggerName) return;
    log4cplus::Logger logger = log4cplus::Logger::getInstance(loggerName);
    // A null appender on the component's own logger keeps log4cplus from warning about
    // a logger without appenders; additivity stays on, so the host's appenders on the
    // root logger still receive every line once the host configures them.
    const char* const kSilencerName = "pellium_1.silencer";
    if (!logger.getAppender(kSilencerName)) {
        log4cplus::SharedAppenderPtr silencer(new log4cplus::NullAppender);
        silencer->setName(kSilencerName);
        logger.addAppender(silencer);
    }
}

}  // namespace log
}  // namespace pellium_1
