// What the library would find and decide now.
#include "inspection.h"

#include "http_connector/proxy_discovery.h"
#include "settor2/product_locations.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/deployment.h"
#include "statistic_impl/environment_switches.h"
#include "statistic_impl/machine_id.h"
#include "terminal.h"
#include "toolkit/quillkit/strings.h"

#include <algorithm>

namespace ostrelctl {

namespace {

using library::verdict_t;
using quillkit::strings::utf16_to_utf8;
using quillkit::strings::utf8_to_utf16;

constexpr const char* filter_role = "event filter";

/// In the place of the host's configuration service, so that the library's own code lays out the paths.
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

/// What the decision rests on, gathered in advance: also what the rule that decides leaves out is shown.
struct facts_t {
    bool machine_id = false;
    library::statistic_impl_t::env_vars_state_t state = library::statistic_impl_t::evsEnabled;
    ostrel_platform::host_addresses_t addresses;
    library::virk_state_t answer = library::vsUnknown;

    bool has_machine_id() const { return machine_id; }
    library::statistic_impl_t::env_vars_state_t switches() const { return state; }
    library::network_check_t network() const { return library::judge_resolution(addresses); }
    library::virk_state_t consent() const { return answer; }
};

machine_id_t find_machine_id(const std::optional<library::settings_paths_t>& paths) {
    if (!paths)
        return {{}, "HOME and XDG_DATA_HOME name no folder", false};
    if (std::wstring forced = library::forced_uuid(); !forced.empty())
        return {std::move(forced), "from NORVANE_FORCE_UUID", false};
    const auto stored = library::stored_uuid(paths->uuid.as_string());
    if (!stored)
        return {L"NEW-MACHINE-ID", "none stored yet: a host would make one", true};
    return {*stored, stored->empty() ? "uuid.xml holds none" : "from uuid.xml", false};
}

std::string describe_network(const std::string& domain, const ostrel_platform::host_addresses_t& answer) {
    using ostrel_platform::resolution_t;
    if (answer.outcome == resolution_t::unknown_host)
        return domain + " is not known here";
    if (answer.outcome == resolution_t::failed)
        return "the resolver gives no answer for " + domain;
    std::string text = domain + " is";
    for (const auto& [a, b, c, d] : answer.ipv4)
        text += " " + std::to_string(a) + "." + std::to_string(b) + "." + std::to_string(c) + "." +
                std::to_string(d);
    return answer.ipv4.empty() ? domain + " has no IPv4 address" : text;
}

std::string describe_answer(library::virk_state_t answer) {
    if (answer == library::vsUnknown)
        return "no answer on file: a host would ask";
    return answer == library::vsEnabled ? "the user has agreed" : "the user has refused";
}

void add_switches(std::vector<rule_line_t>& lines, bool decides) {
    const library::switch_t* const deciding = library::deciding_switch();
    for (const library::switch_t& one : library::collection_switches) {
        const bool set = library::is_set(one);
        lines.push_back({utf16_to_utf8(one.variable), set ? "set" : "not set",
                         set ? library::judge_switches(one.state) : verdict_t::undecided,
                         decides && &one == deciding});
    }
    const verdict_t built = library::judge_switches(library::state_without_switches());
    if (built != verdict_t::undecided)
        lines.push_back(
            {"build option", "collects whatever the user answered", built, decides && deciding == nullptr});
}

rule_line_t describe_rule(library::rule_t rule, const inspection_t& found, const facts_t& facts) {
    const verdict_t verdict = library::judge(rule, facts);
    switch (rule) {
    case library::rule_t::machine_id:
        return {"machine id", found.machine_id.source, verdict};
    case library::rule_t::network:
        return {"network", describe_network(found.domain, facts.addresses), verdict};
    case library::rule_t::consent:
        return {"consent", describe_answer(facts.answer), verdict};
    case library::rule_t::switches:
        break;
    }
    return {};
}

void decide(inspection_t& found, const facts_t& facts) {
    found.verdict = library::decide(facts);
    bool is_decided = false;
    for (const library::rule_t rule : library::decision_order) {
        const bool decides = !is_decided && library::judge(rule, facts) != verdict_t::undecided;
        is_decided = is_decided || decides;
        if (rule == library::rule_t::switches) {
            add_switches(found.rules, decides);
            continue;
        }
        found.rules.push_back(describe_rule(rule, found, facts));
        found.rules.back().decides = decides;
    }
}

kiln2::path_t lock_of(const kiln2::path_t& file) {
    return kiln2::path_t(file).change_ext(L"lock");
}

days_t count_days(const library::settings_paths_t& paths) {
    days_t days;
    const kiln2::path_t file = library::active_dates_file(paths.statistic_dir);
    if (const auto stored = library::stored_active_dates(file.as_string()))
        days.stored = *stored;
    // A host that cannot take the lock starts with no days at all.
    if (kiln2::path_t::exists(lock_of(file).as_string()))
        days.why_ignored = "its lock file is there";
    else if (kiln2::path_t::exists(paths.statistic_dir.as_string()) && !is_writable(paths.statistic_dir))
        days.why_ignored = "its folder cannot be written";
    const auto counted = days.why_ignored.empty() ? days.stored : std::vector<library::active_date_t>();
    const library::active_date_t today = library::last_active_dates_t::today();
    days.count = counted.size() + (library::is_another_day(counted, today) ? 1 : 0);
    days.is_regular_user =
        library::is_new_regular_user(days.count, counted.empty() ? today : counted.front(), today);
    return days;
}

void look_at_settings(inspection_t& found, const library::settings_paths_t& paths) {
    const kiln2::path_t days = library::active_dates_file(paths.statistic_dir);
    found.files = {look_at_folder("company folder", paths.company_dir),
                   look_at_file("consent", paths.virk, false),
                   look_at_folder("settings folder", paths.statistic_dir),
                   look_at_file("machine id", paths.uuid, true),
                   look_at_file("days of use", days, true),
                   look_at_file("lock of the days", lock_of(days), false)};
}

void look_at_filter(inspection_t& found) {
    const kiln2::path_t path = found.subject.filter.empty()
                                   ? library::event_filter_path()
                                   : kiln2::path_t(utf8_to_utf16(found.subject.filter));
    if (!path.is_empty())
        found.files.push_back(look_at_file(filter_role, path, true));
    found.events = library::load_enabled_events(path);
}

} // namespace

const file_t* filter_of(const inspection_t& found) {
    const auto filter = std::find_if(found.files.begin(), found.files.end(),
                                     [](const file_t& file) { return file.role == filter_role; });
    return filter == found.files.end() ? nullptr : &*filter;
}

std::string mask_password(const std::string& url) {
    const std::size_t at = url.rfind('@');
    const std::size_t scheme = url.find("://");
    const std::size_t begin = scheme == std::string::npos ? 0 : scheme + 3;
    const std::size_t colon = url.find(':', begin);
    if (at == std::string::npos || colon >= at)
        return url;
    return url.substr(0, colon + 1) + "***" + url.substr(at);
}

std::string because(verdict_t verdict) {
    switch (verdict) {
    case verdict_t::no_machine_id:
        return "there is no machine id";
    case verdict_t::switched_off:
        return "the environment switches it off";
    case verdict_t::forced_on:
        return "the environment forces it";
    case verdict_t::built_on:
        return "the build forces it";
    case verdict_t::inside_network:
        return "this machine is inside the maker's network";
    case verdict_t::network_unknown:
        return "the network check could not be made";
    case verdict_t::agreed:
        return "the user has agreed";
    case verdict_t::not_agreed:
        return "the user has not agreed";
    case verdict_t::undecided:
        break;
    }
    return {};
}

std::string explain(verdict_t verdict) {
    if (verdict == verdict_t::undecided)
        return "goes on";
    return (library::allows(verdict) ? "yes: " : "no: ") + because(verdict);
}

inspection_t inspect(const subject_t& subject) {
    const service_t service(subject);
    inspection_t found;
    found.subject = subject;
    const auto paths = library::settings_of(utf8_to_utf16(subject.product));
    found.machine_id = find_machine_id(paths);
    found.domain = library::corporate_domain();
    facts_t facts;
    facts.machine_id = !found.machine_id.id.empty();
    facts.state = library::statistic_impl_t::get_env_vars_state();
    facts.addresses = ostrel_platform::resolve_host(found.domain);
    facts.answer = paths ? library::read_consent(paths->virk.as_string()) : library::vsUnknown;
    decide(found, facts);
    if (paths) {
        look_at_settings(found, *paths);
        found.days = count_days(*paths);
    }
    look_at_filter(found);
    const std::string url = library::collection_url();
    found.endpoint = mask_password(url);
    for (const std::string& proxy : library::proxy_candidates(url))
        found.proxies.push_back(mask_password(proxy));
    return found;
}

} // namespace ostrelctl
