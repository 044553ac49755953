// Shows an administrator or a curious user what the library would do, and records the shared answer.
#include "ostrel/version.h"
#include "platform/environment.h"
#include "report.h"
#include "statistic_impl/consent.h"
#include "statistic_impl/environment_switches.h"
#include "statistic_impl/plan.h"
#include "terminal.h"
#include "toolkit/kiln2/files.h"
#include "toolkit/quillkit/strings.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace {

using namespace ostrelctl;

constexpr int would_report = 0;
constexpr int would_not_report = 1;
constexpr int wrong_usage = 2;

#define OSTRELCTL_TEXT(name) #name
#define OSTRELCTL_VERSION(major, minor, patch)                                                               \
    OSTRELCTL_TEXT(major) "." OSTRELCTL_TEXT(minor) "." OSTRELCTL_TEXT(patch)

constexpr const char* version_text =
    "ostrelctl " OSTRELCTL_VERSION(OSTREL_VERSION_MAJOR, OSTREL_VERSION_MINOR, OSTREL_VERSION_PATCH);

constexpr const char* after_help =
    "Nothing is ever sent, and only \"consent yes\" and \"consent no\" write: one file.\n"
    "Exit status: 0 would report (preview: all of the names), 1 would not, 2 wrong usage.";

struct request_t {
    subject_t subject;
    std::vector<std::string> features;
    std::string answer;
    bool wants_json = false;
};

bool has_colours() {
    const auto terminal = ostrel_platform::environment_variable(L"TERM");
    return is_terminal() && !ostrel_platform::is_variable_set(L"NO_COLOR") && terminal != L"dumb";
}

text_report_t text_report() {
    return {is_terminal(), has_colours()};
}

int show_status(const request_t& request) {
    const inspection_t found = inspect(request.subject);
    std::cout << (request.wants_json ? status_json(found) : text_report().status(found));
    return found.would_report() ? would_report : would_not_report;
}

int show_previews(const request_t& request) {
    const inspection_t found = inspect(request.subject);
    const std::vector<preview_t> previews = preview(found, request.features);
    std::cout << (request.wants_json ? preview_json(found, previews)
                                     : text_report().preview(found, previews));
    for (const preview_t& one : previews)
        if (!one.body)
            return would_not_report;
    return would_report;
}

std::string what_overrides_the_answer() {
    if (const library::switch_t* const found = library::deciding_switch())
        return quillkit::strings::utf16_to_utf8(found->variable);
    return {};
}

/// Records the answer as a host does. @return whether it is on file now
bool record(const library::settings_paths_t& paths, bool agrees) {
    try {
        kiln2::create_folders(paths.company_dir);
    } catch (const std::exception&) {
        return false; // why is for builders; which file it is about is said below
    }
    library::write_consent(paths.virk.as_string(), agrees);
    return library::read_consent(paths.virk.as_string()) ==
           (agrees ? library::vsEnabled : library::vsDisabled);
}

int show_or_record_consent(const request_t& request) {
    const auto paths = library::settings_of({});
    if (!paths)
        throw std::runtime_error("no folder for settings: " + why_no_folder());
    if (!request.answer.empty() && !record(*paths, request.answer == "yes"))
        throw std::runtime_error("the answer cannot be written; see that this user may create " +
                                 quillkit::strings::utf16_to_utf8(paths->virk.as_string()));
    const library::virk_state_t state = library::read_consent(paths->virk.as_string());
    const char* const answer = state == library::vsUnknown   ? "none"
                               : state == library::vsEnabled ? "yes"
                                                             : "no";
    const consent_report_t report{library::look_at_consent(*paths), answer, what_overrides_the_answer()};
    std::cout << (request.wants_json ? consent_json(report) : text_report().consent(report));
    return state == library::vsEnabled || !request.answer.empty() ? would_report : would_not_report;
}

void add_subject(CLI::App& command, subject_t& subject) {
    command.add_option("--product", subject.product, "Product id that the host gives")
        ->capture_default_str()
        ->type_name("ID");
    command
        .add_option("--settings", subject.settings, "Name of the product's settings folder, if not the id")
        ->type_name("NAME");
    command.add_option("--product-folder", subject.folder, "Folder with statistic/enabled_stat_events.xml")
        ->type_name("DIR");
    command.add_option("--filter", subject.filter, "Event filter to use in place of that one")
        ->check(CLI::ExistingFile.description(""))
        ->type_name("FILE");
}

/// @return the function of the chosen command
int (*parse(CLI::App& app, request_t& request, int count, char** arguments))(const request_t&) {
    app.set_version_flag("--version", version_text);
    app.footer(after_help);
    app.require_subcommand(0, 1); // none is refused below: a misspelt one is worth its own message
    CLI::App& status = *app.add_subcommand("status", "Say whether usage would be reported now, and why");
    add_subject(status, request.subject);
    CLI::App& preview = *app.add_subcommand("preview", "Print what would be posted for features");
    add_subject(preview, request.subject);
    preview.add_option("--product-version", request.subject.version, "Version that the host gives")
        ->capture_default_str()
        ->type_name("TEXT");
    preview.add_option("NAME", request.features, "Names of features")->required()->type_name("");
    CLI::App& consent = *app.add_subcommand("consent", "Show the shared answer, or record another one");
    consent.add_option("ANSWER", request.answer, "The answer to record")
        ->check(CLI::IsMember({"yes", "no"}).description(""))
        ->type_name("yes|no");
    for (CLI::App* const command : {&status, &preview, &consent})
        command->add_flag("--json", request.wants_json, "Print JSON");
    app.parse(count, arguments);
    if (app.get_subcommands().empty())
        throw CLI::RequiredError("a command");
    if (status.parsed())
        return &show_status;
    return preview.parsed() ? &show_previews : &show_or_record_consent;
}

int run(CLI::App& app, int count, char** arguments) {
    request_t request;
    const int status = parse(app, request, count, arguments)(request);
    if (!std::cout.flush())
        throw std::runtime_error("standard output cannot be written");
    return status;
}

} // namespace

int main(int count, char** arguments) { // NOLINT(bugprone-exception-escape): only when memory is short
    CLI::App app("Shows what the usage-statistics library would do for this user, and why.", "ostrelctl");
    try {
        return run(app, count, arguments);
    } catch (const CLI::Success& request) {
        return app.exit(request); // --help and --version
    } catch (const CLI::ParseError& fault) {
        std::cerr << "ostrelctl: " << fault.what()
                  << "\nTry: ostrelctl status | preview NAME... | consent [yes|no], each with --help.\n";
    } catch (const std::exception& fault) {
        std::cerr << "ostrelctl: " << fault.what() << "\n";
    }
    return wrong_usage;
}
