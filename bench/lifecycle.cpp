// Measures the cost of loading the library, and of creating and destroying an object.
#include "parts.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdio>

namespace {

/// Starts a new process and returns the figure that it prints.
double fresh(const std::string& what, const std::string& library) {
    const std::string command = std::string(FRESH_PROCESS) + " " + what + " " + library;
    std::FILE* const output = ::popen(command.c_str(), "r");
    double figure = 0;
    if (output == nullptr || std::fscanf(output, "%lf", &figure) != 1)
        std::abort();
    ::pclose(output);
    return figure;
}

struct measured_t {
    std::string what;
    std::string library;
};

/// Measures pairs, each measurement in a new process. @p other runs first in every second pair.
void paired(benchmark::State& state, const measured_t& ours, const measured_t& other) {
    std::array<std::vector<double>, 3> figures;
    bool first = true;
    for (auto _ : state) {
        double base = first ? fresh(other.what, other.library) : 0;
        const double figure = fresh(ours.what, ours.library);
        if (!first)
            base = fresh(other.what, other.library);
        first = !first;
        figures[0].push_back(figure);
        figures[1].push_back(base);
        figures[2].push_back(figure / base);
        state.SetIterationTime(figure / 1e6);
    }
    state.counters["ours"] = bench::median(figures[0]);
    state.counters["base"] = bench::median(figures[1]);
    state.counters["ratio"] = bench::median(figures[2]);
}

void load(benchmark::State& state) {
    paired(state, {"load", OSTREL_LIBRARY}, {"load", EMPTY_LIBRARY});
}

void resident(benchmark::State& state) {
    paired(state, {"resident", OSTREL_LIBRARY}, {"resident", EMPTY_LIBRARY});
}

void create(benchmark::State& state) {
    // Creates the folders and the days of use, which exist at every start except the first.
    ostrel_notify_feature_usage(bench::make_handle(100).get(), bench::routed_name);
    paired(state, {"create", OSTREL_LIBRARY}, {"init", OSTREL_LIBRARY});
}

void destroy(benchmark::State& state) {
    std::vector<double> times;
    for (auto _ : state) {
        auto handle = bench::make_handle(100);
        const auto start = std::chrono::steady_clock::now();
        handle.reset();
        times.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        state.SetIterationTime(times.back());
    }
    state.counters["ms"] = bench::median(times) * 1e3;
}

} // namespace

BENCHMARK(load)->UseManualTime()->Iterations(61);
BENCHMARK(resident)->UseManualTime()->Iterations(11);
BENCHMARK(create)->UseManualTime()->Iterations(61);
BENCHMARK(destroy)->UseManualTime()->Iterations(101);
