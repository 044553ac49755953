// Finds the software manager's tools.
#include "pellar_accessor/locate.h"

#include "toolkit/kiln2/environ.h"

namespace OSTREL_NAMESPACE {

namespace {

// The names are the same on every system.
std::wstring executable_name(pellar_accessor_impl_t::pellar_tool_t tool) {
    switch (tool) {
    case pellar_accessor_impl_t::tool_remote_monitor:
        return L"norvaneremotemon.exe";
    case pellar_accessor_impl_t::tool_pellar:
        return L"pellar.exe";
    case pellar_accessor_impl_t::tool_check_virk_consent:
        return L"checkVIRKconsent.exe";
    }
    return {};
}

kiln2::path_t existing(const kiln2::path_t& path) {
    return kiln2::path_t::exists(path.as_string()) ? path : kiln2::path_t();
}

} // namespace

kiln2::path_t locate_tool(pellar_accessor_impl_t::pellar_tool_t tool, program_files_t program_files) {
    const std::wstring name = executable_name(tool);
    if (name.empty())
        return {};
    const auto folder = program_files();
    if (!folder)
        return {};
    kiln2::path_t standard =
        existing(kiln2::path_t(*folder).append(std::wstring(L"Norvane/Pellar")).append(name));
    if (!standard.is_empty())
        return standard;
    kiln2::path_t other(kiln2::get_environ_value(L"PELLAR_DIR"));
    return other.is_empty() ? other : existing(other.append(name));
}

} // namespace OSTREL_NAMESPACE
