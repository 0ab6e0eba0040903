// SPDX-License-Identifier: MIT
// Option texts as a driver with mistakes would deliver them.
#ifndef PELSANE_VIRTUAL_GARBLED_TEXT_H
#define PELSANE_VIRTUAL_GARBLED_TEXT_H

#include "command.h"

#include <string>

namespace virtual_scanner {

// As deliver_text, with the fault. Nothing is written beyond the room in data, whatever *length becomes.
int deliver_garbled(text_fault_kind fault, const std::string &text, void *data, long *length);

} // namespace virtual_scanner

#endif
