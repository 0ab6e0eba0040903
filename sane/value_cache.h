// SPDX-License-Identifier: MIT
#ifndef PELSANE_VALUE_CACHE_H
#define PELSANE_VALUE_CACHE_H

#include "depend_expression.h"

#include <string>
#include <vector>

// The first entry of a name, null when there is none; valid until the cache grows.
_cur_val *find_cached_value(std::vector<_cur_val> &cur_vals, const std::string &name);

#endif
