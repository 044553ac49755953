// Passes arbitrary bytes to the functions that parse external text, and checks properties of the results.
// TARGET is the function that an executable runs. The unit tests check concrete values.
#include "ostrel/datetime.h"
#include "pellar_accessor/exchange.h"
#include "statistic_impl/consent.h"
#include "statistic_impl_ga/feature_route.h"
#include "statistic_impl_ga/hit.h"
#include "text/utf.h"
#include "toolkit/kiln2/variant_bag.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
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

/// Writes the bytes to a file in TMPDIR. @return the file's path
std::wstring stored(std::string_view bytes) {
    static const auto file =
        std::filesystem::temp_directory_path() / ("ostrel-fuzz-" + std::to_string(::getpid()));
    std::ofstream(file, std::ios::binary) << bytes;
    return file.wstring();
}

bool is_equal(const kiln2::variant_bag_t& left, const kiln2::variant_bag_t& right) {
    return left.values() == right.values() &&
           std::equal(left.bags().begin(), left.bags().end(), right.bags().begin(), right.bags().end(),
                      [](const auto& a, const auto& b) {
                          return a.first == b.first && is_equal(a.second, b.second);
                      });
}

[[maybe_unused]] void bag(std::string_view bytes) {
    kiln2::variant_bag_t loaded, again;
    const std::wstring path = stored(bytes);
    if (kiln2::load_variant_bag2(loaded, path, L"bag", false) != 1)
        return require(is_equal(loaded, {}), "malformed text gives an empty bag");
    if (kiln2::save_variant_bag2(loaded, path, L"bag"))
        require(kiln2::load_variant_bag2(again, path, L"bag", false) == 1 && is_equal(loaded, again),
                "a saved bag is equal after loading");
}

[[maybe_unused]] void datetime(std::string_view bytes) {
    const auto moment = datetime_t::parse(to_wide(bytes));
    require(!moment.is_valid() || datetime_t::parse(moment.as_string()) == moment,
            "parsing a date-time's text gives the same date-time");
}

// The first line is the name of the feature. The other lines are the names in the filter.
[[maybe_unused]] void feature(std::string_view rest) {
    const std::wstring name = to_wide(next_line(rest));
    std::set<std::wstring> enabled;
    while (!rest.empty())
        enabled.insert(to_wide(next_line(rest)));
    const event_filter_t filter({enabled.begin(), enabled.end()});
    std::size_t longest = event_filter_t::no_match;
    for (std::size_t end = 0; end <= name.size(); ++end)
        if ((end == name.size() || name[end] == L'.') && enabled.count(name.substr(0, end)) != 0)
            longest = end;
    require(filter.longest_match(name) == longest, "longest_match returns the longest enabled prefix");
    if (const auto route = route_feature(name, filter))
        compose_event_hit({}, *route, true);
}

[[maybe_unused]] void utf(std::string_view bytes) {
    const std::wstring wide = to_wide(bytes);
    require(to_wide(to_utf8(wide)) == wide, "well-formed text survives the conversion unchanged");
    std::size_t found = 0;
    for (const char c : to_utf8(wide)) {
        found = bytes.find(c, found);
        require(found++ != std::string_view::npos, "conversion adds no bytes and keeps their order");
    }
}

// The first byte is the position at which the text is split into two blocks.
[[maybe_unused]] void consent(std::string_view bytes) {
    const std::size_t cut = bytes.empty() ? 0 : static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(bytes.empty() ? 0 : 1);
    consent_word_t whole, parts;
    whole.take(bytes);
    if (parts.take(bytes.substr(0, cut)))
        parts.take(bytes.substr(std::min(cut, bytes.size())));
    require(whole.is_consent() == parts.is_consent(), "the answer does not depend on the block boundaries");
}

[[maybe_unused]] void bridge(std::string_view bytes) {
    const std::string line = read_first_line(stored(bytes)).value();
    require(bytes.substr(0, line.size()) == line, "the first line's bytes are unchanged");
    require(line.find('\n') == std::string::npos, "only the first line is returned");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}
