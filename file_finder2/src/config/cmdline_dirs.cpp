// Search directories as command-line options: rendering with shell quoting, and the
// parser that reads the same text back. The syntax is described in ff_cmdline_dirs.h.
#include "ff_cmdline_dirs.h"

#include <cstring>
#include <vector>

#include "config/search_dir_lists.h"

namespace FF_2_13 {
namespace cmdline {

namespace {

constexpr char kOption[] = "--search-dir";
constexpr char kRecursiveFlag[] = "recursive";
constexpr char kHighFlag[] = "high";

const search_category_t kCategories[] = {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles};

// Bytes that no POSIX shell treats specially anywhere in a word.
bool isShellSafe(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("_@%+=:,./-", c) != nullptr;
}

std::string quoteForShell(const std::string& word) {
    bool safe = !word.empty();
    for (unsigned char c : word) safe = safe && isShellSafe(c);
    if (safe) return word;
    std::string quoted = "'";
    for (char c : word) {
        if (c == '\'')
            quoted += "'\\''";  // close, an escaped quote, reopen
        else
            quoted += c;
    }
    return quoted + "'";
}

// A readable rendering of a piece of input for messages: at most 60 bytes, with
// control bytes escaped.
std::string excerpt(const std::string& text) {
    std::string out = "\"";
    for (size_t i = 0; i < text.size() && i < 60; ++i) {
        unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\n')
            out += "\\n";
        else if (c < 0x20 || c == 0x7f)
            out += "\\x" + std::string(1, "0123456789abcdef"[c >> 4]) + "0123456789abcdef"[c & 15];
        else
            out += static_cast<char>(c);
    }
    return out + (text.size() > 60 ? "...\"" : "\"");
}

struct ParsedDir {
    search_category_t category;
    std::string name;
    bool recursive;
    bool highPriority;
};

bool parseValue(const std::string& value, ParsedDir& dir, std::string& error) {
    const size_t colon = value.find(':');
    if (colon == std::string::npos) {
        error = "missing ':' between the category and the path in " + excerpt(value);
        return false;
    }
    const std::string head = value.substr(0, colon);
    dir.name = value.substr(colon + 1);
    dir.recursive = false;
    dir.highPriority = false;

    size_t start = 0;
    bool first = true;
    for (;;) {
        const size_t comma = head.find(',', start);
        const std::string word =
            head.substr(start, comma == std::string::npos ? comma : comma - start);
        if (first) {
            if (!categoryFromWord(word, dir.category)) {
                error = "unknown category " + excerpt(word) +
                        " (expected binaries, symbols, sources or all) in " + excerpt(value);
                return false;
            }
            first = false;
        } else if (word == kRecursiveFlag) {
            dir.recursive = true;
        } else if (word == kHighFlag) {
            dir.highPriority = true;
        } else {
            error = "unknown flag " + excerpt(word) + " (expected recursive or high) in " +
                    excerpt(value);
            return false;
        }
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

// Splits `text` into words as a POSIX shell would, refusing what a shell would expand.
bool splitWords(const std::string& text, std::vector<std::string>& words, std::string& error) {
    const size_t n = text.size();
    size_t i = 0;
    for (;;) {
        while (i < n && (text[i] == ' ' || text[i] == '\t' || text[i] == '\n')) ++i;
        // A backslash-newline between words is a line continuation.
        if (i + 1 < n && text[i] == '\\' && text[i + 1] == '\n') {
            i += 2;
            continue;
        }
        if (i >= n) return true;

        std::string word;
        const size_t wordStart = i;
        if (text[i] == '#' || text[i] == '~') {
            error = std::string("unquoted '") + text[i] + "' at the start of a word at offset " +
                    std::to_string(i);
            return false;
        }
        while (i < n && text[i] != ' ' && text[i] != '\t' && text[i] != '\n') {
            const char c = text[i];
            if (c == '\'') {
                const size_t close = text.find('\'', i + 1);
                if (close == std::string::npos) {
                    error = "unterminated single quote at offset " + std::to_string(i);
                    return false;
                }
                word.append(text, i + 1, close - i - 1);
                i = close + 1;
            } else if (c == '"') {
                const size_t open = i++;
                for (;;) {
                    if (i >= n) {
                        error = "unterminated double quote at offset " + std::to_string(open);
                        return false;
                    }
                    const char d = text[i];
                    if (d == '"') {
                        ++i;
                        break;
                    }
                    if (d == '\\' && i + 1 < n && std::strchr("$`\"\\\n", text[i + 1])) {
                        if (text[i + 1] != '\n') word += text[i + 1];
                        i += 2;
                        continue;
                    }
                    if (d == '$' || d == '`') {
                        error = std::string("unescaped '") + d +
                                "' inside double quotes at offset " + std::to_string(i);
                        return false;
                    }
                    word += d;
                    ++i;
                }
            } else if (c == '\\') {
                if (i + 1 >= n) {
                    error = "backslash at the end of the text";
                    return false;
                }
                if (text[i + 1] != '\n') word += text[i + 1];
                i += 2;
            } else if (std::strchr("$`;|&<>()*?[]{}!", c)) {
                error = std::string("unquoted '") + c + "' at offset " + std::to_string(i) +
                        " in " + excerpt(text.substr(wordStart));
                return false;
            } else {
                word += c;
                ++i;
            }
        }
        words.push_back(std::move(word));
    }
}

}  // namespace

std::string formatSearchDirValue(search_category_t category, const char* name, bool recursive,
                                 bool highPriority) {
    if (!isValidCategory(category) || !name) return std::string();
    std::string value = categoryWord(category);
    if (recursive) value += std::string(",") + kRecursiveFlag;
    if (highPriority) value += std::string(",") + kHighFlag;
    return value + ":" + name;
}

std::string renderSearchDirs(const ISearchDirContainer& dirs) {
    std::string text;
    for (search_category_t category : kCategories) {
        ObjectPtr<ISearchDirIterator> it = dirs.enumerate(category);
        if (!it) continue;
        const char* name = nullptr;
        bool recursive = false;
        bool highPriority = false;
        for (it->reset(); it->getCurrentRecord(name, recursive, highPriority); it->next()) {
            if (!text.empty()) text += ' ';
            text += quoteForShell(std::string(kOption) + "=" +
                                  formatSearchDirValue(category, name, recursive, highPriority));
        }
    }
    return text;
}

bool parseSearchDirValue(const char* value, IEditableSearchDirContainer& dirs, std::string& error) {
    if (!value) {
        error = "no value";
        return false;
    }
    ParsedDir dir;
    if (!parseValue(value, dir, error)) return false;
    dirs.addDirectory(dir.category, dir.name.c_str(), dir.recursive, dir.highPriority);
    return true;
}

bool parseSearchDirs(const char* text, IEditableSearchDirContainer& dirs, std::string& error) {
    if (!text) {
        error = "no text";
        return false;
    }
    std::vector<std::string> words;
    if (!splitWords(text, words, error)) return false;

    // Everything is read before anything is added, so a bad word leaves `dirs` untouched.
    const std::string prefix = std::string(kOption) + "=";
    std::vector<ParsedDir> parsed;
    for (size_t w = 0; w < words.size(); ++w) {
        std::string value;
        if (words[w].compare(0, prefix.size(), prefix) == 0) {
            value = words[w].substr(prefix.size());
        } else if (words[w] == kOption) {
            if (++w == words.size()) {
                error = std::string(kOption) + " at the end of the text needs a value";
                return false;
            }
            value = words[w];
        } else {
            error = "unexpected word " + excerpt(words[w]) + " (expected " + kOption + ")";
            return false;
        }
        ParsedDir dir;
        if (!parseValue(value, dir, error)) return false;
        parsed.push_back(std::move(dir));
    }
    for (const ParsedDir& dir : parsed)
        dirs.addDirectory(dir.category, dir.name.c_str(), dir.recursive, dir.highPriority);
    return true;
}

}  // namespace cmdline
}  // namespace FF_2_13
