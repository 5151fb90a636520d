// Message catalogs and placeholder formatting.
#include "QORAL_2_18/i18n.h"

namespace QORAL_2_18 {
namespace i18n {

namespace {

strings::ustring8 withoutMarker(const strings::ustring8& id) {
    return id.c_str()[0] == '%' ? strings::ustring8(id.bytes().substr(1)) : id;
}

}  // namespace

strings::ustring8 message_t::as_ustring(const generic::varg_list& args) const {
    const std::string& text = m_text.bytes();
    std::string out;
    out.reserve(text.size() + 64);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if ((c == '{' || c == '}') && i + 1 < text.size() && text[i + 1] == c) {
            out.push_back(c);  // "{{" or "}}"
            ++i;
            continue;
        }
        if (c == '{') {
            const std::size_t close = text.find_first_of("{}", i + 1);
            if (close != std::string::npos && text[close] == '}') {
                const generic::argument* arg = args.find(text.substr(i + 1, close - i - 1));
                if (arg) out += arg->value().as_ustring().bytes();
                i = close;
                continue;
            }
        }
        out.push_back(c);
    }
    return strings::ustring8(std::move(out));
}

catalog_t::catalog_t(std::initializer_list<std::pair<const char*, const char*>> messages) {
    for (const auto& entry : messages) add(entry.first, entry.second);
}

void catalog_t::add(const strings::ustring8& id, const strings::ustring8& text) {
    m_messages[withoutMarker(id)] = text;
}

message_t catalog_t::message(const strings::ustring8& id) const {
    const auto found = m_messages.find(withoutMarker(id));
    return found == m_messages.end() ? message_t() : message_t(found->second);
}

}  // namespace i18n
}  // namespace QORAL_2_18
