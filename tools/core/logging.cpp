#include "core/logging.h"

#include <log4cplus/consoleappender.h>
#include <log4cplus/initializer.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <memory>

namespace ffcli {

void configureLogging(const std::string& level) {
    log4cplus::initialize();
    log4cplus::Logger logger = log4cplus::Logger::getInstance("FILE_FINDER");
    if (level.empty()) {
        logger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
        return;
    }
    log4cplus::SharedAppenderPtr console(
        new log4cplus::ConsoleAppender(/*logToStdErr=*/true, /*immediateFlush=*/true));
    console->setName("file-finder stderr");
    console->setLayout(std::make_unique<log4cplus::PatternLayout>("%D{%H:%M:%S.%q} %-5p %m%n"));
    logger.addAppender(console);
    logger.setLogLevel(level == "trace"  ? log4cplus::TRACE_LOG_LEVEL
                       : level == "info" ? log4cplus::INFO_LOG_LEVEL
                                         : log4cplus::ERROR_LOG_LEVEL);
}

}  // namespace ffcli
