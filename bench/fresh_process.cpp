// What can be measured only once in a process: loading a library, and making the first object. Prints a
// figure.
#include "workspace.h"

#include "settor2/product_locations_c.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

namespace {

using clock_type = std::chrono::steady_clock;

double microseconds_since(clock_type::time_point start) {
    return std::chrono::duration<double, std::micro>(clock_type::now() - start).count();
}

double resident_kilobytes() {
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return static_cast<double>(resident * ::sysconf(_SC_PAGESIZE)) / 1024;
}

void* load(const char* file) {
    void* const library = ::dlopen(file, RTLD_NOW);
    if (library == nullptr)
        std::fprintf(stderr, "%s\n", ::dlerror());
    return library;
}

template <class Function>
Function symbol(void* library, const char* name) {
    return reinterpret_cast<Function>(::dlsym(library, name));
}

/// In the workspace of the process that started this one, which has made an object before.
double create(void* library) {
    bench::silence();
    settor2_product_locations_t locations{};
    locations.folder = std::getenv("XDG_DATA_HOME");
    symbol<void (*)(const settor2_product_locations_t*)>(library,
                                                         "settor2_install_product_locations")(&locations);
    const auto make = symbol<void* (*)(const char*, const char*)>(library, "ostrel_create_statistic");
    const auto start = clock_type::now();
    make(bench::product, bench::version);
    return microseconds_since(start);
}

double init_and_thread(void* library) {
    const auto init = symbol<int (*)(long)>(library, "curl_global_init");
    const auto start = clock_type::now();
    init(3);
    std::thread thread([] { ::pause(); });
    const double time = microseconds_since(start);
    thread.detach();
    return time;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    const char* const what = arguments[1];
    const double resident = resident_kilobytes();
    const auto start = clock_type::now();
    void* const library = load(arguments[2]);
    double figure = microseconds_since(start);
    if (library == nullptr)
        return 1;
    if (std::strcmp(what, "resident") == 0)
        figure = resident_kilobytes() - resident;
    if (std::strcmp(what, "create") == 0)
        figure = create(library);
    if (std::strcmp(what, "init") == 0)
        figure = init_and_thread(library);
    std::printf("%.1f\n", figure);
    std::fflush(stdout);
    ::_exit(0); // with threads about, nothing is to be torn down
}
