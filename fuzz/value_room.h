// SPDX-License-Identifier: MIT
// How many bytes of an application's buffer a call may touch, and not one more. In the ordinary case that is the size
// in the descriptor. A driver that breaks its contract changes this in two ways, and an application that knows its
// driver gives room for both: a text that is longer than the size is delivered whole, with its NUL, and a word is a
// word also where the size is less.
#ifndef PELSANE_FUZZ_VALUE_ROOM_H
#define PELSANE_FUZZ_VALUE_ROOM_H

#include <sane/sane.h>

#include <string>

// `told` is the size in the descriptor, as the application noted it, or not_told without a descriptor; `text` what the
// driver says of the option at present, empty when it has none.
constexpr long not_told = -1;
long room_for_value(long told, const std::string &text);
long room_for_default(long told, const std::string &text);

// `told` is null when there is no descriptor. The same for an automatic set, beside the room for the default.
long room_for_set(const SANE_Option_Descriptor *told);

// Of an information item that is read or written under its number or, the driver's log alone, under its name; 0 when
// the key is of none.
long room_for_item(const void *key);

#endif
