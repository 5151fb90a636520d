// File: QORAL_2_18/i18n.h
//
// Message catalogs: a catalog maps message identifiers to texts with named placeholders,
// and a message formats itself with an argument list (generic.h).
//
//   using namespace QORAL_2_18;
//   i18n::catalog_t catalog{{"FileDoesNotExist", "The file {arg1} does not exist."}};
//   i18n::message_t m = catalog.message("FileDoesNotExist");   // m.size() == 0 if unknown
//   strings::ustring8 text =
//       m.as_ustring(generic::varg_list(generic::argument("arg1", types::variant("/a/b"))));
//   // "The file /a/b does not exist."
//
// Placeholder syntax of a message text:
//   {name}   the text of the argument called `name` (any bytes but '{' and '}'), e.g.
//            "{arg1}" or "{%1}". An argument that is absent, nil or empty expands to
//            nothing.
//   {{  }}   a literal '{' and '}'.
//   A '{' without a closing '}', and a lone '}', stand for themselves.
//
// Identifiers: a message identifier is often written with a leading '%' where it stands
// in for its text ("%FileDoesNotExist"); message() ignores one leading '%', so both
// spellings find the same message.
//
// Catalogs are immutable once shared; every const operation may run on several threads.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <utility>

#include "QORAL_2_18/api.h"
#include "QORAL_2_18/generic.h"
#include "QORAL_2_18/strings.h"

namespace QORAL_2_18 {
namespace i18n {

/// One message text; empty (size() 0) for an identifier the catalog does not hold.
class QORAL_API message_t {
public:
    message_t() = default;
    explicit message_t(strings::ustring8 text) : m_text(std::move(text)) {}

    /// Length of the unformatted text in bytes.
    std::size_t size() const noexcept { return m_text.size(); }
    const strings::ustring8& text() const noexcept { return m_text; }
    /// The text with its placeholders replaced from `args` (syntax above).
    strings::ustring8 as_ustring(const generic::varg_list& args) const;

private:
    strings::ustring8 m_text;
};

/// A set of messages by identifier.
class QORAL_API catalog_t {
public:
    catalog_t() = default;
    catalog_t(std::initializer_list<std::pair<const char*, const char*>> messages);

    /// Adds a message, replacing one with the same identifier.
    void add(const strings::ustring8& id, const strings::ustring8& text);
    /// Number of messages.
    std::size_t size() const noexcept { return m_messages.size(); }
    /// The message called `id` (one leading '%' ignored), or an empty message.
    message_t message(const strings::ustring8& id) const;

private:
    std::map<strings::ustring8, strings::ustring8> m_messages;
};

}  // namespace i18n
}  // namespace QORAL_2_18
