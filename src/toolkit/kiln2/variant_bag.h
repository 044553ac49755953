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

/// A typed value; std::monostate is the empty one.
using variant_t = std::variant<std::monostate, std::int32_t, std::wstring>;

/// Named values, and nested bags. Nested bags may share a name and keep their order.
class variant_bag_t { // NOLINT(bugprone-exception-escape): moving strings and numbers throws nothing
public:
    // Names in UTF-8, as in the document. Most names, and a single value, need no heap of their own.
    using nested_t = std::vector<std::pair<std::string, variant_bag_t>>;
    using values_t = boost::container::small_flat_map<std::string, variant_t, 1, std::less<>>;

    /// Sets a value and replaces an earlier one of that name.
    void put(std::wstring_view name, variant_t value);

    /// The value of that name; the empty value if there is none.
    const variant_t& get(std::wstring_view name) const;

    /// Adds an empty nested bag. The reference is valid until the next bag is added to this one.
    variant_bag_t& add_bag(std::wstring_view name);

    /// The same with a name in UTF-8.
    void put_utf8(std::string name, variant_t value);
    const variant_t& get_utf8(std::string_view name) const;
    variant_bag_t& add_bag_utf8(std::string name);

    /// Makes room for so many nested bags.
    void reserve_bags(std::size_t count) { m_bags.reserve(count); }

    const values_t& values() const { return m_values; }
    const nested_t& bags() const { return m_bags; }

private:
    values_t m_values;
    nested_t m_bags;
};

/// Reads a bag from an XML document.
///
/// A value is an element whose name is its key: `<Y type="int">2014</Y>` or `<name
/// type="string">build</name>`. An element with text alone and without a type is a string too. Every other
/// element is a nested bag. Files of more than 64 MiB and trees deeper than 64 bags count as malformed.
/// @param root     the required name of the document's root element
/// @param optional a missing file counts as an empty bag
/// @return 1 if @p bag was filled. Otherwise @p bag is empty: 0 if the file is missing or cannot be read, -1
/// if
///         it is malformed
int load_variant_bag2(variant_bag_t& bag, const path_t& path, const std::wstring& root, bool optional);

/// Writes a bag whole or not at all, see ostrel_platform::replace_file.
/// @return false if nothing was written: the file cannot be replaced, or XML cannot hold a name or a text
bool save_variant_bag2(const variant_bag_t& bag, const path_t& path, const std::wstring& root);

} // namespace kiln2
