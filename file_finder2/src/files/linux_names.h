// Repairs of names recorded on another system.
#pragma once

#include <string>

namespace FF_2_13 {

/// A name that begins with exactly one separator ("\usr\lib\x" or "/usr\lib\x", but not
/// "\\server\x" or "//server/x") is a Linux absolute path written with the wrong
/// separators: every backslash becomes a slash and the answer is true. Any other name
/// (two leading separators, a drive letter, a relative or empty name) is left as it is and
/// the answer is false. An ordinary Linux absolute path therefore answers true, unchanged.
bool fixLinuxName(std::string& name);

}  // namespace FF_2_13
