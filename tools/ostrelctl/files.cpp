// What lies at the places where the library looks.
#include "files.h"

#include "platform/files.h"
#include "toolkit/kiln2/native_path.h"
#include "toolkit/kiln2/variant_bag.h"

#include <filesystem>

namespace ostrelctl {

namespace {

namespace fs = std::filesystem;

fs::file_status status_of(const kiln2::path_t& path) {
    std::error_code ignored;
    return fs::status(kiln2::to_native<fs::path>(path.as_string()), ignored);
}

std::string octal_mode(const fs::file_status& status) {
    if (!fs::exists(status))
        return {};
    auto bits = static_cast<unsigned>(status.permissions());
    std::string digits(4, '0');
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, bits /= 8)
        *digit = static_cast<char>('0' + bits % 8);
    return digits;
}

file_t describe(const std::string& role, const kiln2::path_t& path, const fs::file_status& status) {
    return {role, quillkit::strings::utf16_to_utf8(path.as_string()), {}, octal_mode(status)};
}

std::string state_of_file(const kiln2::path_t& path, const fs::file_status& status, bool is_bag) {
    if (status.type() == fs::file_type::not_found)
        return "missing";
    if (fs::exists(status) && !fs::is_regular_file(status))
        return "not a file";
    if (!ostrel_platform::shared_file_t::open_for_reading(path.as_string()))
        return "unreadable";
    kiln2::variant_bag_t bag;
    return is_bag && kiln2::load_variant_bag2(bag, path, L"bag", false) != 1 ? "malformed" : "readable";
}

} // namespace

file_t look_at_file(const std::string& role, const kiln2::path_t& path, bool is_bag) {
    const fs::file_status status = status_of(path);
    file_t file = describe(role, path, status);
    file.state = state_of_file(path, status, is_bag);
    return file;
}

file_t look_at_folder(const std::string& role, const kiln2::path_t& path) {
    const fs::file_status status = status_of(path);
    file_t folder = describe(role, path, status);
    if (fs::is_directory(status))
        folder.state = "folder";
    else
        folder.state = fs::exists(status) ? "not a folder" : "missing";
    return folder;
}

} // namespace ostrelctl
