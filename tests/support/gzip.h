// gzip data made here with zlib, for the tests of kernel image extraction.
#pragma once

#include <string>

namespace fftest {

/// One gzip stream of `data`, starting with the signature 1F 8B 08 00 (no name, no flags).
std::string gzip(const std::string& data);

}  // namespace fftest
