// The XML form of a bag: reading and writing it.
#include "toolkit/kiln2/variant_bag.h"

#include "platform/files.h"
#include "toolkit/quillkit/strings.h"

#include <pugixml.hpp>

#include <charconv>
#include <optional>
#include <sstream>
#include <utility>

namespace kiln2 {

namespace {

constexpr std::size_t largest_file = std::size_t{64} << 20;
constexpr std::size_t block_size = 8192; // most files are smaller
constexpr int deepest_bag = 64;
// Texts are read back unchanged: no line end is converted and no space is trimmed.
constexpr unsigned parse_flags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata_single;

using quillkit::strings::utf16_to_utf8;
using quillkit::strings::utf8_to_utf16;

std::optional<std::string> read_file(const path_t& path) {
    auto file = ostrel_platform::shared_file_t::open_for_reading(path.as_string());
    if (!file)
        return std::nullopt;
    std::string content;
    std::size_t size = 0;
    while (size <= largest_file) {
        if (size == content.size())
            content.resize(size + block_size);
        const auto count = file->read(content.data() + size, content.size() - size);
        if (!count)
            return std::nullopt;
        if (*count == 0)
            break;
        size += *count;
    }
    content.resize(size);
    return content;
}

std::optional<std::int32_t> parse_integer(std::string_view text) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

// A value is an element without nested elements that has a type or text.
bool is_value(const pugi::xml_node& element) {
    bool has_text = false;
    for (auto child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_element)
            return false;
        has_text = has_text || child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
    }
    return has_text || element.attribute("type");
}

// A value of an unknown type, or an int that is not a number, is present but empty.
variant_t to_value(const pugi::xml_node& element) {
    const std::string_view type = element.attribute("type").as_string("string");
    const pugi::xml_node first = element.first_child();
    if (type == "string" && !first.next_sibling())
        return utf8_to_utf16(first.value());
    std::string text;
    for (const auto& child : element.children())
        text += child.value();
    if (type == "string")
        return utf8_to_utf16(text);
    if (type != "int")
        return {};
    const auto number = parse_integer(text);
    return number ? variant_t(*number) : variant_t();
}

std::size_t count_from(pugi::xml_node node) {
    std::size_t count = 0;
    for (; node; node = node.next_sibling())
        ++count;
    return count;
}

bool fill(variant_bag_t& bag, const pugi::xml_node& element, int depth) {
    if (depth > deepest_bag)
        return false;
    for (auto child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element)
            continue;
        if (is_value(child)) {
            bag.put_utf8(child.name(), to_value(child));
            continue;
        }
        // Reserves memory for all remaining siblings. They are usually nested bags too, because few bags
        // contain both values and nested bags.
        if (bag.bags().empty())
            bag.reserve_bags(count_from(child));
        if (!fill(bag.add_bag_utf8(child.name()), child, depth + 1))
            return false;
    }
    return true;
}

bool parse(variant_bag_t& bag, std::string& content, const std::wstring& root) {
    pugi::xml_document document;
    if (content.size() > largest_file ||
        !document.load_buffer_inplace(content.data(), content.size(), parse_flags))
        return false;
    const auto element = document.document_element();
    return utf8_to_utf16(element.name()) == root && fill(bag, element, 1);
}

// A plain name is ASCII and a valid XML name. All names that the library uses are plain.
bool is_plain_name(const std::string& name) {
    const auto is_letter = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
    };
    const auto is_other = [](char c) { return (c >= '0' && c <= '9') || c == '-' || c == '.'; };
    if (name.empty() || !is_letter(name.front()))
        return false;
    for (const char c : name)
        if (!is_letter(c) && !is_other(c))
            return false;
    return true;
}

bool write_value(pugi::xml_node element, const variant_t& value) {
    if (const auto* const number = std::get_if<std::int32_t>(&value)) {
        element.append_attribute("type") = "int";
        return element.text().set(*number);
    }
    if (const auto* const text = std::get_if<std::wstring>(&value)) {
        element.append_attribute("type") = "string";
        return text->find(L'\0') == std::wstring::npos && element.text().set(utf16_to_utf8(*text).c_str());
    }
    element.append_attribute("type") = "empty";
    return true;
}

bool write_bag(pugi::xml_node element, const variant_bag_t& bag) {
    for (const auto& [name, value] : bag.values())
        if (!is_plain_name(name) || !write_value(element.append_child(name.c_str()), value))
            return false;
    for (const auto& [name, nested] : bag.bags())
        if (!is_plain_name(name) || !write_bag(element.append_child(name.c_str()), nested))
            return false;
    return true;
}

} // namespace

int load_variant_bag2(variant_bag_t& bag, const path_t& path, const std::wstring& root, bool optional) {
    bag = variant_bag_t();
    auto content = read_file(path);
    if (!content)
        return optional && !path_t::exists(path.as_string()) ? 1 : 0;
    if (parse(bag, *content, root))
        return 1;
    bag = variant_bag_t();
    return -1;
}

bool save_variant_bag2(const variant_bag_t& bag, const path_t& path, const std::wstring& root) {
    pugi::xml_document document;
    const std::string name = utf16_to_utf8(root);
    if (!is_plain_name(name) || !write_bag(document.append_child(name.c_str()), bag))
        return false;
    std::ostringstream text;
    document.save(text, "  ");
    return ostrel_platform::replace_file(path.as_string(), text.str());
}

} // namespace kiln2
