// SPDX-License-Identifier: MIT
// Files of the libraries that are loaded in this process.
#ifndef PELSANE_LANGKIT_MODULES_H
#define PELSANE_LANGKIT_MODULES_H

#include <string>
#include <string_view>

namespace langkit {

// Absolute path of the first loaded library whose file name contains `name`; empty when there is none or name is empty.
// The main program does not count.
[[nodiscard]] std::string find_module(std::string_view name);

} // namespace langkit

#endif
