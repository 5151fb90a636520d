// Path and file helpers, over Boost.Filesystem's version 3 path rules.
#include "ff_utils.h"

#include <boost/filesystem.hpp>
#include <cctype>
#include <cstring>
#include <stdexcept>

#include "ff_posix.h"

namespace fs = boost::filesystem;

namespace FF_2_13 {
namespace utils {

namespace {

// "\\srv\share\x" and "C:\dir\x" are names recorded on another system: their
// backslashes are separators. A single leading backslash is left alone.
bool isForeignStyleName(const std::string& name) {
    if (name.size() >= 2 && name[0] == '\\' && name[1] == '\\') return true;
    return name.size() >= 3 && name[0] != '\0' && name[1] == ':' && name[2] == '\\';
}

}  // namespace

std::string addSubPart(const char* base, const char* sub) {
    // The append rule of version 3 paths, written out on the text: the directory walk
    // joins every directory it enters this way, and a path object would cost two more
    // allocations per join.
    std::string joined(base);
    const std::string tail(sub);
    if (tail.empty()) return joined;
    if (!joined.empty() && joined.back() != '/' && tail.front() != '/') joined.push_back('/');
    joined += tail;
    return joined;
}

std::string getCanonicalName(const char* name, bool flag) {
    if (!name) return std::string();
    std::string text(name);
    if (isForeignStyleName(text)) {
        for (char& c : text)
            if (c == '\\') c = '/';
    }
    fs::path path(text);
    if (path.filename() == ".") path = path.parent_path();
    // Appending an empty element changes nothing under the version 3 rules; the flag
    // is kept for its callers and has no visible effect.
    if (flag) path /= "";
    return path.lexically_normal().string();
}

int compareCanonicalFileNames(const char* a, const char* b) {
    // A null name fails as it does everywhere else here, instead of inside strcmp.
    if (!a || !b) throw std::logic_error("compareCanonicalFileNames: null name");
    const int result = std::strcmp(a, b);  // compares as unsigned char
    return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

std::string getFileNameOnly(const char* name) {
    return fs::path(std::string(name)).filename().string();
}

std::string getFileNamePath(const char* name) {
    return fs::path(std::string(name)).parent_path().string();
}

std::string getFileNameBase(const char* name) {
    return fs::path(std::string(name)).stem().string();
}

std::string getFileNameExtension(const char* name) {
    return fs::path(std::string(name)).extension().string();
}

std::string changeFileNameExtension(const char* name, const char* ext) {
    fs::path path{std::string(name)};
    fs::path result = path.parent_path();
    result /= path.stem();
    return result.string() + std::string(ext);
}

bool isAbsolutePath(const char* name) {
    return !fs::path(std::string(name)).root_directory().empty();
}

bool isDirectory(const char* name) {
    const fs::path path{std::string(name)};
    boost::system::error_code error;  // an unreadable or vanished name is simply not one
    return fs::is_directory(fs::status(path, error));
}

bool fileExists(const char* name) {
    try {
        boost::system::error_code error;  // a failed status is an ordinary "no"
        return fs::is_regular_file(fs::status(fs::path(std::string(name)), error));
    } catch (...) {
        return false;  // even a null name or an allocation failure answers no here
    }
}

bool removeFile(const char* name) {
    try {
        boost::system::error_code error;  // nothing removed, whatever the reason: "no"
        return fs::remove(fs::path(std::string(name)), error) && !error;
    } catch (...) {
        return false;
    }
}

bool createDir(const char* name) {
    try {
        if (isStringEmpty(name)) return false;
        boost::system::error_code error;
        return fs::create_directory(fs::path(getCanonicalName(name, false)), error) && !error;
    } catch (...) {
        return false;
    }
}

std::string toUpper(const char* s) {
    std::string result;
    if (!s) return result;
    result.reserve(std::strlen(s));
    for (const char* p = s; *p; ++p)
        result.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(*p))));
    return result;
}

std::string getUserId() {
    std::string name;
    if (posix::loginName(name)) return name;
    return "unknown_user";
}

bool isStringEmpty(const char* s) {
    return !s || s[0] == '\0';
}

}  // namespace utils
}  // namespace FF_2_13
