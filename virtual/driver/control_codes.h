// SPDX-License-Identifier: MIT
// Control codes of this scanner's own.
#ifndef PELSANE_VIRTUAL_CONTROL_CODES_H
#define PELSANE_VIRTUAL_CONTROL_CODES_H

namespace virtual_scanner {

// Sets all options but the language to their defaults and answers 262. Takes no data.
inline constexpr unsigned long control_restore_defaults = 0x20000001UL;

} // namespace virtual_scanner

#endif
