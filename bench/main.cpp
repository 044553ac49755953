// Runs the benchmarks, then prints tables in Markdown: each figure, its goal, and whether the goal is met.
#include "parts.h"

#include "platform/os_name.h"
#include "settor2/product_locations_c.h"
#include "statistic_impl_ga/hit.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>

#include <sys/resource.h>

namespace bench {

namespace {

const environment_t* current = nullptr;

} // namespace

const environment_t& environment() {
    return *current;
}

handle_t make_handle(int names, bool collecting) {
    environment().workspace.set_filter(names);
    collect(collecting);
    return {ostrel_create_statistic(product, version), &ostrel_destroy_statistic};
}

std::string routed_hit() {
    using namespace OSTREL_NAMESPACE;
    const std::wstring os = ostrel_platform::os_product_name().value_or(L"Undefined Windows Version");
    const std::string prefix = compose_hit_prefix(
        {"UA-40271936-07", L"3F2A0C91-7B44-E012-9C5D-0A1B2C3D4E5F", L"vemtra", L"7.1.312", os});
    return compose_event_hit(prefix, {L"editor.file.openfile", {}}, false);
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double thread_seconds() {
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

namespace {

/// Prints each finished benchmark and stores its figures for the tables.
class keeper_t : public benchmark::ConsoleReporter {
public:
    keeper_t() : ConsoleReporter(OO_None) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            auto& figures = m_figures[run.run_name.function_name +
                                      (run.run_name.args.empty() ? "" : "/" + run.run_name.args)];
            figures["ns"] = run.GetAdjustedCPUTime();
            figures["real"] = run.GetAdjustedRealTime();
            for (const auto& [name, counter] : run.counters)
                figures[name] = counter.value;
        }
    }

    /// @return null if the benchmark did not run
    const double* find(const std::string& name, const std::string& figure) const {
        const auto run = m_figures.find(name);
        if (run == m_figures.end() || run->second.count(figure) == 0)
            return nullptr;
        return &run->second.at(figure);
    }

private:
    std::map<std::string, std::map<std::string, double>> m_figures;
};

struct row_t {
    const char* what;
    const char* run;
    const char* figure;
    const char* unit;
    double goal;
    bool is_floor = false;
};

constexpr row_t rows[] = {
    {"allocations, routed", "notify/routed/100", "allocations", "", 1.1},
    {"allocations, not in the filter", "notify/missed/100", "allocations", "", 1},
    {"allocations, collection off", "notify/off/100", "allocations", "", 1},
    {"two concurrent threads, processor time per call against one thread", "threads/2", "ratio", "", 2},
    {"delivery, rate against a bare loop", "delivery", "ratio", "", 0.95, true},
    {"whole chain, rate against a bare loop", "chain", "ratio", "", 0.92, true},
    {"delivery, processor time per hit against a bare loop", "delivery", "work", "", 1.10},
    {"whole chain, processor time per hit against a bare loop", "chain", "work", "", 1.10},
    {"loading, processor time against an empty library", "load", "ratio", "", 1.05},
    {"create, processor time against curl_global_init and a thread start", "create", "ratio", "", 0.4},
    {"destroy, idle", "destroy", "ms", " ms", 1},
    {"memory for each queued hit of 230 bytes", "queued_hit", "bytes", " bytes", 300},
};

void print_row(const row_t& row, double value) {
    const bool is_met = row.is_floor ? value >= row.goal : value <= row.goal;
    std::printf("| %s | %s %g%s | %.3g%s | %s |\n", row.what, row.is_floor ? "≥" : "≤", row.goal, row.unit,
                value, row.unit, is_met ? "met" : "missed");
}

void print_goals(const keeper_t& runs) {
    std::printf("\n| what | goal | measured | |\n|---|---|---|---|\n");
    for (const row_t& row : rows)
        if (const double* const value = runs.find(row.run, row.figure))
            print_row(row, *value);
    const double* const ours = runs.find("resident", "ours");
    const double* const base = runs.find("resident", "base");
    if (ours != nullptr && base != nullptr)
        print_row({"loading, memory above an empty library", "", "", " MB", 0.3}, (*ours - *base) / 1024);
}

void print_ratios(const keeper_t& runs) {
    constexpr const char* pairs[][3] = {
        {"routed", "notify/routed/100", "notify_parts/routed/100"},
        {"routed, logger off", "notify_silenced/routed/100", "notify_parts/routed/100"},
        {"routed, name needs escaping", "notify/escaped/100", "notify_parts/escaped/100"},
        {"routed, name needs escaping, logger off", "notify_silenced/escaped/100",
         "notify_parts/escaped/100"},
        {"not in the filter", "notify/missed/100", "notify_parts/missed/100"},
        {"not in the filter, logger off", "notify_silenced/missed/100", "notify_parts/missed/100"},
        {"collection off", "notify/off/100", "off_parts"},
        {"collection off, logger off", "notify_silenced/off/100", "off_parts"},
    };
    std::printf("\n| notification | ns | its parts in plain code | ratio |\n|---|---|---|---|\n");
    for (const auto& [what, run, parts] : pairs)
        if (const double* const ours = runs.find(run, "ns"))
            if (const double* const base = runs.find(parts, "ns"))
                std::printf("| %s | %.0f | %.0f | %.2f |\n", what, *ours, *base, *ours / *base);
}

} // namespace

} // namespace bench

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    // Raises the priority if the system allows it. Child processes inherit the priority, so it is the same on
    // both sides of a comparison.
    static_cast<void>(::setpriority(PRIO_PROCESS, 0, -19));
    const bench::workspace_t workspace;
    const bench::server_t server(bench::delivery_cpu);
    const bench::environment_t environment{workspace, server};
    bench::current = &environment;
    const std::string folder = workspace.folder();
    settor2_product_locations_t locations{};
    locations.folder = folder.c_str();
    settor2_install_product_locations(&locations);
    bench::keeper_t runs;
    benchmark::RunSpecifiedBenchmarks(&runs);
    bench::print_goals(runs);
    bench::print_ratios(runs);
    return 0;
}
