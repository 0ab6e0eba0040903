// SPDX-License-Identifier: MIT
// What is measured: pieces of work through the backend, and the same done without it.
#ifndef PELSANE_BENCH_CASES_H
#define PELSANE_BENCH_CASES_H

#include <functional>
#include <string>
#include <vector>

struct bench_case {
    std::string name; // "work/size/who", who being "backend" or what it is compared with
    int rounds;       // how often the work is done where it is counted rather than timed
    std::function<void()> prepare;
    std::function<void()> work;
    std::function<void()> finish = [] {};
};

// The backend has to be initialised. Cases run one at a time, each between its prepare and its finish.
std::vector<bench_case> bench_cases();

#endif
