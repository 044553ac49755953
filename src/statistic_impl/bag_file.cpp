// Reads the library's XML files and tells why a file cannot be read.
#include "statistic_impl/bag_file.h"

#include "platform/entries.h"

namespace OSTREL_NAMESPACE {

bag_state_t load_bag(kiln2::variant_bag_t& bag, const std::wstring& path) {
    const int loaded = kiln2::load_variant_bag2(bag, path, bag_root, false);
    if (loaded == 1)
        return bag_state_t::loaded;
    if (loaded < 0)
        return bag_state_t::malformed;
    using ostrel_platform::entry_t;
    const entry_t entry = ostrel_platform::look_at(path);
    const bool is_missing = entry == entry_t::missing || entry == entry_t::dangling_link;
    return is_missing ? bag_state_t::missing : bag_state_t::unreadable;
}

} // namespace OSTREL_NAMESPACE
