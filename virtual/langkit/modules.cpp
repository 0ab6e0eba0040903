// SPDX-License-Identifier: MIT
// From a part of a file name to the path of a loaded library. The loader is asked under its own lock, from C, so what
// is found there is only copied, into memory that is there already. Covered by tests/virtual/langkit_test.cpp.
#include "modules.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <filesystem>
#include <link.h>
#include <string>
#include <string_view>

namespace langkit {
namespace {

struct search {
    std::string_view name;
    std::array<char, PATH_MAX> path;
};

int look_at_module(dl_phdr_info *module, std::size_t, void *parameter)
{
    auto &wanted = *static_cast<search *>(parameter);
    const std::string_view path = module->dlpi_name ? module->dlpi_name : "";
    const std::size_t slash = path.rfind('/');
    // No path at all: the main program, or what the kernel maps into every process.
    if (slash == std::string_view::npos || path.size() >= wanted.path.size())
        return 0;
    if (path.find(wanted.name, slash + 1) == std::string_view::npos)
        return 0;
    *std::copy(path.begin(), path.end(), wanted.path.begin()) = '\0';
    return 1;
}

} // namespace

std::string find_module(std::string_view name)
{
    if (name.empty())
        return {};
    search wanted = {name, {}};
    if (!dl_iterate_phdr(look_at_module, &wanted))
        return {};
    // A library that was loaded under a relative path is known to the loader by that path.
    return std::filesystem::absolute(wanted.path.data()).string();
}

} // namespace langkit
