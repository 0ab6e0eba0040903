// SPDX-License-Identifier: MIT
// The pauses that the backend makes, recorded instead of made.
#ifndef PELSANE_TESTS_PAUSES_H
#define PELSANE_TESTS_PAUSES_H

#include <vector>

namespace pauses {

// Milliseconds of every nanosleep since the last call of forget, in order.
std::vector<long> made_ms();
void forget();

} // namespace pauses

#endif
