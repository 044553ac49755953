// The random machine id and its file.
#include "statistic_impl/machine_id.h"

#include "platform/random.h"
#include "statistic_impl/bag_file.h"
#include "toolkit/kiln2/environ.h"

#include <string_view>
#include <utility>

namespace OSTREL_NAMESPACE {

namespace {

const wchar_t* const id_key = L"UUID";

bool ends_a_group(std::size_t index) {
    return index == 3 || index == 5 || index == 7 || index == 9;
}

uuid_source_t source_of(bag_state_t state) {
    switch (state) {
    case bag_state_t::missing:
        return uuid_source_t::missing;
    case bag_state_t::unreadable:
        return uuid_source_t::unreadable;
    case bag_state_t::malformed:
        return uuid_source_t::malformed;
    case bag_state_t::loaded:
        break;
    }
    return uuid_source_t::stored;
}

} // namespace

std::wstring format_uuid(const uuid_bytes_t& bytes) {
    constexpr std::wstring_view digits = L"0123456789ABCDEF";
    std::wstring text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text.push_back(digits[bytes[i] >> 4U]);
        text.push_back(digits[bytes[i] & 0xFU]);
        if (ends_a_group(i))
            text.push_back(L'-');
    }
    return text;
}

std::wstring generate_uuid() {
    uuid_bytes_t bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const std::uint32_t bits = ostrel_platform::random_bits();
        for (std::size_t byte = 0; byte < 4; ++byte)
            bytes[i + byte] = static_cast<std::uint8_t>(bits >> (8 * byte));
    }
    return format_uuid(bytes);
}

uuid_finding_t find_uuid(const std::wstring& path) {
    if (std::wstring forced = kiln2::get_environ_value(L"NORVANE_FORCE_UUID"); !forced.empty())
        return {uuid_source_t::forced, std::move(forced)};
    kiln2::variant_bag_t bag;
    if (const bag_state_t state = load_bag(bag, path); state != bag_state_t::loaded)
        return {source_of(state), {}};
    const auto* const stored = std::get_if<std::wstring>(&bag.get(id_key));
    if (stored == nullptr || stored->empty())
        return {uuid_source_t::without_id, {}};
    return {uuid_source_t::stored, *stored};
}

std::wstring find_or_create_uuid(const std::wstring& path) {
    uuid_finding_t found = find_uuid(path);
    if (!found.needs_fresh_id())
        return found.id;
    kiln2::variant_bag_t bag;
    std::wstring fresh = generate_uuid();
    bag.put(id_key, fresh);
    kiln2::save_variant_bag2(bag, path, bag_root);
    return fresh;
}

} // namespace OSTREL_NAMESPACE
