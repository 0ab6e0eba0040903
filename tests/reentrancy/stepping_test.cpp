// SPDX-License-Identifier: MIT
// An application cancels from a signal handler, and a signal comes at any instruction: of the backend, of the libraries
// that it calls, of the loader. Each test steps through an entry point or a few and cancels in front of every
// instruction. Cancel makes no object, starts no driver, takes no memory, stops no device that is not open, finds every
// device that has nothing to do with the call, and leaves the call's result alone.
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "small_platform.h"
#include "stepping.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using small_platform::handle_of;
using small_platform::the_book;

bool init()
{
    return sane_pelsane_init(nullptr, nullptr) == SANE_STATUS_GOOD;
}

bool open(std::size_t nth)
{
    SANE_Handle handle = nullptr;
    return sane_pelsane_open("device", &handle) == SANE_STATUS_GOOD && handle == handle_of(nth);
}

// Init, and as many devices.
auto having_open(std::size_t count)
{
    return [count] {
        bool is_good = init();
        for (std::size_t nth = 0; nth < count; ++nth)
            is_good = open(nth) && is_good;
        return is_good;
    };
}

auto opening(std::size_t nth)
{
    return [nth] { return open(nth); };
}

auto closing(std::size_t nth)
{
    return [nth] {
        sane_pelsane_close(handle_of(nth));
        return the_book().closed == 1 && !the_book().devices[nth].is_open;
    };
}

// Calls of the first device that rebuild its table: the driver changes other options with each.
bool reload()
{
    SANE_Word word = SANE_TRUE;
    SANE_Int info = 0;
    const auto *const desc = sane_pelsane_get_option_descriptor(handle_of(0), 1);
    const auto set = sane_pelsane_control_option(handle_of(0), 1, SANE_ACTION_SET_VALUE, &word, &info);
    const auto controlled = sane_pelsane_io_control(handle_of(0), 1, nullptr, nullptr);
    small_platform::change_language();
    return set == SANE_STATUS_GOOD && info == SANE_INFO_RELOAD_OPTIONS && controlled == SANE_STATUS_GOOD &&
           sane_pelsane_get_option_descriptor(handle_of(0), 1) == desc && desc != nullptr;
}

// Reads the first device's option; -1 when it cannot be read.
SANE_Word word_by(int action)
{
    SANE_Word word = -1;
    const auto status = sane_pelsane_control_option(handle_of(0), 1, static_cast<SANE_Action>(action), &word, nullptr);
    return status == SANE_STATUS_GOOD ? word : -1;
}

bool read_options()
{
    return word_by(SANE_ACTION_GET_VALUE) == SANE_TRUE && word_by(SANE_ACTION_GET_DEFAULT) == SANE_FALSE;
}

bool scan()
{
    const SANE_Device **list = nullptr;
    SANE_Parameters parameters = {};
    SANE_Byte data[8];
    SANE_Int length = 0;
    return sane_pelsane_get_devices(&list, SANE_FALSE) == SANE_STATUS_GOOD &&
           sane_pelsane_get_parameters(handle_of(0), &parameters) == SANE_STATUS_GOOD &&
           sane_pelsane_start(handle_of(0)) == SANE_STATUS_GOOD &&
           sane_pelsane_read(handle_of(0), data, sizeof data, &length) == SANE_STATUS_EOF && length == 0;
}

auto exiting(long count)
{
    return [count] {
        sane_pelsane_exit();
        return the_book().closed == count && the_book().ended == 1;
    };
}

class stepping_through : public testing::Test {
protected:
    // `least` is a number of instructions that the work takes at least: fewer are not all that there are.
    void expect_sound(const char *name, long least, const stepping::scenario &steps)
    {
        seen_ = stepping::step_through(steps);
        if (!seen_.is_allowed)
            GTEST_SKIP() << "no process may be traced here";
        std::printf("%s: %ld instructions, %ld signals, %ld cancels\n", name, seen_.instructions, seen_.signals,
                    seen_.cancels);
        ASSERT_EQ("", seen_.end);
        EXPECT_GE(seen_.instructions, least);
        EXPECT_GE(seen_.signals, seen_.instructions);
        EXPECT_EQ(0, seen_.book.wrong_stops);
        EXPECT_EQ(0, seen_.book.other_calls);
        EXPECT_EQ(0, seen_.book.allocations);
        EXPECT_EQ(1, seen_.book.started);
    }

    // Devices that the call was not about: each was stopped by each signal.
    void expect_all_found(std::size_t count, std::size_t but = small_platform::most_devices)
    {
        if (IsSkipped() || HasFatalFailure())
            return;
        for (std::size_t nth = 0; nth < count; ++nth) {
            if (nth == but)
                continue;
            EXPECT_EQ(seen_.signals, seen_.book.devices[nth].stops) << "device " << nth + 1;
        }
    }

    stepping::result seen_;

private:
    void SetUp() override
    {
#if defined(PELSANE_SANITIZED)
        GTEST_SKIP() << "a sanitizer's own instructions are not to be interrupted";
#endif
    }
};

} // namespace

TEST_F(stepping_through, init)
{
    expect_sound("init", 300, {[] { return true; }, init});
}

TEST_F(stepping_through, init_after_an_exit)
{
    expect_sound("init again", 300,
                 {[] {
                      const bool is_good = having_open(1)();
                      sane_pelsane_exit();
                      the_book().started = 0;
                      return is_good;
                  },
                  init});
}

TEST_F(stepping_through, open_of_the_first_device)
{
    expect_sound("open", 3000, {having_open(0), opening(0)});
}

TEST_F(stepping_through, open_of_the_17th_device)
{
    expect_sound("open, 16 being open", 3000, {having_open(16), opening(16)});
    expect_all_found(16);
}

TEST_F(stepping_through, close_of_the_first_device)
{
    expect_sound("close, first of 3", 500, {having_open(3), closing(0)});
    expect_all_found(3, 0);
}

TEST_F(stepping_through, close_of_a_device_in_the_middle)
{
    expect_sound("close, second of 3", 500, {having_open(3), closing(1)});
    expect_all_found(3, 1);
}

TEST_F(stepping_through, close_of_the_last_device)
{
    expect_sound("close, last of 3", 500, {having_open(3), closing(2)});
    expect_all_found(3, 2);
}

TEST_F(stepping_through, exit_with_two_devices_open)
{
    expect_sound("exit, 2 being open", 1000, {having_open(2), exiting(2)});
}

TEST_F(stepping_through, exit_with_17_devices_open)
{
    expect_sound("exit, 17 being open", 5000, {having_open(17), exiting(17)});
}

TEST_F(stepping_through, reloads)
{
    expect_sound("reloads", 10000, {having_open(2), reload});
    expect_all_found(2);
}

TEST_F(stepping_through, reads_of_options)
{
    expect_sound("reads of options", 1000, {having_open(2), read_options});
    expect_all_found(2);
}

TEST_F(stepping_through, list_parameters_start_and_read)
{
    expect_sound("list, parameters, start, read", 500, {having_open(2), scan});
    expect_all_found(2);
}
