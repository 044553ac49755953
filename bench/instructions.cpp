// A host that runs under callgrind. Callgrind counts the instructions between START and STOP.
#include "server.h"
#include "workspace.h"

#include "ostrel/ostrel.h"
#include "settor2/product_locations_c.h"

#include <curl/curl.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

void install(const bench::workspace_t& workspace, int names, bool collecting) {
    workspace.set_filter(names);
    const std::string folder = workspace.folder();
    settor2_product_locations_t locations{};
    locations.folder = folder.c_str();
    settor2_install_product_locations(&locations);
    bench::collect(collecting);
}

/// Creates the first object of a process, in a data folder with the files of an earlier process.
void create(int names, bool collecting) {
    const bench::workspace_t workspace;
    install(workspace, names, collecting);
    const pid_t earlier = ::fork();
    if (earlier == 0) {
        statistic_handle_t* const handle = ostrel_create_statistic(bench::product, bench::version);
        ostrel_notify_feature_usage(handle, bench::missed_name);
        ostrel_destroy_statistic(handle);
        ::_exit(0);
    }
    ::waitpid(earlier, nullptr, 0);
    CALLGRIND_START_INSTRUMENTATION;
    ostrel_destroy_statistic(ostrel_create_statistic(bench::product, bench::version));
    CALLGRIND_STOP_INSTRUMENTATION;
}

void notify(const char* name, int names, bool collecting, int calls) {
    const bench::workspace_t workspace;
    install(workspace, names, collecting);
    if (const char* const url = std::getenv("BENCH_URL"))
        bench::post_to(url);
    statistic_handle_t* const handle = ostrel_create_statistic(bench::product, bench::version);
    ostrel_notify_feature_usage(handle, name);
    CALLGRIND_START_INSTRUMENTATION;
    for (int call = 0; call < calls; ++call)
        ostrel_notify_feature_usage(handle, name);
    if (std::getenv("BENCH_URL") == nullptr)
        CALLGRIND_STOP_INSTRUMENTATION;
    ostrel_destroy_statistic(handle);
    CALLGRIND_STOP_INSTRUMENTATION;
}

std::size_t discard(const char* /*data*/, std::size_t size, std::size_t count, void* /*user*/) {
    return size * count;
}

/// The bare loop: posts a body of @p length bytes with one libcurl handle, without the library.
void bare(const char* url, int length, int calls) {
    const std::string hit(static_cast<std::size_t>(length), 'x');
    curl_global_init(CURL_GLOBAL_ALL);
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &discard);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 5L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, hit.c_str());
    curl_easy_perform(curl);
    CALLGRIND_START_INSTRUMENTATION;
    for (int call = 0; call < calls; ++call)
        curl_easy_perform(curl);
    CALLGRIND_STOP_INSTRUMENTATION;
    curl_easy_cleanup(curl);
    curl_global_cleanup();
}

/// Prints the server's URL and serves until standard input is closed.
void serve() {
    const bench::server_t server(0);
    std::printf("%s\n", server.url().c_str());
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
}

/// Removes the prefix from @p what. @return false if there is no such prefix
bool take_prefix(std::string& what, const std::string& prefix) {
    if (what.compare(0, prefix.size(), prefix) != 0)
        return false;
    what.erase(0, prefix.size());
    return true;
}

} // namespace

int main(int count, char** arguments) {
    std::string what = count > 1 ? arguments[1] : "";
    bench::silence(take_prefix(what, "silenced-"));
    const int number = count > 2 ? std::atoi(arguments[2]) : 100;
    const int calls = count > 3 ? std::atoi(arguments[3]) : 1'000;
    if (what == "routed")
        notify(bench::routed_name, number, true, calls);
    else if (what == "escaped")
        notify(bench::escaped_name, number, true, calls);
    else if (what == "missed")
        notify(bench::missed_name, number, true, calls);
    else if (what == "off")
        notify(bench::routed_name, number, false, calls);
    else if (what == "create")
        create(number, true);
    else if (what == "create-off")
        create(number, false);
    else if (what == "bare")
        bare(std::getenv("BENCH_URL"), number, calls);
    else if (what == "serve")
        serve();
    else
        return 2;
    return 0;
}
