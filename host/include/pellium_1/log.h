// File: pellium_1/log.h
//
// The host's logging set-up for a component library. The library calls it once, at
// load, for its logger; the host configures log4cplus as it likes, before or after.
#pragma once

namespace pellium_1 {
namespace log {

/// Initialises log4cplus and makes `loggerName` silent until the host configures
/// log4cplus: no "no appenders" warning, and nothing written anywhere. Once the host
/// attaches appenders (to the root logger or to this one), the component's lines reach
/// them as usual. Safe to call more than once.
__attribute__((visibility("default"))) void configureComponentLogger(const char* loggerName);

}  // namespace log
}  // namespace pellium_1
