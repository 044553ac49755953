// The software manager's stand-in, installed for a test.
#include "support/pellar.h"

#include "pellar_accessor/locate.h"
#include "platform/utf.h"

#include <chrono>
#include <fstream>
#include <thread>

namespace test_support {

namespace {

namespace fs = std::filesystem;
using accessor_t = OSTREL_NAMESPACE::pellar_accessor_impl_t;

std::wstring program_files;

// An explicit instantiation may name a private member.
using invoke_t = int (accessor_t::*)(accessor_t::pellar_tool_t, const std::vector<std::wstring>&, bool) const;
invoke_t private_entry();
template <invoke_t Member>
struct entry_t {
    friend invoke_t private_entry() { return Member; }
};
template struct entry_t<&accessor_t::invoke_pellar>;

} // namespace

std::vector<std::string> plain(const std::vector<log_line_t>& lines) {
    std::vector<std::string> result;
    for (const log_line_t& line : lines) {
        const char* const level = line.level == 40000 ? "E " : line.level == 20000 ? "I " : "T ";
        const std::string suffix = ", at file: " + line.file + ":" + std::to_string(line.line);
        const auto end = line.level == 40000 ? line.text.rfind(suffix) : line.text.size();
        result.push_back(level + (end == std::string::npos ? "no suffix" : line.text.substr(0, end)));
    }
    return result;
}

pellar_test_t::pellar_test_t() {
    program_files = wide(standard_folder());
    OSTREL_NAMESPACE::replace_program_files([]() -> std::optional<std::wstring> {
        return program_files.empty() ? std::nullopt : std::make_optional(program_files);
    });
    install(tools(), fs::u8path(OSTREL_STAND_IN_TOOL));
    profile.set("PELLAR_DIR", tools().u8string());
    profile.set("STAND_IN_RECORD", (profile.folder() / "record").u8string());
    for (const char* const name : {"STAND_IN_ACTION", "STAND_IN_EXIT", "STAND_IN_UNTIL"})
        profile.unset(name);
    fs::create_directories(temp());
    locations.temp_dir = wide(temp());
    settor2::IProductLocations::install(&locations);
}

pellar_test_t::~pellar_test_t() {
    settor2::IProductLocations::install(nullptr);
    OSTREL_NAMESPACE::replace_program_files(nullptr);
}

void pellar_test_t::install(const fs::path& folder, const fs::path& program) {
    fs::create_directories(folder);
    for (const char* const name : {"norvaneremotemon.exe", "pellar.exe", "checkVIRKconsent.exe"})
        fs::copy_file(program, folder / name);
}

void pellar_test_t::lose_standard_folder() {
    program_files.clear();
}

std::vector<std::string> pellar_test_t::runs() const {
    std::ifstream record(profile.folder() / "record", std::ios::binary);
    std::vector<std::string> result;
    for (std::string line; std::getline(record, line);)
        result.push_back(line);
    return result;
}

bool pellar_test_t::wait_for_runs(std::size_t count) const {
    for (int tries = 0; tries < 6000 && runs().size() < count; ++tries)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return runs().size() >= count;
}

void pellar_test_t::answer(const std::string& bytes) {
    const fs::path file = profile.folder() / "answer";
    write_file(file, bytes);
    profile.set("STAND_IN_ACTION", "write");
    profile.set("STAND_IN_ANSWER", file.u8string());
}

int pellar_test_t::invoke(int tool, const std::vector<std::wstring>& arguments, bool sync) {
    return (bridge.*private_entry())(static_cast<accessor_t::pellar_tool_t>(tool), arguments, sync);
}

} // namespace test_support
