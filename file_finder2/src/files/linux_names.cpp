// Repairs of names recorded on another system.
#include "files/linux_names.h"

#include <algorithm>

namespace FF_2_13 {

bool fixLinuxName(std::string& name) {
    if (name.empty()) return false;
    const char first = name[0];
    if (first != '\\' && first != '/') return false;
    // Two equal leading separators are a network path, not a Linux one.
    if (name.size() > 1 && name[1] == first) return false;
    std::replace(name.begin(), name.end(), '\\', '/');
    return true;
}

}  // namespace FF_2_13
