// The DLL in a host that loads it at run time: version, unloading and exceptions.
#include "ostrel/ostrel.h"
#include "ostrel/version.h"
#include "support/profile.h"

#include <windows.h>

#include <psapi.h>

#include <boost/dll/shared_library.hpp>

using namespace test_support;

namespace {

struct library_t {
    boost::dll::shared_library file{OSTREL_DLL, boost::dll::load_mode::search_system_folders};
    decltype(ostrel_create_statistic)& create =
        file.get<decltype(ostrel_create_statistic)>("ostrel_create_statistic");
    decltype(ostrel_destroy_statistic)& destroy =
        file.get<decltype(ostrel_destroy_statistic)>("ostrel_destroy_statistic");
    decltype(ostrel_notify_feature_usage)& notify =
        file.get<decltype(ostrel_notify_feature_usage)>("ostrel_notify_feature_usage");
};

/// What the process uses. A new handle has the lowest free value, so that leaked handles increase it.
struct resources_t {
    resources_t() {
        const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        ::CloseHandle(event);
        next_handle = reinterpret_cast<std::uintptr_t>(event);
        PROCESS_MEMORY_COUNTERS memory{};
        ::GetProcessMemoryInfo(::GetCurrentProcess(), &memory, sizeof memory);
        bytes = memory.PagefileUsage; // Wine leaves the PrivateUsage of the longer structure empty
    }
    std::size_t threads = count_threads();
    std::uintptr_t next_handle;
    SIZE_T bytes;
};

void use(int times) {
    for (int i = 0; i < times; ++i) {
        const library_t library;
        statistic_handle_t* const handle = library.create("product", "1");
        library.notify(handle, "run.a");
        library.destroy(handle);
    }
}

} // namespace

TEST(dll, loading_and_unloading_leaks_nothing) {
    const profile_t profile;
    profile.set("OSTREL_COLLECTION_URL", "http://127.0.0.1:9/collect"); // nobody listens there
    profile.set("NORVANE_FORCE_FEEDBACK", "1");
    use(10);
    const resources_t before;
    use(200);
    const resources_t after;
    EXPECT_EQ(::GetModuleHandleW(L"ostrel.dll"), nullptr);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.next_handle, before.next_handle);
    EXPECT_LT(after.bytes, before.bytes + (1U << 20U));
}

TEST(dll, an_exception_reaches_the_host) {
    const profile_t profile;
    const library_t library;
    EXPECT_THROW(library.create(std::string(300, 'x').c_str(), "1"), std::exception);
    EXPECT_TRUE(fs::is_empty(profile.company()));
    library.destroy(library.create("product", "1"));
}

TEST(dll, file_version_is_that_of_the_header) {
    // The beginning of VS_FIXEDFILEINFO: signature, version of the structure, version of the file.
    const char16_t info[] = {
        0x04BD, 0xFEEF, 0, 1, OSTREL_VERSION_MINOR, OSTREL_VERSION_MAJOR, 0, OSTREL_VERSION_PATCH};
    const std::string bytes(reinterpret_cast<const char*>(info), sizeof info);
    EXPECT_NE(read_file(OSTREL_DLL).value().find(bytes), std::string::npos);
}
