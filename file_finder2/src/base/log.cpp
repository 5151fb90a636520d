// The logger "FILE_FINDER" and the trace scope.
#include "base/log.h"

#include <log4cplus/loglevel.h>
#include <log4cplus/nullappender.h>

#include "pellium_1/log.h"

namespace FF_2_13 {
namespace logging {

namespace {
constexpr char kLoggerName[] = "FILE_FINDER";

log4cplus::Logger makeLogger() {
    pellium_1::log::configureComponentLogger(kLoggerName);
    return log4cplus::Logger::getInstance(kLoggerName);
}

// Where this thread stands: how many trace scopes are open, and what the outermost one
// found out about the appenders (taken at its first line).
struct AppenderVerdict {
    int openScopes = 0;
    enum { unknown, reached, unreached } lines = unknown;
};
thread_local AppenderVerdict t_verdict;

bool anAppenderKeepsLines() {
    log4cplus::Logger current = logger();
    static const log4cplus::tstring rootName = log4cplus::Logger::getRoot().getName();
    for (;;) {
        for (const log4cplus::SharedAppenderPtr& appender : current.getAllAppenders())
            if (!dynamic_cast<const log4cplus::NullAppender*>(appender.get())) return true;
        // The root has no parent to ask (log4cplus complains when asked).
        if (!current.getAdditivity() || current.getName() == rootName) return false;
        current = current.getParent();
    }
}

}  // namespace

log4cplus::Logger& logger() {
    static log4cplus::Logger instance = makeLogger();
    return instance;
}

bool linesReachAnAppender() {
    AppenderVerdict& verdict = t_verdict;
    if (verdict.openScopes == 0) return anAppenderKeepsLines();
    if (verdict.lines == AppenderVerdict::unknown)
        verdict.lines =
            anAppenderKeepsLines() ? AppenderVerdict::reached : AppenderVerdict::unreached;
    return verdict.lines == AppenderVerdict::reached;
}

TraceScope::TraceScope(const char* source, int line, const char* signature)
    : m_source(source), m_line(line), m_signature(signature) {
    if (t_verdict.openScopes++ == 0) t_verdict.lines = AppenderVerdict::unknown;
    log4cplus::Logger& log = logger();
    if (log.isEnabledFor(log4cplus::TRACE_LOG_LEVEL) && linesReachAnAppender())
        log.forcedLog(log4cplus::TRACE_LOG_LEVEL, std::string("ENTER: ") + m_signature, m_source,
                      m_line);
}

TraceScope::~TraceScope() {
    log4cplus::Logger& log = logger();
    if (log.isEnabledFor(log4cplus::TRACE_LOG_LEVEL) && linesReachAnAppender())
        log.forcedLog(log4cplus::TRACE_LOG_LEVEL, std::string("EXIT: ") + m_signature, m_source,
                      m_line);
    --t_verdict.openScopes;
}

std::string errorText(const std::string& text, const char* source, int line) {
    return text + ", at file: " + source + ":" + std::to_string(line);
}

}  // namespace logging
}  // namespace FF_2_13
