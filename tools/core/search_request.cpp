#include "core/search_request.h"

#include <cctype>

namespace ffcli {

const char* kindWord(RequestKind kind) {
    switch (kind) {
        case RequestKind::kBinary:
            return "bin";
        case RequestKind::kSymbol:
            return "sym";
        case RequestKind::kSource:
            return "src";
    }
    return "bin";
}

FF_2_13::search_category_t categoryOf(RequestKind kind) {
    switch (kind) {
        case RequestKind::kBinary:
            return FF_2_13::scBinaryFiles;
        case RequestKind::kSymbol:
            return FF_2_13::scSymbolFiles;
        case RequestKind::kSource:
            return FF_2_13::scSourceFiles;
    }
    return FF_2_13::scBinaryFiles;
}

std::optional<FF_2_13::search_category_t> categoryFromOption(const std::string& word) {
    for (RequestKind kind : {RequestKind::kBinary, RequestKind::kSymbol, RequestKind::kSource})
        if (word == kindWord(kind)) return categoryOf(kind);
    if (word == "all") return FF_2_13::scAllFiles;
    return std::nullopt;
}

std::string Request::buildId() const {
    return identity ? identity->buildId() : "";
}

std::string ExpectedChecksum::text() const {
    return (type == FF_2_13::ctSHA1 ? "sha1:" : "md5:") + hex;
}

bool parseChecksum(const std::string& text, ExpectedChecksum& checksum, std::string& error) {
    const std::string::size_type colon = text.find(':');
    const std::string kind = text.substr(0, colon);
    ExpectedChecksum parsed;
    size_t digits = 0;
    if (colon == std::string::npos) {
        error = "checksum '" + text + "' is not written TYPE:HEX (md5:... or sha1:...)";
        return false;
    }
    if (kind == "md5") {
        parsed.type = FF_2_13::ctMD5;
        digits = 32;
    } else if (kind == "sha1") {
        parsed.type = FF_2_13::ctSHA1;
        digits = 40;
    } else {
        error = "checksum type '" + kind + "' is neither md5 nor sha1";
        return false;
    }
    parsed.hex = text.substr(colon + 1);
    for (char& c : parsed.hex) {
        if (!std::isxdigit(static_cast<unsigned char>(c))) {
            error = "checksum '" + text + "' has a character that is not a hexadecimal digit";
            return false;
        }
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (parsed.hex.size() != digits) {
        error = "a " + kind + " checksum has " + std::to_string(digits) + " hexadecimal digits, '" +
                text + "' has " + std::to_string(parsed.hex.size());
        return false;
    }
    checksum = parsed;
    return true;
}

}  // namespace ffcli
