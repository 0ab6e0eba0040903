// SPDX-License-Identifier: MIT
// Option texts for the measurements: the mix of types, constraints and conditions that the virtual scanner's options
// have, in any number.
#ifndef PELSANE_BENCH_OPTION_TEXTS_H
#define PELSANE_BENCH_OPTION_TEXTS_H

#include <string>
#include <vector>

// `"name" : {...}` each. Nearly half of the options depend on others, on one for each four options of the list.
std::vector<std::string> mixed_options(int count);

// A bool, number 1, and `dependents` options that are active while it is true.
std::vector<std::string> master_with_dependents(int dependents);

#endif
