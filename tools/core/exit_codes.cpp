#include "core/exit_codes.h"

#include <iostream>

namespace ffcli {

int fail(int exitCode, const std::string& message) {
    std::cerr << "file-finder: " << message << std::endl;
    return exitCode;
}

}  // namespace ffcli
