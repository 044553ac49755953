// The user's recorded answer, one file for all of the maker's products.
#pragma once

#include "statistic_impl/statistic_impl.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Finds the first word of a text that arrives in blocks; white space separates words. Stores at most two
/// characters, which are enough to tell whether the word is "1".
class consent_word_t {
public:
    /// @return whether more text could change the answer
    bool take(std::string_view block);

    /// Consent is the word "1" and nothing else: 01, true, or no word at all are refusals.
    bool is_consent() const { return m_word == "1"; }

private:
    std::string m_word;
};

/// vsUnknown if the file is missing or cannot be opened, else what its first word says. A device or a pipe is
/// a refusal and is not read.
virk_state_t read_consent(const std::wstring& path);

/// The effective answer: an environment switch or the build decides, otherwise the file. The file is read
/// only if neither decides.
virk_state_t consent_with(statistic_impl_t::env_vars_state_t switches, const std::wstring& path);

/// Writes the answer. If the file cannot be written, the previous answer stays. An empty path writes nothing.
/// @return whether the answer was written
bool write_consent(const std::wstring& path, bool enabled);

} // namespace OSTREL_NAMESPACE
