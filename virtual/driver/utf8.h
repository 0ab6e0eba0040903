// SPDX-License-Identifier: MIT
// Whether a text can be printed as JSON as it is.
#ifndef PELSANE_VIRTUAL_UTF8_H
#define PELSANE_VIRTUAL_UTF8_H

#include <string_view>

namespace virtual_scanner {

// By RFC 3629: no sequence that is cut, longer than need be, of a surrogate or beyond U+10FFFF.
bool is_utf8(std::string_view text);

} // namespace virtual_scanner

#endif
