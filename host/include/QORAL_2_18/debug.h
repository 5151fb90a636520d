// File: QORAL_2_18/debug.h
//
// The platform's debug assertion: reports a broken programming assumption (such as
// "Null pointer") without stopping the process. The default handler writes one line to
// standard error; a host (or a test) may install its own, for example one that aborts in
// its debug builds.
//
//   if (!QORAL_ASSERT(steps, "Null pointer")) return nullptr;
#pragma once

#include "QORAL_2_18/api.h"

namespace QORAL_2_18 {
namespace debug {

using assertion_handler_t = void (*)(const char* text, const char* file, int line);

/// Installs `handler` for every later failed assertion; null restores the default.
/// Thread-safe.
QORAL_API void set_assertion_handler(assertion_handler_t handler);

/// Reports a failed assertion through the installed handler.
QORAL_API void assertion_failed(const char* text, const char* file, int line);

/// `condition`, after reporting `text` when it is false.
inline bool check(bool condition, const char* text, const char* file, int line) {
    if (!condition) assertion_failed(text, file, line);
    return condition;
}

}  // namespace debug
}  // namespace QORAL_2_18

/// Evaluates to the condition; reports `text` with this source location when it is false.
#define QORAL_ASSERT(condition, text) \
    ::QORAL_2_18::debug::check(static_cast<bool>(condition), text, __FILE__, __LINE__)
/// The same with an explicit source name (a stable name rather than the build path).
#define QORAL_ASSERT_AT(condition, text, source) \
    ::QORAL_2_18::debug::check(static_cast<bool>(condition), text, source, __LINE__)
