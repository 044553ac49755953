// The user's recorded answer: one file for all of the maker's products.
#pragma once

#include "statistic_impl/statistic_impl.h"

#include <string>
#include <string_view>

namespace OSTREL_NAMESPACE {

/// Finds the first word of a text that is passed in blocks. White space separates words. Stores at most two
/// characters: that is enough to know whether the word is "1".
class consent_word_t {
public:
    /// @return whether another block could still change the result of is_consent
    bool take(std::string_view block);

    /// Whether the first word is "1". Every other word, for example 01 or true, and an empty text are
    /// refusals.
    bool is_consent() const { return m_word == "1"; }

private:
    std::string m_word;
};

/// Returns the answer that the first word of the file gives, or vsUnknown if the file is missing or cannot be
/// opened. A device or a pipe counts as a refusal and is not read.
virk_state_t read_consent(const std::wstring& path);

/// Returns the effective answer. If an environment switch or the build forces a state, that state is the
/// answer. Otherwise the function reads the file.
virk_state_t consent_with(statistic_impl_t::env_vars_state_t switches, const std::wstring& path);

/// Writes the answer. If the file cannot be written, the previous answer remains. If the path is empty, the
/// function writes nothing.
/// @return whether the answer was written
bool write_consent(const std::wstring& path, bool enabled);

} // namespace OSTREL_NAMESPACE
