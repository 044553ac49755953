// Stand-in for the host toolkit's bag. variant_bag_xml.cpp reads and writes it.
#include "toolkit/kiln2/variant_bag.h"

#include "toolkit/quillkit/strings.h"

namespace kiln2 {

using quillkit::strings::utf16_to_utf8;

void variant_bag_t::put(std::wstring_view name, variant_t value) {
    put_utf8(utf16_to_utf8(name), std::move(value));
}

void variant_bag_t::put_utf8(std::string name, variant_t value) {
    m_values.insert_or_assign(std::move(name), std::move(value));
}

const variant_t& variant_bag_t::get(std::wstring_view name) const {
    return get_utf8(utf16_to_utf8(name));
}

const variant_t& variant_bag_t::get_utf8(std::string_view name) const {
    static const variant_t empty;
    const auto place = m_values.find(name);
    return place != m_values.end() ? place->second : empty;
}

variant_bag_t& variant_bag_t::add_bag(std::wstring_view name) {
    return add_bag_utf8(utf16_to_utf8(name));
}

variant_bag_t& variant_bag_t::add_bag_utf8(std::string name) {
    return m_bags.emplace_back(std::move(name), variant_bag_t()).second;
}

} // namespace kiln2
