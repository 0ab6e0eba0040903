// SPDX-License-Identifier: MIT
// With the C library's functions: the C++ library's iterator takes memory where it may not throw, and a want of it
// would end the process. Tested by driver_feed_test, driver_devices_test and driver_memory_test.
#include "folder.h"

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace virtual_scanner {

namespace {

struct folder_closer {
    void operator()(DIR *folder) const { closedir(folder); }
};

[[noreturn]] void fail()
{
    if (errno == ENOMEM)
        throw std::bad_alloc();
    throw std::system_error(errno, std::generic_category());
}

} // namespace

std::vector<std::string> names_in(const std::string &folder)
{
    const std::unique_ptr<DIR, folder_closer> opened(opendir(folder.c_str()));
    if (opened == nullptr)
        fail();
    std::vector<std::string> names;
    errno = 0;
    while (const dirent *entry = readdir(opened.get())) { // NOLINT(concurrency-mt-unsafe): the stream is our own
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            names.emplace_back(name);
        errno = 0;
    }
    if (errno != 0)
        fail();
    return names;
}

} // namespace virtual_scanner
