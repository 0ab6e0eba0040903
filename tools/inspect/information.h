// SPDX-License-Identifier: MIT
// What the driver says of a scanner besides its options.
#ifndef PELSANE_INSPECT_INFORMATION_H
#define PELSANE_INSPECT_INFORMATION_H

#include "option_ids.h"
#include "output.h"
#include "scanner.h"

#include <vector>

namespace inspect {

constexpr int table_length = 1312; // of the gamma table, which is read as hexadecimal digits

struct answered_item {
    const information_item *item;
    json_value value; // a number or a text
};

// The items that the driver answers, of all that the backend knows. Throws failure when the scanner has gone.
[[nodiscard]] std::vector<answered_item> read_information(const scanner &device);

} // namespace inspect

#endif
