// Reads and writes the user's recorded answer.
#include "statistic_impl/consent.h"

#include "platform/entries.h"
#include "platform/files.h"
#include "statistic_impl/log.h"

#include <array>

namespace OSTREL_NAMESPACE {

namespace {

constexpr std::string_view white_space = " \t\n\v\f\r";
constexpr std::size_t block_size = 256;

bool holds_consent(ostrel_platform::shared_file_t& file) {
    consent_word_t word;
    std::array<char, block_size> block{};
    for (;;) {
        const auto count = file.read(block.data(), block.size());
        if (!count || *count == 0 || !word.take({block.data(), *count}))
            return word.is_consent();
    }
}

} // namespace

bool consent_word_t::take(std::string_view block) {
    for (const char c : block) {
        const bool is_space = white_space.find(c) != std::string_view::npos;
        if (is_space && !m_word.empty())
            return false;
        if (!is_space)
            m_word.push_back(c);
        if (m_word.size() > 1)
            return false;
    }
    return true;
}

virk_state_t read_consent(const std::wstring& path) {
    // A link to the null device is an administrator's opt-out. Every device counts as a refusal and is not
    // opened, because reading a device could block.
    if (ostrel_platform::look_at(path) == ostrel_platform::entry_t::stream) {
        OSTREL_LOG(policy_log, trace, L"virk file disables statistic");
        return vsDisabled;
    }
    auto file = ostrel_platform::shared_file_t::open_for_reading(path);
    if (!file) {
        OSTREL_LOG(policy_log, trace, L"virk file missing/not readable");
        return vsUnknown;
    }
    const bool consent = holds_consent(*file);
    OSTREL_LOG(policy_log, trace, L"virk file content read");
    if (consent) {
        OSTREL_LOG(policy_log, trace, L"virk file enables statistic");
        return vsEnabled;
    }
    OSTREL_LOG(policy_log, trace, L"virk file disables statistic");
    return vsDisabled;
}

virk_state_t consent_with(statistic_impl_t::env_vars_state_t switches, const std::wstring& path) {
    switch (switches) {
    case statistic_impl_t::evsEnabledForced:
    case statistic_impl_t::evsEnabledUnconditionally:
        return vsEnabled;
    case statistic_impl_t::evsDisabled:
        return vsDisabled;
    case statistic_impl_t::evsEnabled:
        break;
    }
    return read_consent(path);
}

bool write_consent(const std::wstring& path, bool enabled) {
    return !path.empty() && ostrel_platform::overwrite_file(path, enabled ? "1" : "0");
}

} // namespace OSTREL_NAMESPACE
