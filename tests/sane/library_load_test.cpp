// SPDX-License-Identifier: MIT
// What loading and unloading the library does, seen by a process that does not link it.
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <csignal>
#include <dlfcn.h>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;

class library_load : public testing::Test {
protected:
    void *library_ = nullptr;

    void load()
    {
        library_ = dlopen(PELSANE_LIBRARY, RTLD_LAZY);
        ASSERT_NE(nullptr, library_) << dlerror();
    }

    void unload() { ASSERT_EQ(0, dlclose(library_)); }

    static bool is_loaded() { return dlopen(PELSANE_LIBRARY, RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

    template <typename Function> Function *entry_point(const char *name) const
    {
        return reinterpret_cast<Function *>(dlsym(library_, name));
    }

    void SetUp() override { scripted::reset(); }
};

void ignore_signal(int) {}

} // namespace

TEST_F(library_load, opens_the_log_and_touches_nothing_else)
{
    load();
    EXPECT_EQ(texts({"EnableLog(0,Vantoscan,driver)"}), scripted::record());
    unload();
}

TEST_F(library_load, unload_closes_the_log)
{
    load();
    scripted::forget_record();
    unload();
    EXPECT_EQ(texts({"DisableLog(log)"}), scripted::record());
}

TEST_F(library_load, knows_no_folder_before_the_first_call)
{
    load();
    const auto folder = entry_point<std::string()>("_ZN18kx_sane_middleware9sane_pathB5cxx11Ev");
    ASSERT_NE(nullptr, folder);
    EXPECT_EQ("", folder());
    entry_point<decltype(sane_pelsane_init)>("sane_pelsane_init")(nullptr, nullptr);
    EXPECT_EQ("/opt/scan/sane/", folder());
    entry_point<decltype(sane_pelsane_exit)>("sane_pelsane_exit")();
    EXPECT_EQ("/opt/scan/sane/", folder());
    unload();
}

TEST_F(library_load, leaves_the_process_after_use)
{
    load();
    const SANE_Device **list = nullptr;
    SANE_Handle handle = nullptr;
    entry_point<decltype(sane_pelsane_init)>("sane_pelsane_init")(nullptr, nullptr);
    entry_point<decltype(sane_pelsane_get_devices)>("sane_pelsane_get_devices")(&list, SANE_FALSE);
    entry_point<decltype(sane_pelsane_open)>("sane_pelsane_open")("virtual:1", &handle);
    entry_point<decltype(sane_pelsane_exit)>("sane_pelsane_exit")();
    scripted::forget_record();
    unload();
    EXPECT_EQ(texts({"DisableLog(log)"}), scripted::record());
    EXPECT_FALSE(is_loaded());
}

TEST_F(library_load, signal_after_unload_reaches_the_hosts_handler)
{
    const auto before = std::signal(SIGUSR1, ignore_signal);
    load();
    entry_point<decltype(sane_pelsane_init)>("sane_pelsane_init")(nullptr, nullptr);
    entry_point<decltype(sane_pelsane_exit)>("sane_pelsane_exit")();
    unload();
    std::raise(SIGUSR1);
    EXPECT_EQ(ignore_signal, std::signal(SIGUSR1, before));
}

TEST_F(library_load, loads_again_after_unload)
{
    load();
    unload();
    load();
    EXPECT_EQ(texts({"EnableLog(0,Vantoscan,driver)", "DisableLog(log)", "EnableLog(0,Vantoscan,driver)"}),
              scripted::record());
    unload();
}
