// The command lines of the tools.
#include "pellar_accessor/quote.h"

namespace OSTREL_NAMESPACE {

// Quotes and backslashes inside the element are not escaped: the tools expect this form.
std::wstring quote(const std::wstring& element) {
    return L'"' + element + L'"';
}

ostrel_platform::command_t compose_command(const std::wstring& program,
                                           const std::vector<std::wstring>& arguments) {
    ostrel_platform::command_t command;
    command.elements.push_back(program);
    command.elements.insert(command.elements.end(), arguments.begin(), arguments.end());
    for (const std::wstring& element : command.elements) {
        command.quoted.push_back(quote(element));
        command.line.append(command.line.empty() ? L"" : L" ").append(command.quoted.back());
    }
    return command;
}

} // namespace OSTREL_NAMESPACE
