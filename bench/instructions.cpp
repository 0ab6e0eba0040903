// SPDX-License-Identifier: MIT
// The instructions of each case, to be run under callgrind: they repeat on a busy machine too. Each case makes a dump
// of its own, named by the case; how often its work is in it goes to the standard output as a line of `name rounds`.
#include "cases.h"
#include "sane_pelsane.h"

#include <cstdio>
#include <valgrind/callgrind.h>

int main()
{
    if (RUNNING_ON_VALGRIND == 0) {
        std::fputs("to be run under callgrind\n", stderr);
        return 2;
    }
    sane_pelsane_init(nullptr, nullptr);
    const auto cases = bench_cases(); // callgrind reads a dump's name when it writes the dump, which may be later
    for (const bench_case &one : cases) {
        one.prepare();
        one.work(); // symbols are looked up once, buffers that stay are made
        CALLGRIND_START_INSTRUMENTATION;
        CALLGRIND_ZERO_STATS;
        for (int i = 0; i < one.rounds; ++i)
            one.work();
        CALLGRIND_DUMP_STATS_AT(one.name.c_str());
        CALLGRIND_STOP_INSTRUMENTATION;
        one.finish();
        std::printf("%s %d\n", one.name.c_str(), one.rounds);
    }
    sane_pelsane_exit();
}
