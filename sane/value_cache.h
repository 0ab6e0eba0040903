// SPDX-License-Identifier: MIT
#ifndef PELSANE_VALUE_CACHE_H
#define PELSANE_VALUE_CACHE_H

#include "depend_expression.h"
#include "opened_devices.h"

#include <string_view>

// The first entry of a name, null when there is none; valid until the cache grows.
inline _cur_val *find_cached_value(_dev_inst &dev, std::string_view name)
{
    return dev.cur_vals_by_name_.find(dev.cur_vals_, name);
}

#endif
