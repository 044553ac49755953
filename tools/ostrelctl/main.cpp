// Shows an administrator or a curious user what the library would do, and records the answer.
#include "command_line.h"
#include "printable.h"
#include "terminal.h"

#include <sstream>
#include <stdexcept>

namespace {

using namespace ostrelctl;

constexpr int failed = static_cast<int>(exit_status_t::failed);

int run(CLI::App& app, std::vector<std::string> arguments) {
    request_t request;
    const command_t command = parse(app, request, std::move(arguments));
    if (const auto* const watched = std::get_if<watch_t>(&command))
        return watch(*watched);
    const outcome_t outcome = std::get<show_t>(command)(request);
    if (!print(outcome.text))
        throw std::runtime_error("standard output cannot be written" +
                                 (outcome.done.empty() ? "" : "; " + outcome.done));
    return static_cast<int>(outcome.status);
}

} // namespace

int main(int count, char** arguments) { // NOLINT(bugprone-exception-escape): only when memory is short
    CLI::App app("Shows what the usage-statistics library would do for this user, and why.", "ostrelctl");
    try {
        return run(app, utf8_arguments(count, arguments));
    } catch (const CLI::Success& request) {
        std::ostringstream text;
        const int status = app.exit(request, text, text); // --help and --version
        return print(text.str()) ? status : failed;
    } catch (const CLI::ParseError& fault) {
        complain(printable(fault.what()) +
                 "\nTry: ostrelctl status | preview NAME... | consent [yes|no|forget] | products | "
                 "watch -- COMMAND..., each with --help.");
    } catch (const std::exception& fault) {
        complain(printable(fault.what()));
    }
    return failed;
}
