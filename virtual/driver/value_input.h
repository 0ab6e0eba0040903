// SPDX-License-Identifier: MIT
// The value that an application sets, in the binary form of its option's type.
#ifndef PELSANE_VIRTUAL_VALUE_INPUT_H
#define PELSANE_VIRTUAL_VALUE_INPUT_H

#include "option.h"

namespace virtual_scanner {

struct value_input {
    enum { exact, adjusted, reworded, refused } outcome;
    option_value value; // the allowed value to take over, unless refused
};

// Reads a value of the option's type: bool 1 byte, int 4 bytes, float a double, text up to its NUL or *length bytes;
// without a length as much as the type takes.
// A number that is not allowed becomes the nearest allowed one (of two equally near the smaller) and counts as
// adjusted; a word of the default language that is shown as another one counts as reworded; a text that is not allowed,
// in the current language or the default one, is refused, and so are a text that is no UTF-8, NaN, and a length shorter
// than the type takes. Throws std::bad_alloc.
value_input read_value(const option_definition &option, const void *data, const long *length);

// Writes an adjusted number back over the one that was read. Texts are never written back.
void write_back(const option_value &value, void *data);

} // namespace virtual_scanner

#endif
