// The operating system's name, on POSIX: PRETTY_NAME of os-release(5).
#include "platform/os_name.h"

#include "platform/files.h"
#include "platform/posix/os_release.h"
#include "text/utf.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace ostrel_platform {

namespace {

constexpr std::string_view key = "PRETTY_NAME=";
constexpr std::size_t largest_file = 65536;

std::optional<std::string> read_small_file(const std::wstring& path) {
    auto file = shared_file_t::open_for_reading(path);
    if (!file)
        return std::nullopt;
    std::string content;
    std::array<char, 4096> block; // not initialised, because most files are far smaller
    while (content.size() < largest_file) {
        const auto count = file->read(block.data(), block.size());
        if (!count || *count == 0)
            break;
        content.append(block.data(), *count);
    }
    return content;
}

// The value has shell syntax: without quotes, or in quotes with backslash escapes.
std::string unquote(std::string_view value) {
    std::string result;
    char quote = '\0';
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char c = value[i];
        if (c == '\\' && quote != '\'' && i + 1 < value.size())
            result.push_back(value[++i]);
        else if (quote == '\0' && (c == '"' || c == '\''))
            quote = c;
        else if (c == quote)
            break;
        else
            result.push_back(c);
    }
    return result;
}

} // namespace

std::optional<std::wstring> pretty_name(std::string_view content) {
    while (!content.empty()) {
        const std::string_view line = content.substr(0, content.find('\n'));
        content.remove_prefix(std::min(content.size(), line.size() + 1));
        if (line.substr(0, key.size()) != key)
            continue;
        std::wstring name = to_wide(unquote(line.substr(key.size())));
        if (!name.empty())
            return name;
    }
    return std::nullopt;
}

std::optional<std::wstring> os_product_name() {
    for (const wchar_t* const path : {L"/etc/os-release", L"/usr/lib/os-release"})
        if (const auto content = read_small_file(path))
            return pretty_name(*content);
    return std::nullopt;
}

} // namespace ostrel_platform
