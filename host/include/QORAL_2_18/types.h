// File: QORAL_2_18/types.h
//
// The platform's value type for message arguments. Only texts are carried: every
// argument the file finder formats is a file name or another text.
#pragma once

#include <string>

#include "QORAL_2_18/strings.h"

namespace QORAL_2_18 {
namespace types {

/// Empty, or one text.
class variant {
public:
    variant() = default;
    /// A null text gives an empty variant.
    variant(const char* text) : m_empty(text == nullptr), m_text(text) {}
    variant(const std::string& text) : m_empty(false), m_text(text) {}
    variant(const strings::ustring8& text) : m_empty(false), m_text(text) {}

    bool is_empty() const noexcept { return m_empty; }
    /// The text; "" for an empty variant.
    const strings::ustring8& as_ustring() const noexcept { return m_text; }

private:
    bool m_empty = true;
    strings::ustring8 m_text;
};

}  // namespace types
}  // namespace QORAL_2_18
