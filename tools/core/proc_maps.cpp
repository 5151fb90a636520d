#include "core/proc_maps.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>

namespace ffcli {

namespace {

constexpr char kDeletedSuffix[] = " (deleted)";

// The kernel writes a newline inside a path as the octal escape "\012", so that each
// mapping stays on one line.
std::string unescapeNewlines(std::string path) {
    std::string::size_type at = 0;
    while ((at = path.find("\\012", at)) != std::string::npos) {
        path.replace(at, 4, "\n");
        ++at;
    }
    return path;
}

// Splits "ADDRESS PERMS OFFSET DEV INODE   PATH": the path is what follows the fifth
// field and the blanks after it, and may itself hold blanks.
bool splitMapping(const std::string& line, std::string& perms, std::string& path) {
    std::string::size_type at = 0;
    for (int field = 0; field < 5; ++field) {
        const std::string::size_type start = line.find_first_not_of(' ', at);
        if (start == std::string::npos) return false;
        const std::string::size_type end = line.find(' ', start);
        if (field == 1) perms = line.substr(start, end - start);
        if (end == std::string::npos) {
            if (field < 4) return false;
            path.clear();
            return true;
        }
        at = end;
    }
    const std::string::size_type start = line.find_first_not_of(' ', at);
    path = start == std::string::npos ? std::string() : line.substr(start);
    return true;
}

}  // namespace

std::vector<MappedModule> parseProcMaps(std::istream& maps) {
    std::vector<MappedModule> modules;
    std::set<std::string> seen;
    std::string line, perms, path;
    while (std::getline(maps, line)) {
        if (!splitMapping(line, perms, path)) continue;
        if (perms.size() != 4 || perms[2] != 'x' || path.empty() || path[0] != '/') continue;
        MappedModule module;
        const std::size_t suffix = sizeof kDeletedSuffix - 1;
        if (path.size() > suffix &&
            path.compare(path.size() - suffix, suffix, kDeletedSuffix) == 0) {
            path.erase(path.size() - suffix);
            module.deleted = true;
        }
        module.path = unescapeNewlines(path);
        if (seen.insert(module.path).second) modules.push_back(module);
    }
    return modules;
}

std::optional<std::vector<MappedModule>> readProcMaps(const std::string& pid, std::string& error) {
    const std::string file = "/proc/" + pid + "/maps";
    std::ifstream in(file);
    if (!in) {
        error = "cannot read " + file + ": " + std::strerror(errno);
        return std::nullopt;
    }
    // Read it whole first: the process may change its mappings while we parse.
    std::stringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        error = "cannot read " + file;
        return std::nullopt;
    }
    return parseProcMaps(text);
}

}  // namespace ffcli
