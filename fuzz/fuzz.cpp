// Feeds arbitrary bytes to whatever reads text from outside, and holds what comes back against simpler rules;
// TARGET names the function that one executable runs.
#include "ostrel/datetime.h"
#include "pellar_accessor/exchange.h"
#include "pellar_accessor/quote.h"
#include "platform/utf.h"
#include "statistic_impl/consent.h"
#include "statistic_impl_ga/feature_route.h"
#include "statistic_impl_ga/hit.h"
#include "toolkit/kiln2/variant_bag.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <unistd.h>

namespace {

using namespace OSTREL_NAMESPACE;
using ostrel_platform::to_utf8;
using ostrel_platform::to_wide;

void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

std::string next_line(std::string_view& rest) {
    const auto end = std::min(rest.find('\n'), rest.size());
    const std::string line(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return line;
}

/// A file of this process, in memory where TMPDIR is.
std::filesystem::path scratch(const char* name) {
    static const auto folder =
        std::filesystem::temp_directory_path() / ("ostrel-fuzz-" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    return folder / name;
}

std::wstring stored(const char* name, std::string_view bytes) {
    std::ofstream(scratch(name), std::ios::binary) << bytes;
    return scratch(name).wstring();
}

// --- bags ---

bool is_equal(const kiln2::variant_bag_t& left, const kiln2::variant_bag_t& right) {
    return left.values() == right.values() &&
           std::equal(left.bags().begin(), left.bags().end(), right.bags().begin(), right.bags().end(),
                      [](const auto& a, const auto& b) {
                          return a.first == b.first && is_equal(a.second, b.second);
                      });
}

void require_round_trip(const kiln2::variant_bag_t& bag, bool has_to_save) {
    const std::wstring path = scratch("saved.xml").wstring();
    if (!kiln2::save_variant_bag2(bag, path, L"bag"))
        return require(!has_to_save, "a bag of plain names and texts can be saved");
    kiln2::variant_bag_t again;
    require(kiln2::load_variant_bag2(again, path, L"bag", false) == 1 && is_equal(bag, again),
            "what was saved loads equal");
}

// The first letter of a line says what it adds to the bag; an empty line goes back to the root.
[[maybe_unused]] void bag_from_values(std::string_view rest) {
    kiln2::variant_bag_t root;
    kiln2::variant_bag_t* bag = &root;
    bool is_plain = true;
    for (int depth = 0, number = 0; !rest.empty(); ++number) {
        const std::string line = next_line(rest);
        const std::wstring name = L"n" + std::to_wstring(number);
        const std::wstring text = to_wide(std::string_view(line).substr(line.empty() ? 0 : 1));
        is_plain = is_plain && text.find(L'\0') == std::wstring::npos;
        if (line.empty())
            bag = &root, depth = 0;
        else if (line[0] == 'b' && ++depth < 60)
            bag = &bag->add_bag(name);
        else if (line[0] == 'i')
            bag->put(name, static_cast<std::int32_t>(std::hash<std::wstring>()(text)));
        else
            bag->put(name, text);
    }
    require_round_trip(root, is_plain);
}

[[maybe_unused]] void bag(std::string_view bytes) {
    if (!bytes.empty() && bytes.front() == '!')
        return bag_from_values(bytes.substr(1));
    kiln2::variant_bag_t loaded;
    if (kiln2::load_variant_bag2(loaded, stored("raw.xml", bytes), L"bag", false) == 1)
        require_round_trip(loaded, false);
    else
        require(loaded.values().empty() && loaded.bags().empty(), "what is malformed leaves the bag empty");
}

// --- moments ---

[[maybe_unused]] void datetime(std::string_view bytes) {
    const auto moment = datetime_t::parse(to_wide(bytes));
    const std::wstring text = moment.as_string();
    if (!moment.is_valid())
        return require(text == L"1900-01-00T00:00:00Z", "the invalid value has one text");
    require(text.size() == 20 && datetime_t::parse(text) == moment, "a moment's text gives the moment");
    require(!(moment < moment) && datetime_t() < moment, "moments have an order");
}

// --- hits ---

/// What a text becomes in a hit; libcurl measures it up to its first NUL.
std::string sent(std::wstring_view text) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string result;
    for (const char c : to_utf8(text.substr(0, text.find(L'\0')))) {
        const auto byte = static_cast<unsigned char>(c);
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
            std::string_view("-._~").find(c) != std::string_view::npos)
            result.push_back(c);
        else
            result.append({'%', digits[byte / 16], digits[byte % 16]});
    }
    return result;
}

std::optional<route_t> routed_simply(const std::wstring& feature,
                                     const std::set<std::wstring, std::less<>>& enabled) {
    const std::wstring_view name = feature;
    for (auto end = name.size(); end != std::wstring_view::npos;
         end = end == 0 ? end - 1 : name.rfind(L'.', end - 1))
        if ((end == name.size() || name[end] == L'.') && enabled.count(name.substr(0, end)) != 0)
            return route_t{name.substr(0, end), name.substr(std::min(end + 1, name.size()))};
    if (name.substr(0, 4) == L"run." && name.find(L'.', 4) == std::wstring_view::npos)
        return route_t{L"run", name.substr(4)};
    return std::nullopt;
}

// The first line is the product's name, the second the feature's, the others are the filter.
[[maybe_unused]] void feature(std::string_view rest) {
    const std::wstring product = to_wide(next_line(rest));
    const std::wstring name = to_wide(next_line(rest));
    std::vector<std::wstring> listed;
    while (!rest.empty())
        listed.push_back(to_wide(next_line(rest)));
    const std::set<std::wstring, std::less<>> enabled(listed.begin(), listed.end());
    const auto route = route_feature(name, event_filter_t({listed.begin(), listed.end()}));
    const auto simply = routed_simply(name, enabled);
    require(route.has_value() == simply.has_value(), "routed or not");
    if (!route)
        return;
    require(route->category == simply->category && route->label == simply->label,
            "the longest enabled prefix");
    const std::string hit = compose_event_hit(compose_hit_prefix({"UA-1", L"ID", product, L"1.0", L"an OS"}),
                                              *route, !product.empty());
    require(hit == "v=1&tid=UA-1&cid=ID&an=" + sent(product) + "&av=1.0&cd1=win32&cd2=an%20OS&t=event&ec=" +
                       sent(route->category) + (route->label.empty() ? "" : "&el=" + sent(route->label)) +
                       (product.empty() ? "&cd3=n" : "&cd3=y"),
            "a hit to the byte");
}

// --- texts ---

[[maybe_unused]] void utf(std::string_view bytes) {
    const std::wstring wide = to_wide(bytes);
    const std::string clean = to_utf8(wide);
    require(to_wide(clean) == wide && to_utf8(to_wide(clean)) == clean, "clean text comes back");
    std::size_t found = 0;
    for (const char c : bytes)
        found += found < clean.size() && clean[found] == c ? 1U : 0U;
    require(found == clean.size(), "nothing is added and nothing moved");
    std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
    std::wstring characters;
    std::copy_if(units.begin(), units.end(), std::back_inserter(characters), [](wchar_t c) {
        const auto point = static_cast<std::uint32_t>(c);
        return point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF);
    });
    require(to_wide(to_utf8(units)) == characters, "what is no character is dropped, and nothing else");
}

// The first byte says where the text is cut in two blocks.
[[maybe_unused]] void consent(std::string_view bytes) {
    if (bytes.empty())
        return;
    const auto cut = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    consent_word_t word;
    if (word.take(bytes.substr(0, cut)))
        word.take(bytes.size() > cut ? bytes.substr(cut) : std::string_view());
    std::string first;
    std::istringstream{std::string(bytes)} >> first;
    require(word.is_consent() == (first == "1"), "the first word and nothing else");
}

[[maybe_unused]] void bridge(std::string_view bytes) {
    const auto line = read_first_line(stored("exchange.txt", bytes));
    std::string_view rest = bytes;
    std::string first = next_line(rest);
    if (!first.empty() && first.back() == '\r')
        first.pop_back();
    require(line == first, "the first line without its end");
    std::vector<std::wstring> elements{to_wide(first)}, arguments;
    std::wstring expected = L"\"" + elements[0] + L"\"";
    while (!rest.empty()) {
        elements.push_back(arguments.emplace_back(to_wide(next_line(rest))));
        expected += L" \"" + arguments.back() + L"\"";
    }
    const auto command = compose_command(elements[0], arguments);
    require(command.line == expected && command.elements == elements, "arguments pass as they are");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}
