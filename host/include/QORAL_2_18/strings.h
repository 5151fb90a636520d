// File: QORAL_2_18/strings.h
//
// The platform's text type: a UTF-8 byte string. Nothing is validated or converted; the
// bytes are kept as given.
//
//   QORAL_2_18::strings::ustring8 id("FileDoesNotExist");
//   printf("%s\n", id.c_str());
#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace QORAL_2_18 {
namespace strings {

class ustring8 {
public:
    ustring8() = default;
    /// A null text gives the empty string.
    ustring8(const char* text) : m_bytes(text ? text : "") {}
    ustring8(std::string bytes) : m_bytes(std::move(bytes)) {}

    const char* c_str() const noexcept { return m_bytes.c_str(); }
    /// Length in bytes.
    std::size_t size() const noexcept { return m_bytes.size(); }
    bool empty() const noexcept { return m_bytes.empty(); }
    const std::string& bytes() const noexcept { return m_bytes; }

    friend bool operator==(const ustring8& a, const ustring8& b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const ustring8& a, const ustring8& b) { return a.m_bytes != b.m_bytes; }
    friend bool operator<(const ustring8& a, const ustring8& b) { return a.m_bytes < b.m_bytes; }

private:
    std::string m_bytes;
};

}  // namespace strings
}  // namespace QORAL_2_18
