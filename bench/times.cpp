// SPDX-License-Identifier: MIT
// Times of the cases, by Google Benchmark.
#include "cases.h"
#include "sane_pelsane.h"

#include <benchmark/benchmark.h>
#include <deque>

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
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    sane_pelsane_exit();
}
