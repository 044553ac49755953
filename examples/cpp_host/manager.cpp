// This host's calls of the maker's software manager.
#include "manager.h"

#include "ostrel/pellar_accessor.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace ostrel = OSTREL_NAMESPACE;

namespace {

// The manager deletes the file that it uploaded. The host deletes the file if the manager did not.
bool upload_statistics(ostrel::pellar_accessor_t& manager) {
    const std::filesystem::path file = std::filesystem::temp_directory_path() / "ostrel-cpp-host-usage.txt";
    std::ofstream(file) << "2 builds\n";
    const bool is_uploaded = manager.send_file(kiln2::path_t(file.wstring()), false);
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return is_uploaded;
}

} // namespace

void talk_to_the_manager() {
    ostrel::pellar_accessor_impl_t manager;
    // These two calls do not wait. The other calls wait until the manager's tool has exited.
    manager.notify_gui_start();
    manager.check_for_updates(ostrel::pellar_accessor_t::DefaultProductGUID);
    const std::wstring uuid = manager.get_uuid();
    if (uuid.empty()) {
        std::cout << "There is no software manager here.\n";
        return;
    }
    std::cout << "The software manager knows this machine as " << std::filesystem::path(uuid).u8string()
              << ".\n"
              << "Its feedback programme is " << (manager.is_feedback_enabled() ? "on" : "off") << ".\n"
              << "A statistics file was " << (upload_statistics(manager) ? "uploaded" : "not uploaded")
              << ".\n";
}
