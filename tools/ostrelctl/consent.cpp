// The command that shows, records or removes the answer.
#include "commands.h"

#include "foundations/folders.h"
#include "report.h"
#include "statistic_impl/consent.h"
#include "terminal.h"
#include "toolkit/kiln2/files.h"
#include "toolkit/quillkit/strings.h"

#include <stdexcept>

namespace ostrelctl {

namespace {

using quillkit::strings::utf16_to_utf8;

std::runtime_error cannot(const char* verb, const library::settings_paths_t& paths) {
    return std::runtime_error(std::string("the answer cannot be ") + verb + "; check the permissions of " +
                              utf16_to_utf8(paths.virk.as_string()));
}

void record(const library::settings_paths_t& paths, bool agrees) {
    try {
        library::create_folders(paths.company_dir);
    } catch (const std::exception&) {
        throw cannot("written", paths); // the exception's own text does not name the file
    }
    if (!library::write_consent(paths.virk.as_string(), agrees))
        throw cannot("written", paths);
}

void forget(const library::settings_paths_t& paths) {
    if (!kiln2::remove_file(paths.virk) &&
        library::look_at_consent(paths).state != library::place_state_t::missing)
        throw cannot("removed", paths);
}

const char* name_of(library::virk_state_t state) {
    if (state == library::vsUnknown)
        return "none";
    return state == library::vsEnabled ? "yes" : "no";
}

std::string deciding_variable() {
    const library::switch_t* const found = library::deciding_switch();
    return found == nullptr ? std::string() : utf16_to_utf8(found->variable);
}

} // namespace

outcome_t show_or_change_consent(const request_t& request) {
    const auto paths = library::settings_of({});
    if (!paths)
        throw std::runtime_error("no folder for settings: " + why_no_folder());
    const bool forgets = request.answer == "forget";
    const bool records = !request.answer.empty() && !forgets;
    if (records)
        record(*paths, request.answer == "yes");
    if (forgets)
        forget(*paths);
    const library::virk_state_t state = library::read_consent(paths->virk.as_string());
    const consent_report_t report{library::look_at_consent(*paths), name_of(state),
                                  records ? request.answer : std::string(), deciding_variable()};
    const bool is_positive = state == library::vsEnabled || !request.answer.empty();
    return {is_positive ? exit_status_t::would_report : exit_status_t::would_not_report,
            request.wants_json ? consent_json(report) : text_report().consent(report),
            records   ? "the answer was recorded"
            : forgets ? "the answer was removed"
                      : ""};
}

} // namespace ostrelctl
