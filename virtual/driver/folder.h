// SPDX-License-Identifier: MIT
// What a folder has in it.
#ifndef PELSANE_VIRTUAL_FOLDER_H
#define PELSANE_VIRTUAL_FOLDER_H

#include <string>
#include <vector>

namespace virtual_scanner {

// The names in the order in which the system tells them, without "." and "..". Throws std::system_error when the folder
// cannot be read, std::bad_alloc.
std::vector<std::string> names_in(const std::string &folder);

} // namespace virtual_scanner

#endif
