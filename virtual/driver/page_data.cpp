// SPDX-License-Identifier: MIT
// Delivery of a page's bytes: one copy, or one for each repetition that is touched. Tested by driver_speed_test.
#include "page_data.h"

#include <algorithm>
#include <cstring>

namespace virtual_scanner {

void page_data::copy(std::size_t first, std::size_t count, void *out) const
{
    auto *to = static_cast<unsigned char *>(out);
    while (count > 0) {
        const std::size_t start = first % block_.size();
        const std::size_t amount = std::min(count, block_.size() - start);
        std::memcpy(to, &block_[start], amount);
        first += amount;
        to += amount;
        count -= amount;
    }
}

} // namespace virtual_scanner
