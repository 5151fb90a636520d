// The platform's debug assertion.
#include "QORAL_2_18/debug.h"

#include <atomic>
#include <cstdio>

namespace QORAL_2_18 {
namespace debug {

namespace {

void writeToStandardError(const char* text, const char* file, int line) {
    std::fprintf(stderr, "assertion failed: %s (%s:%d)\n", text ? text : "", file ? file : "",
                 line);
}

std::atomic<assertion_handler_t> g_handler{&writeToStandardError};

}  // namespace

void set_assertion_handler(assertion_handler_t handler) {
    g_handler.store(handler ? handler : &writeToStandardError);
}

void assertion_failed(const char* text, const char* file, int line) {
    g_handler.load()(text, file, line);
}

}  // namespace debug
}  // namespace QORAL_2_18
