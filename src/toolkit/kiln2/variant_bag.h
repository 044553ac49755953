// Stand-in for the host toolkit's named tree of typed values, stored as XML.
#pragma once

#include "kiln2/path.h"

#include <boost/container/flat_map.hpp>
#include <boost/container/small_vector.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace kiln2 {

/// A typed value; std::monostate is the empty value.
using variant_t = std::variant<std::monostate, std::int32_t, std::wstring>;

/// Named values, and nested bags. Nested bags may share a name and keep their order.
class variant_bag_t { // NOLINT(bugprone-exception-escape): moving strings and numbers throws nothing
public:
    // Names are UTF-8, as in the document. Short names, and a map with one value, need no heap allocation.
    using nested_t = std::vector<std::pair<std::string, variant_bag_t>>;
    using values_t = boost::container::small_flat_map<std::string, variant_t, 1, std::less<>>;

    /// Sets a value. A value that already has this name is replaced.
    void put(std::wstring_view name, variant_t value);

    /// The value with this name; the empty value if there is none.
    const variant_t& get(std::wstring_view name) const;

    /// Adds an empty nested bag. The reference is valid until the next nested bag is added.
    variant_bag_t& add_bag(std::wstring_view name);

    /// Like the functions above, with names in UTF-8.
    void put_utf8(std::string name, variant_t value);
    const variant_t& get_utf8(std::string_view name) const;
    variant_bag_t& add_bag_utf8(std::string name);

    /// Reserves memory for @p count nested bags.
    void reserve_bags(std::size_t count) { m_bags.reserve(count); }

    const values_t& values() const { return m_values; }
    const nested_t& bags() const { return m_bags; }

private:
    values_t m_values;
    nested_t m_bags;
};

/// Reads a bag from an XML document.
///
/// A value is an element that has a type or text and no nested elements: `<Y type="int">2014</Y>`. Its name
/// is the key. Without a type it is a string. Every other element is a nested bag. Files larger than 64 MiB
/// and trees deeper than 64 bags are malformed.
/// @param root     the required name of the document's root element
/// @param optional whether a missing file counts as an empty bag
/// @return 1 on success; 0 if the file is missing or cannot be read; -1 if it is malformed. On failure @p bag
///         is empty.
int load_variant_bag2(variant_bag_t& bag, const path_t& path, const std::wstring& root, bool optional);

/// Writes a bag atomically, see ostrel_platform::replace_file.
/// @return false if nothing was written: the file cannot be replaced, a text contains a zero character, or a
///         name is not plain (ASCII letters, digits, _, - and ., with a letter or _ first)
bool save_variant_bag2(const variant_bag_t& bag, const path_t& path, const std::wstring& root);

} // namespace kiln2
