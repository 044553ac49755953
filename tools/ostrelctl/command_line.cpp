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
    "Only \"consent yes\", \"consent no\" and \"consent forget\" change anything: one file.\n"
    "Exit status: 0 would report (preview: all of the names), 1 would not, 2 wrong usage.";

// CLI11's own check knows no names beyond the code page on Windows.
std::string why_no_file(const std::string& path) {
    using ostrel_platform::entry_t;
    const entry_t entry = ostrel_platform::look_at(quillkit::strings::utf8_to_utf16(path));
    return entry == entry_t::file || entry == entry_t::stream ? "" : "no such file: " + path;
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
        ->check(&why_no_file)
        ->type_name("FILE");
}

CLI::App& add_command(CLI::App& app, request_t& request, const char* name, const char* description) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.add_flag("--json", request.wants_json, "Print JSON");
    return command;
}

/// Takes what stands behind the first "--" of watch, which is the command's alone.
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
    watch.add_flag("--raw", request.wants_raw, "Print the bytes of each hit, too");
    watch.add_flag("--json", request.wants_json, "Print one JSON object a line");
    watch.footer(
        "Hits go to standard output, what the command prints to standard error. Nothing is passed on to\n"
        "any other collector. The exit status is that of the command.");
}

void add_commands(CLI::App& app, request_t& request, watch_t& watched) {
    add_subject(add_command(app, request, "status", "Say whether usage would be reported now, and why"),
                request.subject);
    CLI::App& preview = add_command(app, request, "preview", "Print what would be posted for features");
    add_subject(preview, request.subject);
    preview.add_option("--product-version", request.subject.version, "Version that the host gives")
        ->capture_default_str()
        ->type_name("TEXT");
    preview.add_option("NAME", request.features, "Names of features")->required()->type_name("");
    CLI::App& consent = add_command(app, request, "consent", "Show, record or remove the shared answer");
    consent.add_option("ANSWER", request.answer, "The answer to record, or forget to be asked again")
        ->check(CLI::IsMember({"yes", "no", "forget"}).description(""))
        ->type_name("yes|no|forget");
    add_command(app, request, "products", "List the products that keep data for this user");
    add_watch(app, watched);
}

} // namespace

command_t parse(CLI::App& app, request_t& request, std::vector<std::string> arguments) {
    watch_t watched;
    watched.command = take_watched(arguments);
    app.set_version_flag("--version", version_text);
    app.footer(after_help);
    app.require_subcommand(0, 1); // none is refused below: a misspelt one is worth its own message
    add_commands(app, request, watched);
    std::reverse(arguments.begin(), arguments.end()); // the order that CLI11 takes a vector in
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
