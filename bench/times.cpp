// SPDX-License-Identifier: MIT
// Times of the cases, by Google Benchmark. Where a few nanoseconds are to be told apart on a busy machine, the two that
// are compared also take turns of some microseconds; the least time that either took is in "name/in-turn".
#include "cases.h"
#include "sane_pelsane.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstddef>
#include <limits>
#include <ratio>
#include <string>

namespace {

bool is_small_read_in_driver(const std::string &name)
{
    return name.rfind("read-512/", 0) == 0 && name.find("/driver") != std::string::npos;
}

double nanoseconds_of(const bench_case &one)
{
    constexpr int works_in_turn = 1000;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < works_in_turn; ++i)
        one.work();
    const std::chrono::duration<double, std::nano> all = std::chrono::steady_clock::now() - start;
    return all.count() / works_in_turn;
}

void take_turns(benchmark::State &state, const bench_case &backend, const bench_case &driver)
{
    driver.prepare(); // as the other does
    double backend_least = std::numeric_limits<double>::max();
    double driver_least = backend_least;
    for (auto _ : state) {
        backend_least = std::min(backend_least, nanoseconds_of(backend));
        driver_least = std::min(driver_least, nanoseconds_of(driver));
    }
    state.counters["backend"] = backend_least;
    state.counters["driver"] = driver_least;
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
