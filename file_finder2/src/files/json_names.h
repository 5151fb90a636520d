// Names in the library's JSON files: the one form every writer uses and every form a
// reader takes back, as ff_utils.h describes them ("Names in JSON").
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace FF_2_13 {

/// `name` as JSON: a string when it is well-formed UTF-8, {"percentEncoded": ...}
/// otherwise. The strict JSON writer accepts either.
template <class Json>
Json nameToJson(const std::string& name);

/// The name that `value` holds, in the current form or an earlier one. False, with
/// `fault` saying what is wrong ("is number, not a string or ..."), for anything else,
/// and for a name with a NUL byte, which the C strings of the interface would cut short.
template <class Json>
bool nameFromJson(const Json& value, std::string& name, std::string& fault);

extern template nlohmann::json nameToJson(const std::string&);
extern template nlohmann::ordered_json nameToJson(const std::string&);
extern template bool nameFromJson(const nlohmann::json&, std::string&, std::string&);
extern template bool nameFromJson(const nlohmann::ordered_json&, std::string&, std::string&);

}  // namespace FF_2_13
