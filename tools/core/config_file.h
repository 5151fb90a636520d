// File: config_file.h
//
// The check the command makes of a --config file before the library opens it. The
// library skips what it cannot read and keeps the damaged file aside at the next change;
// the command would rather stop and say where the file broke, and leave it as it is.
//
//   std::string error;
//   if (!checkConfigFile("dirs.json", error)) return fail(kExitBadInput, error);
//   // "dirs.json: line 3, column 7: not valid JSON (...); the file was left untouched"
#pragma once

#include <string>

namespace ffcli {

/// True for a missing file (it holds no directories) and for one the library reads
/// whole; false with `error` naming the file, what is wrong (and where: line and column)
/// and that it was left untouched.
bool checkConfigFile(const std::string& file, std::string& error);

}  // namespace ffcli
