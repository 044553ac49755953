// What every hit says of its sender.
#include "statistic_impl_ga/hit.h"

#include "platform/os_name.h"

namespace OSTREL_NAMESPACE {

namespace {

std::wstring get_os_name() {
    return ostrel_platform::os_product_name().value_or(L"Undefined Windows Version");
}

} // namespace

hit_identity_t identify(const std::wstring& machine_id, const std::wstring& application_name,
                        const std::wstring& application_version) {
    return {"UA-40271936-07", machine_id, application_name, application_version, get_os_name()};
}

} // namespace OSTREL_NAMESPACE
