// The command line, read with CLI11.
#include "command_line.h"

#include "ostrel/version.h"
#include "platform/entries.h"
#include "toolkit/quillkit/strings.h"

#include <algorithm>

namespace ostrelctl {

namespace {

#define OSTRELCTL_TEXT(name) #name
#define OSTRELCTL_VERSION(major, minor, patch)                                                               \
    OSTRELCTL_TEXT(major) "." OSTRELCTL_TEXT(minor) "." OSTRELCTL_TEXT(patch)

constexpr const char* version_text =
    "ostrelctl " OSTRELCTL_VERSION(OSTREL_VERSION_MAJOR, OSTREL_VERSION_MINOR, OSTREL_VERSION_PATCH);

constexpr const char* after_help =
    "Only \"consent yes\", \"consent no\" and \"consent forget\" change anything: the file of the answer.\n"
    "Exit status: 0 if usage would be reported (preview: every feature), 1 if not, 2 if the command failed.";

// On Windows, CLI11's own check fails for a name that is not in the code page.
std::string why_no_file(const std::string& path) {
    using ostrel_platform::entry_t;
    const entry_t entry = ostrel_platform::look_at(quillkit::strings::utf8_to_utf16(path));
    return entry == entry_t::file || entry == entry_t::stream ? "" : "no such file: " + path;
}

void add_subject(CLI::App& command, subject_t& subject) {
    command.add_option("--product", subject.product, "Product id that the product gives to the library")
        ->capture_default_str()
        ->type_name("ID");
    command.add_option("--settings", subject.settings, "Name of the settings folder, if not the product id")
        ->type_name("NAME");
    command.add_option("--product-folder", subject.folder, "Folder with statistic/enabled_stat_events.xml")
        ->type_name("DIR");
    command.add_option("--filter", subject.filter, "Event filter to use instead of the one in DIR")
        ->check(&why_no_file)
        ->type_name("FILE");
}

CLI::App& add_command(CLI::App& app, request_t& request, const char* name, const char* description) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.add_flag("--json", request.wants_json, "Print JSON");
    return command;
}

/// Removes the command to watch from the arguments: everything after the first "--" of watch.
std::vector<std::string> take_watched(std::vector<std::string>& arguments) {
    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    if (arguments.empty() || arguments[0] != "watch" || mark == arguments.end())
        return {};
    std::vector<std::string> command(mark + 1, arguments.end());
    arguments.erase(mark, arguments.end());
    return command;
}

void add_watch(CLI::App& app, watch_t& request) {
    CLI::App& watch = *app.add_subcommand(
        "watch", "Run a command and show the hits that it posts: watch [OPTIONS] -- COMMAND...");
    watch.add_flag("--raw", request.wants_raw, "Also print the bytes of each hit");
    watch.add_flag("--json", request.wants_json, "Print one JSON object per line");
    watch.footer(
        "Prints hits to standard output, and the command's output to standard error. Forwards nothing to\n"
        "any other collector. The exit status is that of the command.");
}

void add_commands(CLI::App& app, request_t& request, watch_t& watched) {
    add_subject(add_command(app, request, "status", "Say whether usage would be reported now, and why"),
                request.subject);
    CLI::App& preview = add_command(app, request, "preview", "Print what would be posted for features");
    add_subject(preview, request.subject);
    preview
        .add_option("--product-version", request.subject.version,
                    "Version that the product gives to the library")
        ->capture_default_str()
        ->type_name("TEXT");
    preview.add_option("NAME", request.features, "Names of features")->required()->type_name("");
    CLI::App& consent = add_command(app, request, "consent", "Show, record or remove the user's answer");
    consent
        .add_option("ANSWER", request.answer,
                    "The answer to record; \"forget\" removes the answer, so that products ask again")
        ->check(CLI::IsMember({"yes", "no", "forget"}).description(""))
        ->type_name("yes|no|forget");
    add_command(app, request, "products", "List the products that store data for this user");
    add_watch(app, watched);
}

} // namespace

command_t parse(CLI::App& app, request_t& request, std::vector<std::string> arguments) {
    watch_t watched;
    watched.command = take_watched(arguments);
    app.set_version_flag("--version", version_text);
    app.footer(after_help);
    app.require_subcommand(0, 1); // 0: CLI11 would report a misspelt command as missing
    add_commands(app, request, watched);
    std::reverse(arguments.begin(), arguments.end()); // CLI11 expects a vector in reverse order
    app.parse(std::move(arguments));
    if (app.get_subcommands().empty())
        throw CLI::RequiredError("a command");
    if (app.got_subcommand("watch") && watched.command.empty())
        throw CLI::RequiredError("-- COMMAND");
    if (app.got_subcommand("watch"))
        return watched;
    if (app.got_subcommand("status"))
        return &show_status;
    if (app.got_subcommand("preview"))
        return &show_previews;
    return app.got_subcommand("consent") ? &show_or_change_consent : &show_products;
}

} // namespace ostrelctl
