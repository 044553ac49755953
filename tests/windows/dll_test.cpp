// The DLL in a host that loads it at run time: version, unloading, exceptions.
#include "ostrel/ostrel.h"
#include "ostrel/version.h"
#include "support/system.h"

#include <windows.h>

#include <psapi.h>

#include <boost/dll/shared_library.hpp>
#include <fstream>
#include <gtest/gtest.h>

using namespace test_support;
namespace fs = std::filesystem;

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

/// What the process holds. The value of the next handle grows with the number of open ones.
struct resources_t {
    resources_t() {
        const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
        ::CloseHandle(event);
        next_handle = reinterpret_cast<std::uintptr_t>(event);
        PROCESS_MEMORY_COUNTERS_EX memory{};
        ::GetProcessMemoryInfo(::GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&memory),
                               sizeof memory);
        bytes = memory.PrivateUsage;
    }
    std::size_t threads = count_threads();
    std::uintptr_t next_handle;
    SIZE_T bytes;
};

void use_once() {
    const library_t library;
    statistic_handle_t* const handle = library.create("product", "1");
    library.notify(handle, "run.a");
    library.destroy(handle);
}

/// Sends to a port where nobody listens, and keeps its data in a folder of its own.
class dll : public testing::Test {
protected:
    dll() {
        set_variable("OSTREL_COLLECTION_URL", "http://127.0.0.1:9/collect");
        set_variable("OSTREL_CORPORATE_DOMAIN", "localhost");
        set_variable("NORVANE_FORCE_FEEDBACK", "1");
        fs::create_directories(folder);
    }
    ~dll() override { fs::remove_all(folder); }

    fs::path folder =
        fs::temp_directory_path() / ("ostrel-dll-test-" + std::to_string(::GetCurrentProcessId()));
    local_app_data_t data{folder};
};

} // namespace

TEST_F(dll, loading_and_unloading_leaves_nothing_behind) {
    for (int i = 0; i < 10; ++i)
        use_once();
    const resources_t before;
    for (int i = 0; i < 200; ++i)
        use_once();
    const resources_t after;
    EXPECT_EQ(::GetModuleHandleW(L"ostrel.dll"), nullptr);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.next_handle, before.next_handle);
    EXPECT_LT(after.bytes, before.bytes + (1U << 20U));
}

TEST_F(dll, an_exception_reaches_the_host) {
    const library_t library;
    std::ofstream(folder / "Norvane Corporation") << "a file in the folder's place";
    EXPECT_THROW(library.create("product", "1"), std::exception);
    fs::remove(folder / "Norvane Corporation");
    library.destroy(library.create("product", "1"));
}

TEST_F(dll, its_version_is_that_of_the_header) {
    char resource[4096];
    ASSERT_TRUE(::GetFileVersionInfoA(OSTREL_DLL, 0, sizeof resource, resource));
    VS_FIXEDFILEINFO* version = nullptr;
    UINT size = 0;
    ASSERT_TRUE(::VerQueryValueA(resource, "\\", reinterpret_cast<void**>(&version), &size));
    EXPECT_EQ(version->dwFileVersionMS,
              static_cast<DWORD>(MAKELONG(OSTREL_VERSION_MINOR, OSTREL_VERSION_MAJOR)));
    EXPECT_EQ(version->dwFileVersionLS, static_cast<DWORD>(MAKELONG(0, OSTREL_VERSION_PATCH)));
}
