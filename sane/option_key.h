// SPDX-License-Identifier: MIT
// The pointer-sized value that selects an option: the address of a name, or below 0x10000 a number.
#ifndef PELSANE_OPTION_KEY_H
#define PELSANE_OPTION_KEY_H

#include "option_ids.h"

#include <cstdint>

namespace option_key {

constexpr std::intptr_t first_name_address = 0x10000;
constexpr std::intptr_t end_of_numbers = SANE_OPTION_ID_BASE; // of options; identifiers follow

inline std::intptr_t value_of(const void *option)
{
    return reinterpret_cast<std::intptr_t>(option);
}

inline const void *from_number(std::intptr_t number)
{
    return reinterpret_cast<const void *>(number);
}

// Names nothing and must never be dereferenced.
inline bool is_negative(const void *option)
{
    return value_of(option) < 0;
}

inline bool is_name(const void *option)
{
    return value_of(option) >= first_name_address;
}

inline const char *name_of(const void *option)
{
    return static_cast<const char *>(option);
}

// The number of a key that is none of the above; of any key, what the log shows.
inline int number_of(const void *option)
{
    return static_cast<int>(value_of(option));
}

// A plain SANE index as a key; it cannot hold an address, so one that would read as an address names nothing.
inline const void *from_index(int index)
{
    return from_number(index < first_name_address ? index : -1);
}

} // namespace option_key

#endif
