// SPDX-License-Identifier: MIT
// Before init and after exit there is no middleware object. An application's signal handler may cancel then too: that
// makes no object and reaches no driver. The other entry points make one, which starts the driver.
#include "backend_test.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <csignal>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace {

class no_object : public backend_test {
protected:
    static void cancel_all(SANE_Handle device)
    {
        sane_pelsane_cancel(device);
        sane_pelsane_cancel(nullptr);
        sane_pelsane_cancel(handle_of(0x7777));
    }

    static void expect_nothing_happened()
    {
        EXPECT_EQ(texts(), scripted::calls());
        EXPECT_EQ(0, scripted::change_language());
        EXPECT_EQ(SIG_DFL, std::signal(SIGUSR1, SIG_DFL));
        EXPECT_FALSE(scripted::fire_event(nullptr, 4).has_value());
    }
};

SANE_Handle ended_device = nullptr;

void cancel_on_signal(int)
{
    sane_pelsane_cancel(ended_device);
}

// Entry points that reach the object, called with the handle of a device that exit has closed.
const std::pair<const char *, std::function<void()>> that_start[] = {
    {"get_devices",
     [] {
         const SANE_Device **list = nullptr;
         sane_pelsane_get_devices(&list, SANE_FALSE);
     }},
    {"open",
     [] {
         SANE_Handle handle = nullptr;
         sane_pelsane_open("virtual:1", &handle);
     }},
    {"close", [] { sane_pelsane_close(ended_device); }},
    {"get_option_descriptor", [] { sane_pelsane_get_option_descriptor(ended_device, 1); }},
    {"control_option",
     [] {
         SANE_Word word = 0;
         sane_pelsane_control_option(ended_device, 1, SANE_ACTION_GET_VALUE, &word, nullptr);
     }},
    {"get_parameters",
     [] {
         SANE_Parameters parameters = {};
         sane_pelsane_get_parameters(ended_device, &parameters);
     }},
    {"start", [] { sane_pelsane_start(ended_device); }},
    {"read",
     [] {
         SANE_Byte byte = 0;
         sane_pelsane_read(ended_device, &byte, 1, nullptr);
     }},
    {"io_control", [] { sane_pelsane_io_control(ended_device, 0x20, nullptr, nullptr); }},
};

} // namespace

TEST_F(no_object, cancel_before_init_makes_none)
{
    cancel_all(handle_of(0x100000003));
    expect_nothing_happened();
}

TEST_F(no_object, cancel_after_exit_makes_none)
{
    init();
    const SANE_Handle device = open();
    sane_pelsane_exit();
    scripted::forget_record();
    cancel_all(device);
    expect_nothing_happened();
}

TEST_F(no_object, cancel_from_a_signal_handler_after_exit_makes_none)
{
    init();
    ended_device = open();
    sane_pelsane_exit();
    scripted::forget_record();
    const auto before = std::signal(SIGUSR2, cancel_on_signal);
    std::raise(SIGUSR2);
    std::signal(SIGUSR2, before);
    expect_nothing_happened();
}

TEST_F(no_object, cancel_while_the_driver_is_shut_down_makes_none)
{
    init();
    ended_device = open();
    scripted::on().uninitialize = []() -> std::optional<int> {
        sane_pelsane_cancel(ended_device);
        return std::nullopt;
    };
    sane_pelsane_exit();
    EXPECT_EQ(texts(), scripted::calls_of("kx_scanner_stop"));
    scripted::forget_record();
    expect_nothing_happened();
}

TEST_F(no_object, other_entry_points_make_one)
{
    for (const auto &[name, call] : that_start) {
        init();
        ended_device = open();
        sane_pelsane_exit();
        scripted::forget_record();
        call();
        EXPECT_EQ(texts({"kx_scanner_initialize(callback,null)"}), scripted::calls_of("kx_scanner_initialize")) << name;
        sane_pelsane_exit();
        EXPECT_EQ(texts({"kx_scanner_uninitialize()"}), scripted::calls_of("kx_scanner_uninitialize")) << name;
        EXPECT_EQ(std::vector<void *>(), scripted::open_handles()) << name;
    }
}
