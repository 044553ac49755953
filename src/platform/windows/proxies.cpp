// The proxies that the system's settings name, on Windows: WinHTTP's three sources.
#include "platform/proxies.h"

#include "text/utf.h"

#include <windows.h>

#include <winhttp.h>

#include <memory>

namespace ostrel_platform {

namespace {

struct release_t {
    void operator()(wchar_t* text) const { ::GlobalFree(text); }
};
using winhttp_text_t = std::unique_ptr<wchar_t, release_t>;

/// Appends the proxy if @p info names one. Frees the strings of @p info.
void append_named_proxy(const WINHTTP_PROXY_INFO& info, proxy_source_t source,
                        std::vector<system_proxy_t>& proxies) {
    const winhttp_text_t proxy(info.lpszProxy);
    const winhttp_text_t bypass(info.lpszProxyBypass);
    if (proxy && info.dwAccessType == WINHTTP_ACCESS_TYPE_NAMED_PROXY)
        proxies.push_back({source, to_utf8(proxy.get())});
}

void append_browser_proxy(std::vector<system_proxy_t>& proxies) {
    WINHTTP_CURRENT_USER_IE_PROXY_CONFIG config{};
    if (!::WinHttpGetIEProxyConfigForCurrentUser(&config))
        return;
    const winhttp_text_t script(config.lpszAutoConfigUrl);
    const winhttp_text_t proxy(config.lpszProxy);
    const winhttp_text_t bypass(config.lpszProxyBypass);
    if (proxy)
        proxies.push_back({proxy_source_t::browser, to_utf8(proxy.get())});
}

void append_discovered_proxy(const std::wstring& url, std::vector<system_proxy_t>& proxies) {
    WINHTTP_AUTOPROXY_OPTIONS options{};
    options.dwFlags = WINHTTP_AUTOPROXY_AUTO_DETECT;
    options.dwAutoDetectFlags = WINHTTP_AUTO_DETECT_TYPE_DHCP | WINHTTP_AUTO_DETECT_TYPE_DNS_A;
    options.fAutoLogonIfChallenged = TRUE;
    const HINTERNET session = ::WinHttpOpen(L"", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                            WINHTTP_NO_PROXY_BYPASS, 0);
    if (session == nullptr)
        return;
    WINHTTP_PROXY_INFO info{};
    const BOOL answered = ::WinHttpGetProxyForUrl(session, url.c_str(), &options, &info);
    ::WinHttpCloseHandle(session);
    if (answered)
        append_named_proxy(info, proxy_source_t::discovery, proxies);
}

void append_machine_proxy(std::vector<system_proxy_t>& proxies) {
    WINHTTP_PROXY_INFO info{};
    if (::WinHttpGetDefaultProxyConfiguration(&info))
        append_named_proxy(info, proxy_source_t::machine, proxies);
}

} // namespace

std::vector<system_proxy_t> system_proxies(const std::string& url) {
    std::vector<system_proxy_t> proxies;
    append_browser_proxy(proxies);
    append_discovered_proxy(to_wide(url), proxies);
    append_machine_proxy(proxies);
    return proxies;
}

} // namespace ostrel_platform
