// Quotes arguments: Windows starts a program with one command-line text, not with a list.
#include "quote.h"

#include <algorithm>
#include <string_view>

namespace ostrelctl {

std::wstring quoted_for_runtime(const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos)
        return argument;
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t unit : argument) {
        if (unit == L'"')
            quoted.append(backslashes + 1, L'\\');
        backslashes = unit == L'\\' ? backslashes + 1 : 0;
        quoted.push_back(unit);
    }
    return quoted.append(backslashes, L'\\') + L"\"";
}

bool is_batch_file(std::wstring path) {
    path.erase(path.find_last_not_of(L" .") + 1); // the system ignores trailing spaces and dots
    std::transform(path.begin(), path.end(), path.begin(), [](wchar_t unit) {
        return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + 32) : unit;
    });
    const std::wstring ending = path.substr(path.size() - std::min<std::size_t>(path.size(), 4));
    return ending == L".bat" || ending == L".cmd";
}

bool are_safe_for_batch(const std::vector<std::string>& words) {
    const auto is_safe = [](char c) {
        const bool is_letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        return is_letter || static_cast<unsigned char>(c) >= 0x80 ||
               std::string_view(" -_.:/\\@+").find(c) != std::string_view::npos;
    };
    return std::all_of(words.begin() + 1, words.end(), [&](const std::string& word) {
        return std::all_of(word.begin(), word.end(), is_safe);
    });
}

} // namespace ostrelctl
