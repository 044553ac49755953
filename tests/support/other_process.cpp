// A second process, as the tests of shared files need one: other_process (count | crash | save) FILE
#include "ostrel/filelock.h"
#include "support/profile.h"
#include "toolkit/kiln2/variant_bag.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <thread>

using OSTREL_NAMESPACE::filelock_t;
using test_support::wide;

namespace {

void count(const std::filesystem::path& file) {
    for (int round = 0; round < 50; ++round) {
        filelock_t lock(wide(file));
        while (!lock.lock())
            std::this_thread::yield();
        int number = 0;
        std::ifstream(file) >> number;
        std::ofstream(file) << number + 1;
    }
}

void save(const std::filesystem::path& file) {
    for (int round = 0; round < 200; ++round) {
        kiln2::variant_bag_t bag;
        bag.put(L"text", std::wstring(round % 2 == 0 ? 10 : 100000, L'x'));
        bag.put(L"whole", 1);
        kiln2::save_variant_bag2(bag, wide(file), L"bag");
    }
}

void crash(const std::filesystem::path& file) {
    filelock_t lock(wide(file));
    std::_Exit(lock.lock() ? 3 : 4);
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc == 3 ? argv[1] : "";
    if (what == "count")
        count(argv[2]);
    else if (what == "save")
        save(argv[2]);
    else if (what == "crash")
        crash(argv[2]);
    else
        return 2;
    return 0;
}
