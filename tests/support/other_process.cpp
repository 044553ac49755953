// A second process where tests need one: other_process (count | save | crash | ask) PATH
#include "ostrel/filelock.h"
#include "ostrel/pellar_accessor.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

#include <atomic>
#include <thread>

using namespace test_support;
using OSTREL_NAMESPACE::filelock_t;

namespace {

int count(const fs::path& file) {
    for (int round = 0; round < 50; ++round) {
        filelock_t lock(wide(file));
        while (!lock.lock())
            std::this_thread::yield();
        write_file(file, std::to_string(std::stoi(read_file(file).value()) + 1));
    }
    return 0;
}

int save(const fs::path& file) {
    for (int round = 0; round < 200; ++round) {
        kiln2::variant_bag_t bag;
        bag.put(L"text", std::wstring(round % 2 == 0 ? 10 : 100000, L'x'));
        bag.put(L"whole", 1);
        kiln2::save_variant_bag2(bag, wide(file), L"bag");
    }
    return 0;
}

int crash(const fs::path& file) {
    filelock_t lock(wide(file));
    std::_Exit(lock.lock() ? 3 : 4);
}

/// @return how many of eight threads were not told the machine id
int ask(const fs::path& folder) {
    locations_t locations;
    locations.temp_dir = wide(folder);
    locations_t::install(&locations);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(
            [&] { failures += OSTREL_NAMESPACE::pellar_accessor_impl_t().get_uuid() != L"abc \u00e9"; });
    for (std::thread& thread : threads)
        thread.join();
    return failures;
}

} // namespace

int main(int argc, char** argv) {
    const std::map<std::string, int (*)(const fs::path&)> actions{
        {"count", count}, {"save", save}, {"crash", crash}, {"ask", ask}};
    const texts_t arguments = utf8_arguments(argc, argv);
    return actions.at(arguments.at(0))(fs::u8path(arguments.at(1)));
}
