// What the library would find and decide now.
#include "inspection.h"

#include "settor2/product_locations.h"
#include "toolkit/kiln2/environ.h"
#include "toolkit/quillkit/strings.h"

#include <algorithm>

namespace ostrelctl {

namespace {

using quillkit::strings::utf16_to_utf8;
using quillkit::strings::utf8_to_utf16;

/// Replaces the host's configuration service, so that the library itself computes the paths.
class service_t final : public settor2::IProductLocations {
public:
    explicit service_t(const subject_t& subject)
        : m_settings(utf8_to_utf16(subject.settings)), m_folder(utf8_to_utf16(subject.folder)) {
        install(this);
    }
    ~service_t() override { install(nullptr); }
    service_t(const service_t&) = delete;
    service_t& operator=(const service_t&) = delete;

    void getVersion(int& /*major*/, int& /*minor*/, int& /*build*/) const override {}
    std::wstring getLocation(int kind) const override { return kind == 6 ? m_settings : std::wstring(); }
    const wchar_t* getFolder() const override { return m_folder.c_str(); }
    const wchar_t* getTempDir() const override { return L""; }
    bool isManagerExpected() const override { return false; }

private:
    std::wstring m_settings;
    std::wstring m_folder;
};

library::plan_t plan_for(const subject_t& subject) {
    const service_t service(subject);
    const kiln2::path_t filter =
        subject.filter.empty() ? library::event_filter_path() : kiln2::path_t(utf8_to_utf16(subject.filter));
    return library::make_plan({utf8_to_utf16(subject.product), filter});
}

std::string machine_id_of(const library::plan_t& plan) {
    return plan.machine_id.needs_fresh_id() ? "NEW-MACHINE-ID" : utf16_to_utf8(plan.machine_id.id);
}

} // namespace

std::string mask_password(const std::string& url) {
    const std::size_t at = url.rfind('@');
    const std::size_t scheme = url.find("://");
    const std::size_t begin = scheme == std::string::npos ? 0 : scheme + 3;
    const std::size_t colon = url.find(':', begin);
    if (at == std::string::npos || colon >= at)
        return url;
    return url.substr(0, colon + 1) + "***" + url.substr(at);
}

inspection_t inspect(const subject_t& subject) {
    inspection_t found;
    found.subject = subject;
    found.plan = plan_for(subject);
    found.machine_id = machine_id_of(found.plan);
    found.endpoint = mask_password(found.plan.endpoint);
    return found;
}

delivery_t find_delivery(const std::string& endpoint) {
    delivery_t delivery;
    const library::found_proxy_t of_libcurl = library::proxy_of_libcurl(endpoint);
    for (const library::found_proxy_t& found : library::discover_proxies(endpoint))
        delivery.proxies.push_back(found.text.empty() ? of_libcurl : found);
    delivery.proxies.push_back(of_libcurl); // the library's last candidate
    for (library::found_proxy_t& proxy : delivery.proxies)
        proxy.text = mask_password(proxy.text);
    for (const wchar_t* const variable : {L"no_proxy", L"NO_PROXY"})
        if (delivery.no_proxy.empty())
            delivery.no_proxy = utf16_to_utf8(kiln2::get_environ_value(variable));
    return delivery;
}

} // namespace ostrelctl
