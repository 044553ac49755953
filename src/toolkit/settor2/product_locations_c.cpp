// The configuration service for hosts in C: copies the host's structure into a service object.
#include "settor2/product_locations_c.h"

#include "settor2/product_locations.h"
#include "toolkit/quillkit/strings.h"

#include <array>
#include <forward_list>
#include <mutex>

namespace settor2 {

namespace {

// The library asks for this kind of location only: the name of the product's folder below the company folder.
constexpr int product_folder_kind = 6;

std::wstring to_wide(const char* text) {
    return text == nullptr ? std::wstring() : quillkit::strings::utf8_to_utf16(text);
}

class copied_locations_t final : public IProductLocations {
public:
    explicit copied_locations_t(const settor2_product_locations_t& locations)
        : m_version{locations.version[0], locations.version[1], locations.version[2]},
          m_location(to_wide(locations.location)),
          m_folder(to_wide(locations.folder)),
          m_temp_dir(to_wide(locations.temp_dir)),
          m_manager_expected(locations.manager_expected != 0) {}

    void getVersion(int& major, int& minor, int& build) const override {
        major = m_version[0];
        minor = m_version[1];
        build = m_version[2];
    }
    std::wstring getLocation(int kind) const override {
        return kind == product_folder_kind ? m_location : std::wstring();
    }
    const wchar_t* getFolder() const override { return m_folder.c_str(); }
    const wchar_t* getTempDir() const override { return m_temp_dir.c_str(); }
    bool isManagerExpected() const override { return m_manager_expected; }

private:
    std::array<int, 3> m_version;
    std::wstring m_location;
    std::wstring m_folder;
    std::wstring m_temp_dir;
    bool m_manager_expected;
};

struct copies_t {
    std::mutex mutex;
    std::forward_list<copied_locations_t> list;
};

// Never destroyed: threads may still read earlier copies, and the host's threads and exit handlers may run
// after static objects are destroyed.
copies_t& copies() {
    static auto* const never_destroyed = new copies_t;
    return *never_destroyed;
}

} // namespace

} // namespace settor2

void settor2_install_product_locations(const settor2_product_locations_t* locations) {
    using namespace settor2;
    if (locations == nullptr) {
        IProductLocations::install(nullptr);
        return;
    }
    copies_t& kept = copies();
    const std::lock_guard<std::mutex> lock(kept.mutex);
    IProductLocations::install(&kept.list.emplace_front(*locations));
}
