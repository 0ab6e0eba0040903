// SPDX-License-Identifier: MIT
// Times of the cases, by Google Benchmark. Where a few nanoseconds are to be told apart on a busy machine, the two that
// are compared also take turns of some microseconds; the middle ratio of these is in "name/in-turn".
#include "cases.h"
#include "sane_pelsane.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>

namespace {

bool is_small_read_in_driver(const std::string &name)
{
    return name.rfind("read-512/", 0) == 0 && name.find("/driver") != std::string::npos;
}

double seconds_of(const bench_case &one)
{
    constexpr int works_in_turn = 1000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < works_in_turn; ++i)
        one.work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void take_turns(benchmark::State &state, const bench_case &backend, const bench_case &driver)
{
    driver.prepare(); // as the other does
    std::vector<double> ratios;
    for (auto _ : state)
        ratios.push_back(seconds_of(backend) / seconds_of(driver));
    const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
    std::nth_element(ratios.begin(), middle, ratios.end());
    state.counters["ratio"] = *middle;
    driver.finish();
}

} // namespace

int main(int count, char **arguments)
{
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 2;
    sane_pelsane_init(nullptr, nullptr);
    const auto cases = bench_cases();
    for (const bench_case &one : cases)
        benchmark::RegisterBenchmark(one.name.c_str(), [&one](benchmark::State &state) {
            one.prepare();
            one.work(); // what is made once is no part of it, nor of how often the work is repeated
            for (auto _ : state)
                one.work();
            one.finish();
        });
    for (std::size_t i = 1; i < cases.size(); ++i)
        if (is_small_read_in_driver(cases[i].name)) // the backend's stands before it
            benchmark::RegisterBenchmark((cases[i].name + "/in-turn").c_str(), [&, i](benchmark::State &state) {
                take_turns(state, cases[i - 1], cases[i]);
            });
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    sane_pelsane_exit();
}
