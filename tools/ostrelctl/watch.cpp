// Runs a command and shows the hits that it posts.
#include "watch.h"

#include "child.h"
#include "collector/hit.h"
#include "collector/server.h"
#include "platform/random.h"
#include "printable.h"
#include "report.h"
#include "terminal.h"
#include "toolkit/kiln2/environ.h"
#include "toolkit/quillkit/strings.h"

#include <array>
#include <atomic>
#include <cstdio>

namespace ostrelctl {

namespace {

using quillkit::strings::utf16_to_utf8;

constexpr std::uint64_t longest_body = std::uint64_t{64} << 10U;
constexpr unsigned accepted = 200; // for malformed hits too, or the command would stop posting

struct counts_t {
    std::atomic<int> hits{0};
    std::atomic<int> malformed{0};
    std::atomic<int> foreign{0}; ///< requests to other paths
};

// Other users of the machine cannot guess the path, so they cannot post to it.
std::string random_target() {
    std::string target = "/";
    for (int i = 0; i < 4; ++i) {
        std::array<char, 9> digits{};
        std::snprintf(digits.data(), digits.size(), "%08x", ostrel_platform::random_bits());
        target += digits.data();
    }
    return target + "/collect";
}

/// The new value of no_proxy or NO_PROXY, with the tool's address added. If the variable is not set, starts
/// from the other one, because libcurl reads that one then.
std::string exceptions_of(const wchar_t* variable, const wchar_t* other) {
    std::wstring value = kiln2::get_environ_value(variable);
    if (value.empty())
        value = kiln2::get_environ_value(other);
    if (value.empty() || value == L"*") // in a list, libcurl does not read "*" as all hosts
        return value.empty() ? "127.0.0.1" : "*";
    return utf16_to_utf8(value) + ",127.0.0.1";
}

command_line_t command_for(const watch_t& request, const std::string& url) {
    return {request.command,
            {{"OSTREL_COLLECTION_URL", url},
             {"no_proxy", exceptions_of(L"no_proxy", L"NO_PROXY")},
             {"NO_PROXY", exceptions_of(L"NO_PROXY", L"no_proxy")}}};
}

collector::hit_t read_hit(const collector::request_t& request) {
    if (!request.fault.empty())
        throw collector::malformed_hit_t("invalid HTTP: " + request.fault);
    return collector::parse_hit(request.body);
}

std::string line_of(const collector::request_t& request, const watch_t& how, counts_t& counts) {
    try {
        const collector::hit_t hit = read_hit(request);
        ++counts.hits;
        return how.wants_json ? hit_json(hit, how.wants_raw ? &request.body : nullptr)
                              : collector::describe(hit) + "\n";
    } catch (const collector::malformed_hit_t& fault) {
        ++counts.malformed;
        return how.wants_json ? malformed_json(fault.what(), request.body)
                              : "malformed: " + printable(fault.what()) + "\n";
    }
}

/// Prints what arrived. Called by one thread at a time.
unsigned show(const collector::request_t& request, const std::string& target, const watch_t& how,
              counts_t& counts) {
    if (request.fault.empty() && (request.method != "POST" || request.target != target)) {
        ++counts.foreign;
        return accepted;
    }
    std::string text = line_of(request, how, counts);
    if (how.wants_raw && !how.wants_json)
        text += "  " + printable(request.body) + "\n";
    print(text);
    return accepted;
}

std::string counted(int count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void sum_up(const counts_t& counts) {
    std::string text = counted(counts.hits, "hit") + ", " + std::to_string(counts.malformed) + " malformed";
    if (counts.foreign > 0)
        text += ", " + counted(counts.foreign, "request") + " to other paths ignored";
    if (counts.hits == 0 && counts.malformed == 0)
        text += "; \"ostrelctl status\" says whether the product may collect";
    complain(text);
}

} // namespace

int watch(const watch_t& request) {
    leave_interrupts_to_command();
    const std::string target = random_target();
    counts_t counts;
    collector::server_settings_t settings;
    settings.target = target;
    settings.longest_body = longest_body;
    settings.keeps_requests = false;
    collector::server_t server([&](const auto& arrived) { return show(arrived, target, request, counts); },
                               settings);
    keep_private(server.native_handle());
    const int status = run(command_for(request, server.url()));
    server.finish();
    if (status != command_not_found && status != command_not_started)
        sum_up(counts);
    return status;
}

} // namespace ostrelctl
