// Path and file helpers, over Boost.Filesystem's version 3 path rules.
#include "ff_utils.h"

#include <boost/filesystem.hpp>
#include <cctype>
#include <cstring>

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
    fs::path joined{std::string(base)};
    joined /= std::string(sub);
    return joined.string();
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
    const int result = std::strcmp(a, b);  // compares as unsigned char
    return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

std::string getFileNameOnly(const char* name) { return fs::path(std::string(name)).filename().string(); }

std::string getFileNamePath(const char* name) {
    return fs::path(std::string(name)).parent_path().string();
}

std::string getFileNameBase(const char* name) { return fs::path(std::string(name)).stem().string(); }

std::string getFileNameExtension(const char* name) {
    return fs::path(std::string(name)).extension().string();
}

std::string changeFileNameExtension(const char* name, const char* ext) {
    fs::path path{std::string(name)};
    fs::path result = path.parent_path();
    result /= path.stem();
    return result.string() + std::string(ext);
}

bool isAbsolutePath(const char* name) { return !fs::path(std::string(name)).root_directory().empty(); }

bool isDirectory(const char* name) {
    try {
        return fs::is_directory(fs::path(std::string(name)));
    } catch (const fs::filesystem_error&) {
        return false;  // an unreadable or vanished name is not a directory we can use
    }
}

bool fileExists(const char* name) {
    try {
        return fs::is_regular_file(fs::path(std::string(name)));
    } catch (...) {
        return false;
    }
}

bool removeFile(const char* name) {
    try {
        return fs::remove(fs::path(std::string(name)));
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

bool isStringEmpty(const char* s) { return !s || s[0] == '\0'; }

}  // namespace utils
}  // namespace FF_2_13
