#include "core/config_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

namespace ffcli {

namespace {

constexpr char kUntouched[] = "; the file was left untouched";

// "line L, column C" of the byte at `offset` (both counted from 1).
std::string placeOf(const std::string& text, std::size_t offset) {
    offset = std::min(offset, text.size());
    std::size_t line = 1;
    std::size_t lineStart = 0;
    for (std::size_t at = 0; at < offset; ++at) {
        if (text[at] != '\n') continue;
        ++line;
        lineStart = at + 1;
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(offset - lineStart + 1);
}

// What is wrong with the shape of a parsed file; "" when it holds a list of entries.
std::string shapeError(const nlohmann::json& root) {
    if (!root.is_object()) return "the file is not a JSON object";
    const auto dirs = root.find("searchDirs");
    if (dirs == root.end()) return "";
    if (!dirs->is_array()) return "\"searchDirs\" is not a list";
    for (std::size_t i = 0; i < dirs->size(); ++i) {
        const nlohmann::json& entry = (*dirs)[i];
        if (!entry.is_object() || !entry.contains("searchCategory") ||
            !entry.contains("searchDirectory"))
            return "entry " + std::to_string(i + 1) +
                   " of \"searchDirs\" lacks its searchCategory or searchDirectory";
    }
    return "";
}

}  // namespace

bool checkConfigFile(const std::string& file, std::string& error) {
    std::error_code status;
    if (!std::filesystem::exists(file, status)) return true;
    if (std::filesystem::is_directory(file, status)) {
        error = file + " is a directory, not a configuration file";
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.is_open() || in.bad()) {
        error = "cannot read " + file + ": " + std::strerror(errno) + kUntouched;
        return false;
    }
    try {
        const std::string shape = shapeError(nlohmann::json::parse(text));
        if (shape.empty()) return true;
        error = file + ": " + shape + kUntouched;
    } catch (const nlohmann::json::parse_error& e) {
        error = file + ": " + placeOf(text, e.byte == 0 ? 0 : e.byte - 1) + ": not valid JSON" +
                kUntouched;
    }
    return false;
}

}  // namespace ffcli
