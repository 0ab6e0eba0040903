// SPDX-License-Identifier: MIT
// An application may unload the driver without ending it first. The library is loaded afresh by each test.
#include "driver_fixture.h"
#include "frontend.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <dlfcn.h>
#include <filesystem>

namespace driver_test {

TEST(driver_unload, ends_the_thread_and_removes_the_socket)
{
    const temporary_folder folder;
    const environment_variable control("PELVIRTUAL_CONTROL", folder.file("control").c_str());
    std::filesystem::create_directory(folder.file("profiles"));
    write_file(folder.file("profiles/p.json"), small_profile("test:a"));
    const environment_variable profiles("PELVIRTUAL_PROFILES", folder.file("profiles").c_str());
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
    for (int cycle = 0; cycle < 5; ++cycle) {
        void *library = dlopen(DRIVER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, library) << dlerror();
        const auto initialize =
            reinterpret_cast<decltype(&kx_scanner_initialize)>(dlsym(library, "kx_scanner_initialize"));
        frontend heard;
        EXPECT_EQ(0, initialize(frontend::callback, &heard));
        EXPECT_EQ("ok: test:a", commander(folder.file("control")).command("devices"));
        EXPECT_EQ(0, dlclose(library));
        EXPECT_EQ(nullptr, dlopen(DRIVER_LIBRARY, RTLD_NOW | RTLD_NOLOAD)) << "it stays loaded";
        EXPECT_FALSE(std::filesystem::exists(folder.file("control")));
        if (cycle == 0) { // the first load may bring a sanitizer's thread and other libraries' files along
            threads = entries_of("/proc/self/task");
            descriptors = entries_of("/proc/self/fd");
        }
        EXPECT_EQ(threads, entries_of("/proc/self/task"));
        EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
    }
}

} // namespace driver_test
