// The logger "FILE_FINDER" and the trace scope.
#include "ff_log.h"

#include <log4cplus/loglevel.h>

#include "pellium_1/log.h"

namespace FF_2_13 {
namespace logging {

namespace {
constexpr char kLoggerName[] = "FILE_FINDER";

log4cplus::Logger makeLogger() {
    pellium_1::log::configureComponentLogger(kLoggerName);
    return log4cplus::Logger::getInstance(kLoggerName);
}
}  // namespace

log4cplus::Logger& logger() {
    static log4cplus::Logger instance = makeLogger();
    return instance;
}

TraceScope::TraceScope(const char* source, int line, const char* signature)
    : m_source(source), m_line(line), m_signature(signature) {
    log4cplus::Logger& log = logger();
    if (log.isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        log.forcedLog(log4cplus::TRACE_LOG_LEVEL, std::string("ENTER: ") + m_signature, m_source,
                      m_line);
}

TraceScope::~TraceScope() {
    log4cplus::Logger& log = logger();
    if (log.isEnabledFor(log4cplus::TRACE_LOG_LEVEL))
        log.forcedLog(log4cplus::TRACE_LOG_LEVEL, std::string("EXIT: ") + m_signature, m_source,
                      m_line);
}

std::string errorText(const std::string& text, const char* source, int line) {
    return text + ", at file: " + source + ":" + std::to_string(line);
}

}  // namespace logging
}  // namespace FF_2_13
