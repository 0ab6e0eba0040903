// SPDX-License-Identifier: MIT
// The information items of one opened device: facts and small stores under names, without an option's description.
#ifndef PELSANE_VIRTUAL_INFORMATION_H
#define PELSANE_VIRTUAL_INFORMATION_H

#include "option_ids.h"
#include "profile.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace virtual_scanner {

// Whether the item is a number: one of 1, 4 or 8 bytes.
bool is_number(const information_item &item);

const information_item *find_information_item(int id);
const information_item *find_information_item(std::string_view name);

class information {
public:
    explicit information(const profile &description);

    // The item's value as bytes: a text with its NUL; else exactly the item's length, numbers in the machine's order.
    // Empty when this device does not have the item.
    [[nodiscard]] std::string value(const information_item &item) const;

    // Takes a value over: 0, 259 for an item that is only read, 256 for one that the device does not have, for missing
    // data, a text too long for the item or another length than a number's or a block's.
    [[nodiscard]] int set(const information_item &item, const void *data, const long *length);

private:
    struct stored {
        std::string bytes;
        bool writable;
    };

    std::map<std::string, stored, std::less<>> items_;
};

} // namespace virtual_scanner

#endif
