// Stand-in for the host toolkit's path value.
#include "kiln2/path.h"

#include "text/native_path.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>

namespace kiln2 {

namespace {

boost::filesystem::path to_native(const std::wstring& text) {
    return ostrel_platform::to_native<boost::filesystem::path>(text);
}

} // namespace

using ostrel_platform::from_native;

path_t::path_t() = default;
path_t::path_t(const std::wstring& text) : m_text(text) {
    const wchar_t preferred = boost::filesystem::path::preferred_separator;
    std::replace(m_text.begin(), m_text.end(), L'/', preferred);
}
path_t::path_t(const path_t& other) = default;
path_t::path_t(path_t&& other) noexcept = default;
path_t& path_t::operator=(const path_t& other) = default;
path_t& path_t::operator=(path_t&& other) noexcept = default;
path_t::~path_t() = default;

path_t& path_t::append(const path_t& other) {
    if (other.is_empty())
        return *this;
    auto joined = to_native(m_text);
    joined /= to_native(other.m_text);
    m_text = from_native(joined.make_preferred());
    return *this;
}

const std::wstring& path_t::as_string() const {
    return m_text;
}

bool path_t::is_empty() const {
    return m_text.empty();
}

path_t& path_t::change_ext(const std::wstring& extension) {
    auto changed = to_native(m_text);
    m_text = from_native(changed.replace_extension(to_native(extension)));
    return *this;
}

bool path_t::exists(const std::wstring& text) {
    boost::system::error_code error;
    return boost::filesystem::exists(to_native(text), error);
}

} // namespace kiln2
