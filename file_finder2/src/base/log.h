// Logging of the library: one log4cplus logger, "FILE_FINDER", silent unless the host
// configures log4cplus. Every helper asks first whether the level is enabled and whether
// any appender would receive the line, so a line nobody reads costs a check or two and
// builds no text.
//
// Each source file names its log source once, from the fixed names of log_sources.h
// (not __FILE__, which changes with the build directory):
//
//   namespace { constexpr const char* kLogSource = log_source::kSearch; }
//   FF_TRACE_SCOPE(kLogSource, "void SearchHistory::clear(search_category_t)");
//   FF_LOG_INFO(kLogSource, "Searching bin file:" << name);
//   FF_LOG_ERROR(kLogSource, "Empty directory name.");   // + ", at file: <source>:<line>"
//
// A trace text is the operation's signature, written one way everywhere: return type,
// class-qualified name, parameter types without names ("const char*"), and a trailing
// "const" on const members; no "virtual".
#pragma once

#include <log4cplus/logger.h>

#include <sstream>
#include <string>

#include "base/log_sources.h"

namespace FF_2_13 {
namespace logging {

/// The logger "FILE_FINDER", taken once when the library is loaded.
log4cplus::Logger& logger();

/// Writes "ENTER: " + signature when built and "EXIT: " + signature when destroyed, at
/// trace level, when that level is enabled.
class TraceScope {
public:
    TraceScope(const char* source, int line, const char* signature);
    ~TraceScope();
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

private:
    const char* m_source;
    int m_line;
    const char* m_signature;
};

/// Whether a line logged now would reach an appender that keeps it: false when every
/// appender the logger's lines go to (its own and, while additivity holds, those of its
/// ancestors) is a NullAppender, or there is none. The logger is enabled for info lines
/// even when the host configured nothing (it only carries a NullAppender, to keep
/// log4cplus quiet), and log4cplus drops a line for a NullAppender only after its text
/// was built, the event filled and two locks taken per appender: for a search that logs a
/// line per directory entered, that was most of its user-space time.
///
/// The answer is taken at the first line of a public operation (the thread's outermost
/// trace scope) and kept until the operation returns; outside any trace scope it is taken
/// for every line. An appender attached while an operation runs receives the lines of the
/// operations that start after it.
bool linesReachAnAppender();

/// The error form of the library: text, ", at file: ", source, ":", line.
std::string errorText(const std::string& text, const char* source, int line);

}  // namespace logging
}  // namespace FF_2_13

#define FF_LOG_AT_LEVEL_(level, source, line, expr)                                        \
    do {                                                                                   \
        log4cplus::Logger& ffLogger_ = ::FF_2_13::logging::logger();                       \
        if (ffLogger_.isEnabledFor(level) && ::FF_2_13::logging::linesReachAnAppender()) { \
            std::ostringstream ffText_;                                                    \
            ffText_ << expr;                                                               \
            ffLogger_.forcedLog(level, ffText_.str(), source, line);                       \
        }                                                                                  \
    } while (0)

#define FF_TRACE_SCOPE(source, signature) \
    ::FF_2_13::logging::TraceScope ffTraceScope_(source, __LINE__, signature)

#define FF_LOG_INFO(source, expr) \
    FF_LOG_AT_LEVEL_(log4cplus::INFO_LOG_LEVEL, source, __LINE__, expr)

#define FF_LOG_WARN(source, expr) \
    FF_LOG_AT_LEVEL_(log4cplus::WARN_LOG_LEVEL, source, __LINE__, expr)

/// Error lines carry their own location: "<text>, at file: <source>:<line>".
#define FF_LOG_ERROR_AT(source, line, expr)                    \
    FF_LOG_AT_LEVEL_(log4cplus::ERROR_LOG_LEVEL, source, line, \
                     expr << ", at file: " << source << ":" << line)

#define FF_LOG_ERROR(source, expr) FF_LOG_ERROR_AT(source, __LINE__, expr)
