// SPDX-License-Identifier: MIT
// Option keys: what a pointer-sized key selects on a device.
#ifndef PELSANE_VIRTUAL_OPTION_KEY_H
#define PELSANE_VIRTUAL_OPTION_KEY_H

#include "option_ids.h"
#include "option_store.h"

namespace virtual_scanner {

struct option_key {
    bool is_number = false; // else a name
    bool is_count = false;  // option 0
    bool is_option = false; // `number` is an option's
    int number = 0;         // the option's number; of a numeric key without an option the key itself
    const information_item *item = nullptr;
};

// Whether a key names the text that belongs to the driver as a whole ("drv-log"). It is answered whatever the handle:
// applications' sides may hand on a handle in their own form with it.
bool names_driver_log(const void *key);

// A key below 0x10000 is an option's number, from 0x8801 on a well-known identifier or an information item; any other
// is the address of a name. An option goes before an information item of the same name or number.
option_key resolve(const void *key, const option_store &options);

} // namespace virtual_scanner

#endif
