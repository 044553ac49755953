// Measures what a process can do only once: load a library, or create its first object. Prints one figure.
#include "workspace.h"

#include "settor2/product_locations_c.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

namespace {

/// Measures processor time of the calling thread, so that other programs hardly change the result.
class stop_watch_t {
public:
    double microseconds() const { return now() - m_start; }

private:
    static double now() {
        timespec time{};
        ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
    }

    double m_start = now();
};

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

/// Uses the data folder of the parent process, which has already created an object there.
double create(void* library) {
    settor2_product_locations_t locations{};
    locations.folder = std::getenv("XDG_DATA_HOME");
    symbol<void (*)(const settor2_product_locations_t*)>(library,
                                                         "settor2_install_product_locations")(&locations);
    const auto make = symbol<void* (*)(const char*, const char*)>(library, "ostrel_create_statistic");
    const stop_watch_t watch;
    make(bench::product, bench::version);
    return watch.microseconds();
}

double init_and_thread(void* library) {
    const auto init = symbol<int (*)(long)>(library, "curl_global_init");
    const stop_watch_t watch;
    init(3);
    std::thread thread([] { ::pause(); });
    const double time = watch.microseconds();
    thread.detach();
    return time;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    const char* const what = arguments[1];
    const double resident = resident_kilobytes();
    const stop_watch_t watch;
    void* const library = load(arguments[2]);
    double figure = watch.microseconds();
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
    ::_exit(0); // threads are still running, so no destructor may run
}
