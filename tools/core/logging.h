// File: logging.h
//
// The command's --log-level: the library logs through the log4cplus logger
// "FILE_FINDER", which stays silent unless its host gives it an appender. file-finder is
// that host: with a level it writes the logger's lines to stderr, without one it switches
// the logger off (so the library does not even build its log texts).
#pragma once

#include <string>

namespace ffcli {

/// Sets the logger up for `level` ("trace", "info" or "error"; "" for silence).
void configureLogging(const std::string& level);

}  // namespace ffcli
