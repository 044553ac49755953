// Settings that environment variables can override. The build sets the built-in values.
#include "statistic_impl/deployment.h"

#include "toolkit/kiln2/environ.h"
#include "toolkit/quillkit/strings.h"

namespace OSTREL_NAMESPACE {

namespace {

std::string setting(const std::wstring& variable, const char* built_in) {
    const std::wstring value = kiln2::get_environ_value(variable);
    return value.empty() ? std::string(built_in) : quillkit::strings::utf16_to_utf8(value);
}

} // namespace

std::string collection_url() {
    return setting(L"OSTREL_COLLECTION_URL", OSTREL_BUILT_IN_COLLECTION_URL);
}

std::string corporate_domain() {
    return setting(L"OSTREL_CORPORATE_DOMAIN", OSTREL_BUILT_IN_CORPORATE_DOMAIN);
}

} // namespace OSTREL_NAMESPACE
