// Names in JSON: the test for well-formed UTF-8, the percent escapes, and the JSON forms
// (the one written, and the two that earlier versions wrote, still read).
#include "files/json_names.h"

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <iterator>

#include "ff_utils.h"

namespace FF_2_13 {

namespace {

// The length of the well-formed UTF-8 character that starts at `p`; 0 when the bytes
// there are not one (a stray byte, an overlong form, a surrogate, a cut sequence).
std::size_t characterLength(const char* p, const char* end) {
    namespace utf = boost::locale::utf;
    const char* next = p;
    const utf::code_point c = utf::utf_traits<char>::decode(next, end);
    return c == utf::illegal || c == utf::incomplete ? 0 : static_cast<std::size_t>(next - p);
}

// The string of `value` when it is an object whose only member is `key`, holding a string.
template <class Json>
const std::string* soleString(const Json& value, const char* key) {
    if (!value.is_object() || value.size() != 1) return nullptr;
    auto member = value.find(key);
    if (member == value.end() || !member->is_string()) return nullptr;
    return &member->template get_ref<const std::string&>();
}

}  // namespace

namespace utils {

bool isWellFormedUtf8(const std::string& name) {
    const char* end = name.data() + name.size();
    for (const char* p = name.data(); p < end;) {
        const std::size_t length = characterLength(p, end);
        if (length == 0) return false;
        p += length;
    }
    return true;
}

std::string percentEncodeName(const std::string& name) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(name.size());
    const char* end = name.data() + name.size();
    for (const char* p = name.data(); p < end;) {
        const std::size_t length = *p == '%' ? 0 : characterLength(p, end);
        if (length > 0) {
            text.append(p, length);
            p += length;
            continue;
        }
        const auto byte = static_cast<unsigned char>(*p++);
        text += '%';
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

bool percentDecodeName(const std::string& text, std::string& name) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        unsigned int byte = 0;
        const char* digits = text.data() + i + 1;
        const char* end = digits + std::min<std::size_t>(2, text.size() - i - 1);
        if (end - digits != 2 || std::from_chars(digits, end, byte, 16).ptr != end) return false;
        decoded += static_cast<char>(byte);
        i += 2;
    }
    name = std::move(decoded);
    return true;
}

}  // namespace utils

template <class Json>
Json nameToJson(const std::string& name) {
    if (utils::isWellFormedUtf8(name)) return Json(name);
    return Json::object({{utils::kPercentEncodedMember, utils::percentEncodeName(name)}});
}

template <class Json>
bool nameFromJson(const Json& value, std::string& name, std::string& fault) {
    std::string decoded;
    if (value.is_string()) {
        decoded = value.template get<std::string>();
    } else if (const std::string* text = soleString(value, utils::kPercentEncodedMember)) {
        if (!utils::percentDecodeName(*text, decoded)) {
            fault = "has a '%' without two hexadecimal digits after it";
            return false;
        }
    } else if (const std::string* hex = soleString(value, "hex")) {
        try {
            boost::algorithm::unhex(hex->begin(), hex->end(), std::back_inserter(decoded));
        } catch (const boost::algorithm::hex_decode_error&) {
            fault = "is not an even number of hexadecimal digits";
            return false;
        }
    } else if (value.is_array()) {
        for (const Json& byte : value) {
            if (!byte.is_number_integer() || byte.template get<long long>() < 0 ||
                byte.template get<long long>() > 255) {
                fault = "is a list with something other than byte values";
                return false;
            }
            decoded += static_cast<char>(byte.template get<int>());
        }
    } else {
        fault = std::string("is ") + value.type_name() + ", not a string or {\"" +
                utils::kPercentEncodedMember + "\": ...}";
        return false;
    }
    if (decoded.find('\0') != std::string::npos) {
        fault = "contains a NUL byte";
        return false;
    }
    name = std::move(decoded);
    return true;
}

template nlohmann::json nameToJson(const std::string&);
template nlohmann::ordered_json nameToJson(const std::string&);
template bool nameFromJson(const nlohmann::json&, std::string&, std::string&);
template bool nameFromJson(const nlohmann::ordered_json&, std::string&, std::string&);

}  // namespace FF_2_13
