// What a collector would receive for a feature.
#include "preview.h"

#include "statistic_impl_ga/hit.h"
#include "toolkit/quillkit/strings.h"
#include "words.h"

namespace ostrelctl {

namespace {

using quillkit::strings::utf8_to_utf16;

std::string prefix_of(const inspection_t& found) {
    return library::compose_hit_prefix(library::identify(utf8_to_utf16(found.machine_id),
                                                         utf8_to_utf16(found.subject.product),
                                                         utf8_to_utf16(found.subject.version)));
}

} // namespace

std::vector<preview_t> preview(const inspection_t& found, const std::vector<std::string>& features) {
    const std::string prefix = prefix_of(found);
    std::vector<preview_t> previews;
    for (const std::string& feature : features) {
        preview_t& one = previews.emplace_back(preview_t{feature, std::nullopt, {}});
        const std::wstring name = utf8_to_utf16(feature);
        const auto route = library::route_feature(name, found.plan.events);
        if (!found.would_report())
            one.why_not = because(found.plan);
        else if (!route)
            one.why_not = "the event filter does not list it, and it does not have the form run.WORD";
        else
            one.body = library::compose_event_hit(prefix, *route, found.plan.days.is_regular_user);
    }
    return previews;
}

} // namespace ostrelctl
