// Where the software manager's tools lie.
#include "pellar_accessor/locate.h"

#include "ostrel/pellar_accessor.h"
#include "platform/folders.h"
#include "toolkit/kiln2/environ.h"

#include <atomic>

namespace OSTREL_NAMESPACE {

namespace {

std::atomic<program_files_t> current_program_files{&ostrel_platform::common_program_files_folder};

// Files keep these names on every system.
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

void replace_program_files(program_files_t program_files) {
    current_program_files =
        program_files != nullptr ? program_files : &ostrel_platform::common_program_files_folder;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): hosts link to it as it is
kiln2::path_t pellar_accessor_impl_t::get_pellar_location(pellar_tool_t tool) const {
    const std::wstring name = executable_name(tool);
    if (name.empty())
        return {};
    const auto program_files = current_program_files.load()();
    if (!program_files)
        return {};
    kiln2::path_t standard =
        existing(kiln2::path_t(*program_files).append(std::wstring(L"Norvane/Pellar")).append(name));
    if (!standard.is_empty())
        return standard;
    kiln2::path_t other(kiln2::get_environ_value(L"PELLAR_DIR"));
    return other.is_empty() ? other : existing(other.append(name));
}

} // namespace OSTREL_NAMESPACE
