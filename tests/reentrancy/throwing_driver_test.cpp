// SPDX-License-Identifier: MIT
// A driver that is written in C++ may throw out of its functions, and exit has no caller that it could tell. Whatever
// throws within exit, every device is closed, the driver is shut down, nothing is left behind, and a new init works.
#include "backend_test.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>

namespace {

using thrower = std::function<void()>;

void throw_error()
{
    throw std::runtime_error("driver");
}

void throw_no_memory()
{
    throw std::bad_alloc();
}

void throw_number()
{
    throw 7;
}

const thrower throwers[] = {throw_error, throw_no_memory, throw_number};

class throwing_driver : public backend_test {
protected:
    static void open_three()
    {
        init();
        for (const char *name : {"first", "second", "third"})
            open(name);
    }

    static void expect_ended()
    {
        EXPECT_EQ(texts({"kx_scanner_close(0x100000002,1)", "kx_scanner_close(0x200000004,1)",
                         "kx_scanner_close(0x300000006,1)"}),
                  scripted::calls_of("kx_scanner_close"));
        EXPECT_EQ(texts({"kx_scanner_uninitialize()"}), scripted::calls_of("kx_scanner_uninitialize"));
        EXPECT_EQ(0, scripted::change_language());
        EXPECT_EQ(SIG_DFL, std::signal(SIGUSR1, SIG_DFL));
    }

    // The object that was is gone: no second exit has anything to end, and init makes another one.
    static void expect_new_start()
    {
        scripted::reset();
        sane_pelsane_exit();
        EXPECT_EQ(texts(), scripted::calls());
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
        EXPECT_EQ(texts({"kx_scanner_initialize(callback,null)"}), scripted::calls_of("kx_scanner_initialize"));
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(open()));
    }
};

} // namespace

TEST_F(throwing_driver, close_of_any_device_within_exit)
{
    for (const std::uintptr_t closed : {0x100000002, 0x200000004, 0x300000006}) {
        for (const thrower &act : throwers) {
            scripted::reset();
            open_three();
            scripted::on().close = [&act, closed](void *scanner, int) -> std::optional<int> {
                if (scanner == handle_of(closed))
                    act();
                return std::nullopt;
            };
            sane_pelsane_exit();
            expect_ended();
            expect_new_start();
            sane_pelsane_exit();
        }
    }
}

TEST_F(throwing_driver, close_of_every_device_within_exit)
{
    for (const thrower &act : throwers) {
        scripted::reset();
        open_three();
        scripted::on().close = [&act](void *, int) -> std::optional<int> {
            act();
            return std::nullopt;
        };
        sane_pelsane_exit();
        expect_ended();
        expect_new_start();
        sane_pelsane_exit();
    }
}

TEST_F(throwing_driver, uninitialize_within_exit)
{
    for (const thrower &act : throwers) {
        scripted::reset();
        open_three();
        scripted::on().uninitialize = [&act]() -> std::optional<int> {
            act();
            return std::nullopt;
        };
        sane_pelsane_exit();
        expect_ended();
        expect_new_start();
        sane_pelsane_exit();
    }
}

TEST_F(throwing_driver, close_and_uninitialize_within_an_exit_by_its_event)
{
    scripted::on().close = [](void *, int) -> std::optional<int> { throw 7; };
    scripted::on().uninitialize = []() -> std::optional<int> { throw std::bad_alloc(); };
    init();
    const SANE_Handle device = open("first");
    open("second");
    open("third");
    scripted::on().get_status = [](void *, int) -> std::optional<int> {
        sane_pelsane_exit();
        return std::nullopt;
    };
    SANE_Word word = 0;
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_control_option(device, 1, SANE_ACTION_GET_VALUE, &word, nullptr));
    expect_ended();
    expect_new_start();
}

// ===== elsewhere =====

TEST_F(throwing_driver, close_of_a_device_that_comes_too_late_does_not_end_the_process)
{
    init();
    scripted::on().open = [](void **, const char *, char *) -> std::optional<int> {
        sane_pelsane_exit();
        return std::nullopt;
    };
    scripted::on().close = [](void *, int) -> std::optional<int> { throw std::runtime_error("driver"); };
    SANE_Handle device = nullptr;
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_open("virtual:1", &device));
    EXPECT_EQ(texts({"kx_scanner_close(0x100000002,1)"}), scripted::calls_of("kx_scanner_close"));
}
