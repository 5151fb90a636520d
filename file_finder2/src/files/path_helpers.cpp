// Path and file helpers, over Boost.Filesystem's version 3 path rules.
#include "ff_utils.h"

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cctype>
#include <cstring>
#include <stdexcept>

#include "platform/posix.h"

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

// True when the name has nothing for normalising to do: no empty element (no "//", no
// trailing separator except in "/" itself) and no "." or ".." element. Lexical
// normalisation gives such a name back unchanged, and it has no trailing "." to drop.
// Most names the library meets are of this kind; the general path costs a path object,
// an iteration over its elements and a rebuilt string.
bool isAlreadyCanonical(const std::string& name) {
    const size_t size = name.size();
    if (size > 1 && name[size - 1] == '/') return false;
    for (size_t i = 0; i < size; ++i) {
        if (name[i] == '/') {
            if (i + 1 < size && name[i + 1] == '/') return false;
        } else if (name[i] == '.' && (i == 0 || name[i - 1] == '/')) {
            const size_t end = std::min(name.find('/', i), size);
            if (end - i == 1 || (end - i == 2 && name[i + 1] == '.')) return false;
        }
    }
    return true;
}

}  // namespace

std::string addSubPart(const char* base, const char* sub) {
    // The append rule of version 3 paths, written out on the text: the directory walk
    // joins every directory it enters this way, so the result is built in one allocation.
    // A null name throws std::logic_error, as building any std::string from it does.
    if (!base || !sub) return std::string(base) + std::string(sub);
    const size_t baseLength = std::strlen(base);
    const size_t subLength = std::strlen(sub);
    if (subLength == 0) return std::string(base, baseLength);
    const bool separator = baseLength > 0 && base[baseLength - 1] != '/' && sub[0] != '/';
    std::string joined;
    joined.reserve(baseLength + (separator ? 1 : 0) + subLength);
    joined.append(base, baseLength);
    if (separator) joined.push_back('/');
    joined.append(sub, subLength);
    return joined;
}

std::string getCanonicalName(const char* name, bool flag) {
    if (!name) return std::string();
    std::string text(name);
    if (isForeignStyleName(text)) {
        for (char& c : text)
            if (c == '\\') c = '/';
    }
    if (isAlreadyCanonical(text)) return text;
    // A directory written with its trailing separator ("/opt/x/") is the same one without.
    if (text.size() > 1 && text.back() == '/' && text[text.size() - 2] != '/') {
        std::string withoutSeparator(text, 0, text.size() - 1);
        if (isAlreadyCanonical(withoutSeparator)) return withoutSeparator;
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
