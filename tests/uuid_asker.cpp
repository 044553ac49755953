// A second host process for the tests: eight threads ask for the machine id at once.
//
// Takes the folder for exchange files and the answer to expect; exits with the number of threads that got
// another one.
#include "ostrel/pellar_accessor.h"
#include "platform/utf.h"
#include "support/arguments.h"
#include "support/pellar.h"

#include <atomic>
#include <thread>

int main(int argc, char** argv) {
    const auto arguments = test_support::utf8_arguments(argc, argv);
    test_support::locations_t locations;
    locations.temp_dir = ostrel_platform::to_wide(arguments.at(0));
    settor2::IProductLocations::install(&locations);
    const std::wstring expected = ostrel_platform::to_wide(arguments.at(1));
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(
            [&] { failures += OSTREL_NAMESPACE::pellar_accessor_impl_t().get_uuid() != expected; });
    for (std::thread& thread : threads)
        thread.join();
    settor2::IProductLocations::install(nullptr);
    return failures;
}
