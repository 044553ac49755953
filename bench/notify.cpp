// Measures what a notification costs the caller, and compares it with its necessary parts.
#include "allocations.h"
#include "parts.h"

#include "http_connector/percent_encode.h"
#include "platform/clock.h"
#include "statistic_impl/event_filter.h"
#include "statistic_impl_ga/log.h"
#include "toolkit/quillkit/strings.h"

#include <benchmark/benchmark.h>
#include <boost/thread/sync_queue.hpp>

#include <set>
#include <thread>

namespace {

using namespace OSTREL_NAMESPACE;

/// Measures the average of all calls. It includes the higher cost of the first hits after a start.
void report(benchmark::State& state, statistic_handle_t* handle, const char* name) {
    ostrel_notify_feature_usage(handle, name);
    const std::size_t before = bench::allocations();
    for (auto _ : state)
        ostrel_notify_feature_usage(handle, name);
    state.counters["allocations"] =
        static_cast<double>(bench::allocations() - before) /
        static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1));
}

void notify(benchmark::State& state, const char* name, bool collecting) {
    const auto handle = bench::make_handle(static_cast<int>(state.range(0)), collecting);
    report(state, handle.get(), name);
}

void notify_silenced(benchmark::State& state, const char* name, bool collecting) {
    bench::silence(true);
    notify(state, name, collecting);
    bench::silence(false);
}

/// The necessary parts of a notification in plain code. Uses standard strings and a standard set instead of
/// string views and the hash table of the library.
void notify_parts(benchmark::State& state, const char* name) {
    bench::environment().workspace.set_filter(static_cast<int>(state.range(0)));
    const event_filter_t filter = load_enabled_events(event_filter_path());
    const auto names = filter.names();
    const std::set<std::wstring> enabled(names.begin(), names.end());
    const std::string prefix = bench::routed_hit().substr(0, 150);
    boost::sync_queue<std::string> queue;
    for (auto _ : state) {
        const std::wstring wide = quillkit::strings::utf8_to_utf16(name);
        if (enabled.find(wide) == enabled.end())
            continue;
        std::string hit = prefix + "&t=event&ec=";
        append_percent_encoded(hit, wide);
        queue.push(hit + "&cd3=n");
        benchmark::DoNotOptimize(queue.pull());
    }
}

void off_parts(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(analytics_log.is_enabled_for(log_level_t::info));
        benchmark::DoNotOptimize(ostrel_platform::utc_day_number());
    }
}

double seconds_a_call(statistic_handle_t* handle, int calls) {
    const double start = bench::thread_seconds();
    for (int call = 0; call < calls; ++call)
        ostrel_notify_feature_usage(handle, bench::routed_name);
    return (bench::thread_seconds() - start) / calls;
}

/// Measures the processor time of a call in each thread. A round measures one thread alone, then
/// state.range(0) threads on the same object.
void threads(benchmark::State& state) {
    constexpr int calls = 50'000;
    std::vector<double> ratios;
    double total = 0;
    for (auto _ : state) {
        const auto handle = bench::make_handle(100);
        const double alone = seconds_a_call(handle.get(), calls);
        std::vector<double> times(static_cast<std::size_t>(state.range(0)));
        std::vector<std::thread> callers;
        for (double& time : times)
            callers.emplace_back([&] { time = seconds_a_call(handle.get(), calls); });
        for (std::thread& caller : callers)
            caller.join();
        const double together = bench::median(times);
        ratios.push_back(together / alone);
        total += together;
        state.SetIterationTime(together);
    }
    state.counters["ratio"] = bench::median(ratios);
    state.counters["ns"] = total / static_cast<double>(ratios.size()) * 1e9;
}

/// Measures the processor time of the calling thread for each of state.range(0) calls in a row.
void hits(benchmark::State& state) {
    for (auto _ : state) {
        const auto handle = bench::make_handle(100);
        state.SetIterationTime(seconds_a_call(handle.get(), static_cast<int>(state.range(0))));
    }
}

} // namespace

BENCHMARK_CAPTURE(notify, routed, bench::routed_name, true)
    ->Arg(100)
    ->Arg(1)
    ->Arg(10)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000);
BENCHMARK_CAPTURE(notify_parts, routed, bench::routed_name)->Arg(100);
BENCHMARK_CAPTURE(notify, escaped, bench::escaped_name, true)->Arg(100);
BENCHMARK_CAPTURE(notify_parts, escaped, bench::escaped_name)->Arg(100);
BENCHMARK_CAPTURE(notify, missed, bench::missed_name, true)
    ->Arg(100)
    ->Arg(1)
    ->Arg(10)
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000);
BENCHMARK_CAPTURE(notify_parts, missed, bench::missed_name)->Arg(100);
BENCHMARK_CAPTURE(notify, off, bench::routed_name, false)->Arg(100);
BENCHMARK_CAPTURE(notify_silenced, routed, bench::routed_name, true)->Arg(100);
BENCHMARK_CAPTURE(notify_silenced, escaped, bench::escaped_name, true)->Arg(100);
BENCHMARK_CAPTURE(notify_silenced, missed, bench::missed_name, true)->Arg(100);
BENCHMARK_CAPTURE(notify_silenced, off, bench::routed_name, false)->Arg(100);
BENCHMARK(off_parts);
BENCHMARK(threads)->Arg(2)->Arg(1)->Arg(4)->Arg(8)->UseManualTime()->Iterations(11);
BENCHMARK(hits)->RangeMultiplier(10)->Range(1'000, 1'000'000)->UseManualTime()->Iterations(5);
