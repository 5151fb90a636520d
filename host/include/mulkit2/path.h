// File: mulkit2/path.h
//
// The helper library's file path: the name's bytes as given, no normalisation.
#pragma once

#include <string>
#include <utility>

namespace mulkit2 {

class path_t {
public:
    path_t() = default;
    /// A null name gives the empty path.
    path_t(const char* name) : m_name(name ? name : "") {}
    path_t(std::string name) : m_name(std::move(name)) {}

    const char* c_str() const noexcept { return m_name.c_str(); }
    const std::string& string() const noexcept { return m_name; }
    bool empty() const noexcept { return m_name.empty(); }

private:
    std::string m_name;
};

}  // namespace mulkit2
