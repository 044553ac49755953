// The random id that tells machines apart, and the file that keeps it.
#include "statistic_impl/machine_id.h"

#include "platform/random.h"
#include "toolkit/kiln2/environ.h"
#include "toolkit/kiln2/variant_bag.h"

#include <string_view>

namespace OSTREL_NAMESPACE {

namespace {

const wchar_t* const root = L"bag";
const wchar_t* const id_key = L"UUID";

bool ends_a_group(std::size_t index) {
    return index == 3 || index == 5 || index == 7 || index == 9;
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

std::wstring forced_uuid() {
    return kiln2::get_environ_value(L"NORVANE_FORCE_UUID");
}

std::optional<std::wstring> stored_uuid(const std::wstring& path) {
    kiln2::variant_bag_t bag;
    if (kiln2::load_variant_bag2(bag, path, root, false) != 1)
        return std::nullopt;
    const auto* const stored = std::get_if<std::wstring>(&bag.get(id_key));
    return stored == nullptr ? std::wstring() : *stored;
}

std::wstring load_or_create_uuid(const std::wstring& path) {
    if (auto stored = stored_uuid(path))
        return *stored;
    kiln2::variant_bag_t bag;
    std::wstring fresh = generate_uuid();
    bag.put(id_key, fresh);
    kiln2::save_variant_bag2(bag, path, root);
    return fresh;
}

} // namespace OSTREL_NAMESPACE
