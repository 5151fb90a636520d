#include "core/proc_maps.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

namespace ffcli {

namespace {

constexpr char kDeletedSuffix[] = " (deleted)";
constexpr char kVdso[] = "[vdso]";

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

struct Mapping {
    std::uint64_t start = 0, end = 0, offset = 0, inode = 0;
    unsigned int major = 0, minor = 0;
    std::string perms, path;
};

// Reads "START-END PERMS OFFSET MAJOR:MINOR INODE   PATH": the path is what follows the
// inode and the blanks after it, and may itself hold blanks.
bool parseMapping(const std::string& line, Mapping& mapping) {
    char perms[8] = {};
    int pathAt = -1;
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %7s %" SCNx64 " %x:%x %" SCNu64 "%n",
                    &mapping.start, &mapping.end, perms, &mapping.offset, &mapping.major,
                    &mapping.minor, &mapping.inode, &pathAt) != 7 ||
        pathAt < 0)
        return false;
    mapping.perms = perms;
    const std::string::size_type start = line.find_first_not_of(' ', pathAt);
    mapping.path = start == std::string::npos ? std::string() : line.substr(start);
    return mapping.perms.size() == 4 && mapping.start < mapping.end;
}

}  // namespace

std::string addressRange(std::uint64_t start, std::uint64_t end) {
    char text[40];
    std::snprintf(text, sizeof text, "%" PRIx64 "-%" PRIx64, start, end);
    return text;
}

std::string MappedModule::range() const {
    return addressRange(start, end);
}

std::vector<MappedModule> parseProcMaps(std::istream& maps) {
    std::vector<MappedModule> modules;
    std::vector<bool> executable, headerSeen;
    std::map<std::tuple<std::string, unsigned, unsigned, std::uint64_t>, std::size_t> byFile;
    std::string line;
    Mapping mapping;
    while (std::getline(maps, line)) {
        if (!parseMapping(line, mapping)) continue;
        const bool vdso = mapping.path == kVdso;
        if (!vdso && (mapping.path.empty() || mapping.path[0] != '/')) continue;
        bool deleted = false;
        const std::size_t suffix = sizeof kDeletedSuffix - 1;
        if (mapping.path.size() > suffix &&
            mapping.path.compare(mapping.path.size() - suffix, suffix, kDeletedSuffix) == 0) {
            mapping.path.erase(mapping.path.size() - suffix);
            deleted = true;
        }
        const std::string path = unescapeNewlines(mapping.path);
        const auto key = std::make_tuple(path, mapping.major, mapping.minor, mapping.inode);
        auto found = byFile.find(key);
        if (found == byFile.end()) {
            MappedModule module;
            module.path = path;
            module.vdso = vdso;
            module.start = mapping.start;
            module.end = mapping.end;
            module.headerStart = mapping.start;
            module.headerEnd = mapping.end;
            module.deviceMajor = mapping.major;
            module.deviceMinor = mapping.minor;
            module.inode = mapping.inode;
            found = byFile.emplace(key, modules.size()).first;
            modules.push_back(module);
            executable.push_back(false);
            headerSeen.push_back(false);
        }
        MappedModule& module = modules[found->second];
        module.deleted = module.deleted || deleted;
        module.start = std::min(module.start, mapping.start);
        module.end = std::max(module.end, mapping.end);
        if (mapping.offset == 0 && !headerSeen[found->second]) {
            headerSeen[found->second] = true;
            module.headerStart = mapping.start;
            module.headerEnd = mapping.end;
        }
        if (mapping.perms[2] == 'x') executable[found->second] = true;
    }
    std::vector<MappedModule> kept;
    for (std::size_t i = 0; i < modules.size(); ++i)
        if (executable[i]) kept.push_back(modules[i]);
    return kept;
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
