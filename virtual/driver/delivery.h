// SPDX-License-Identifier: MIT
// Values on their way into an application's buffer.
#ifndef PELSANE_VIRTUAL_DELIVERY_H
#define PELSANE_VIRTUAL_DELIVERY_H

#include <string>

namespace virtual_scanner {

// Copies the bytes and stores their number in *length, which holds the room in data. 258 when they do not fit or data
// is null; *length is what they need then.
int deliver(const std::string &bytes, void *data, long *length);

// The same for a text without its terminator, which comes along where there is room for it and is not counted.
int deliver_text(const std::string &text, void *data, long *length);

} // namespace virtual_scanner

#endif
