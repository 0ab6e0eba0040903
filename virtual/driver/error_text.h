// SPDX-License-Identifier: MIT
// Result codes in words.
#ifndef PELSANE_VIRTUAL_ERROR_TEXT_H
#define PELSANE_VIRTUAL_ERROR_TEXT_H

namespace virtual_scanner {

// An English sentence, never null; a code without a meaning is named by its number. Valid until the library is
// unloaded.
const char *error_text(int code);

} // namespace virtual_scanner

#endif
