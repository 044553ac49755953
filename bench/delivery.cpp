// Compares the delivery of hits with a bare loop over one libcurl handle: same body, server and processor.
#include "parts.h"

#include "http_connector/http_connector.h"

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <chrono>
#include <ctime>

#include <malloc.h>

namespace {

using namespace OSTREL_NAMESPACE;
using clock_type = std::chrono::steady_clock;

constexpr int hits_a_round = 500;

double seconds_since(clock_type::time_point start) {
    return std::chrono::duration<double>(clock_type::now() - start).count();
}

/// Durations of one round, in seconds.
struct times_t {
    double real = 0;   ///< elapsed time
    double worked = 0; ///< processor time of all threads of this process
};

class stop_watch_t {
public:
    times_t read() const { return {seconds_since(m_start), worked() - m_worked}; }

private:
    static double worked() {
        timespec now{};
        ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }

    clock_type::time_point m_start = clock_type::now();
    double m_worked = worked();
};

std::size_t discard(const char* /*data*/, std::size_t size, std::size_t count, void* /*user*/) {
    return size * count;
}

times_t bare_round(const std::string& url, const std::string& hit) {
    CURL* const curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &discard);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 5L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, hit.c_str());
    const stop_watch_t watch;
    for (int sent = 0; sent < hits_a_round; ++sent)
        if (curl_easy_perform(curl) != CURLE_OK)
            std::abort();
    const times_t times = watch.read();
    curl_easy_cleanup(curl);
    return times;
}

/// Measures from the first push to the last response. Pushing is faster than posting, so the sending thread
/// never waits for a hit.
times_t connector_round(const std::string& url, const std::string& hit) {
    auto connector = std::make_unique<http_connector_t>(url.c_str());
    const stop_watch_t watch;
    for (int sent = 0; sent < hits_a_round; ++sent)
        connector->send(hit);
    connector.reset();
    return watch.read();
}

times_t chain_round(const std::string& url, const std::string& /*hit*/) {
    bench::post_to(url);
    auto handle = bench::make_handle(100);
    const stop_watch_t watch;
    for (int sent = 0; sent < hits_a_round; ++sent)
        ostrel_notify_feature_usage(handle.get(), bench::routed_name);
    handle.reset();
    const times_t times = watch.read();
    bench::post_to(bench::nowhere);
    return times;
}

/// Measures pairs of rounds. The bare loop runs first in every second pair. A ratio of 1 means: as fast as
/// the bare loop.
template <class Round>
void paired(benchmark::State& state, Round ours) {
    const bench::pinned_t pinned(bench::delivery_cpu);
    const std::string url = bench::environment().server.url();
    const std::string hit = bench::routed_hit();
    curl_global_init(CURL_GLOBAL_ALL);
    std::vector<double> rates;
    std::vector<double> work;
    std::vector<double> bare_times;
    std::vector<double> our_times;
    bool bare_first = true;
    for (auto _ : state) {
        times_t bare = bare_first ? bare_round(url, hit) : times_t();
        const times_t our = ours(url, hit);
        if (!bare_first)
            bare = bare_round(url, hit);
        bare_first = !bare_first;
        bare_times.push_back(bare.real);
        our_times.push_back(our.real);
        rates.push_back(bare.real / our.real);
        work.push_back(our.worked / bare.worked);
        state.SetIterationTime(our.real);
    }
    curl_global_cleanup();
    state.counters["ratio"] = bench::median(rates);
    state.counters["work"] = bench::median(work);
    state.counters["us_a_hit"] = bench::median(our_times) / hits_a_round * 1e6;
    state.counters["bare_us_a_hit"] = bench::median(bare_times) / hits_a_round * 1e6;
}

void delivery(benchmark::State& state) {
    paired(state, connector_round);
}

void chain(benchmark::State& state) {
    paired(state, chain_round);
}

/// Heap memory of one queued hit of 230 bytes. The server never answers the first hit, so the others stay
/// in the queue.
void queued_hit(benchmark::State& state) {
    constexpr int count = 100'000;
    const std::string hit = bench::routed_hit();
    const std::string body = hit + std::string(230 - hit.size() % 230, 'x');
    for (auto _ : state) {
        http_connector_t connector(bench::environment().server.url("/hang").c_str());
        connector.send(body.substr(0, 230));
        const auto start = clock_type::now();
        const struct mallinfo2 before = mallinfo2();
        for (int pushed = 0; pushed < count; ++pushed)
            connector.send(body.substr(0, 230));
        const struct mallinfo2 after = mallinfo2();
        state.SetIterationTime(seconds_since(start));
        state.counters["bytes"] = static_cast<double>(after.uordblks + after.hblkhd) / count -
                                  static_cast<double>(before.uordblks + before.hblkhd) / count;
    }
}

} // namespace

BENCHMARK(delivery)->UseManualTime()->Iterations(101);
BENCHMARK(chain)->UseManualTime()->Iterations(101);
BENCHMARK(queued_hit)->UseManualTime()->Iterations(1);
