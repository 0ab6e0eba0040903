// SPDX-License-Identifier: MIT
// A buffer that is lent to get_option_json for many fetches in a row; it starts empty and grows as the driver asks.
#ifndef PELSANE_FETCH_BUFFER_H
#define PELSANE_FETCH_BUFFER_H

#include "local_utility.h"

struct fetch_buffer {
    char *text = nullptr;
    long size = 0;

    fetch_buffer() = default;
    fetch_buffer(const fetch_buffer &) = delete;
    fetch_buffer &operator=(const fetch_buffer &) = delete;
    ~fetch_buffer() { local_utility::free_memory(text); }
};

#endif
