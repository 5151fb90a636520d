// File: QORAL_2_18/generic.h
//
// Argument lists for message formatting: a varg_list has exactly 26 positions, each a
// named argument or `nil`. A message refers to its arguments by name (i18n.h).
//
//   using namespace QORAL_2_18;
//   generic::varg_list args(generic::argument("arg1", types::variant("/usr/lib/libc.so.6")));
//   // positions 2..26 are nil
#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "QORAL_2_18/strings.h"
#include "QORAL_2_18/types.h"

namespace QORAL_2_18 {
namespace generic {

struct nil_t {
    constexpr nil_t() = default;
};
/// The empty argument: fills a position that carries nothing.
constexpr nil_t nil{};

/// A named value, or nil.
class argument {
public:
    argument() = default;
    argument(nil_t) {}
    argument(strings::ustring8 name, types::variant value)
        : m_nil(false), m_name(std::move(name)), m_value(std::move(value)) {}

    bool is_nil() const noexcept { return m_nil; }
    const strings::ustring8& name() const noexcept { return m_name; }
    const types::variant& value() const noexcept { return m_value; }

private:
    bool m_nil = true;
    strings::ustring8 m_name;
    types::variant m_value;
};

/// Exactly 26 argument positions; those not given are nil.
class varg_list {
public:
    static constexpr std::size_t kPositions = 26;

    varg_list() = default;
    /// Up to 26 arguments (or nil) for the first positions, in order.
    template <class... Args>
    explicit varg_list(const Args&... args) : m_arguments{{argument(args)...}} {
        static_assert(sizeof...(Args) <= kPositions, "a varg_list has 26 positions");
    }

    constexpr std::size_t size() const noexcept { return kPositions; }
    /// `index` must be below 26.
    const argument& operator[](std::size_t index) const { return m_arguments[index]; }

    /// The first non-nil argument called `name`, or null.
    const argument* find(const strings::ustring8& name) const {
        for (const argument& a : m_arguments)
            if (!a.is_nil() && a.name() == name) return &a;
        return nullptr;
    }

private:
    std::array<argument, kPositions> m_arguments;
};

}  // namespace generic
}  // namespace QORAL_2_18
