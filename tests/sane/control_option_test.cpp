// SPDX-License-Identifier: MIT
// control_option before it reaches an option's value: what is refused at once, the driver's log, option 0, reads.
#include "guarded_memory.h"
#include "option_device.h"
#include "sane_ex.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <utility>

namespace {

constexpr SANE_Int untouched = 77;

class control_option : public option_device {};

} // namespace

// ----- refused at once -----

TEST_F(control_option, negative_keys_are_invalid)
{
    open_samples();
    for (const int action : {0, 1, 2, 100, 101, 7}) {
        SANE_Word word = 0;
        SANE_Int info = untouched;
        EXPECT_EQ(control(-5, action, &word, &info), SANE_STATUS_INVAL) << action;
        EXPECT_EQ(
            sane_pelsane_control_option_ex(handle_, key_of(-70000), static_cast<SANE_Action>(action & 3), &word, &info),
            SANE_STATUS_INVAL)
            << action;
    }
    EXPECT_EQ(times_logged("Critical: set_option error, option id = -5."), 6);
    EXPECT_EQ(times_logged("Critical: set_option error, option id = -70000."), 6);
    EXPECT_TRUE(scripted::calls().empty());
}

TEST_F(control_option, an_index_too_large_for_a_number_is_invalid)
{
    open_samples();
    for (const SANE_Int number : {65536, 100000, INT_MAX}) {
        SANE_Word word = 0;
        EXPECT_EQ(control(number, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_INVAL) << number;
    }
    EXPECT_EQ(times_logged("Critical: set_option error, option id = -1."), 3);
    EXPECT_TRUE(scripted::calls().empty());
}

TEST_F(control_option, an_unknown_handle_is_invalid)
{
    open_samples();
    const SANE_Handle open_handle = handle_;
    for (const SANE_Handle handle : {SANE_Handle{nullptr}, handle_of(0x700000001)})
        for (const int action : {0, 1, 2, 100, 101}) {
            handle_ = handle;
            SANE_Word word = 0;
            EXPECT_EQ(control(2, action, &word), SANE_STATUS_INVAL) << action;
        }
    handle_ = open_handle;
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(control_option, a_read_needs_a_buffer)
{
    open_samples();
    EXPECT_EQ(control(2, SANE_ACTION_GET_VALUE, nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(control(0, SANE_ACTION_GET_VALUE, nullptr), SANE_STATUS_INVAL);
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(control_option, unknown_actions_are_invalid)
{
    open_samples();
    for (const int action : {3, 99, 102, 1000, -1}) {
        SANE_Word word = 5;
        EXPECT_EQ(control(2, action, &word), SANE_STATUS_INVAL) << action;
        EXPECT_EQ(word, 5) << action;
    }
    EXPECT_TRUE(scripted::log_lines().empty());
    EXPECT_TRUE(scripted::calls_of("kx_scanner_set_parameter").empty());
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
}

TEST_F(control_option, a_device_that_is_gone_ends_the_call)
{
    open_samples();
    scripted::answer("kx_scanner_get_status", 0xDE00);
    for (const int action : {0, 1, 2, 100, 101, 7})
        for (const SANE_Int number : {0, 1, 5, 999, 34902}) {
            SANE_Word word = 5;
            EXPECT_EQ(control(number, action, &word), 56832) << action << ' ' << number;
            EXPECT_EQ(word, 5);
        }
    EXPECT_EQ(scripted::record().size(), 30U); // the status alone
}

TEST_F(control_option, any_other_device_status_does_not_matter)
{
    open_samples();
    for (const int status : {0xDE01, 0xDE02, 0xDE07, 256, -1}) {
        scripted::answer("kx_scanner_get_status", status, 1);
        SANE_Word word = 0;
        EXPECT_EQ(control(2, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD) << status;
        EXPECT_EQ(word, 1) << status;
    }
}

TEST_F(control_option, a_set_that_is_not_made_leaves_the_info_word_alone)
{
    open_samples();
    scripted::set_option(2, "number", R"({"type":"int","size":4,"auto":false,"default":75})");
    struct {
        SANE_Int number;
        int action;
        int status;
    } const cases[] = {{-5, SANE_ACTION_SET_VALUE, SANE_STATUS_INVAL},
                       {2, SANE_ACTION_SET_VALUE, SANE_STATUS_INVAL},
                       {2, SANE_ACTION_SET_AUTO, SANE_STATUS_UNSUPPORTED},
                       {2, 7, SANE_STATUS_INVAL},
                       {999, SANE_ACTION_SET_VALUE, SANE_STATUS_UNSUPPORTED}};
    for (const auto &c : cases) {
        SANE_Int info = untouched;
        EXPECT_EQ(control(c.number, c.action, nullptr, &info), c.status) << c.number;
        EXPECT_EQ(info, untouched) << c.number;
    }
    EXPECT_TRUE(scripted::writes().empty());
}

// ----- the driver's log -----

TEST_F(control_option, the_drivers_log_is_reached_with_the_handle_as_given)
{
    open_samples();
    scripted::set_information("drv-log", std::string(100, 'l'));
    const guarded_memory buffer(255);
    SANE_Int info = untouched;
    EXPECT_EQ(control(39171, SANE_ACTION_GET_VALUE, buffer.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer.text(), std::string(100, 'l'));
    EXPECT_EQ(control("drv-log", SANE_ACTION_GET_VALUE, buffer.data(), &info), SANE_STATUS_GOOD);
    const guarded_memory level = guarded_memory::of_text("level 3", 255);
    EXPECT_EQ(control(39171, SANE_ACTION_SET_VALUE, level.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(control("drv-log", SANE_ACTION_SET_VALUE, level.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, untouched);
    EXPECT_EQ(scripted::record(), (texts{"kx_scanner_get_parameter(0x100000003,drv-log,buffer,255,null)",
                                         "kx_scanner_get_parameter(0x100000003,drv-log,buffer,255,null)",
                                         "kx_scanner_set_parameter(0x100000003,drv-log,\"level 3\",255)",
                                         "kx_scanner_set_parameter(0x100000003,drv-log,\"level 3\",255)"}));
}

TEST_F(control_option, the_drivers_log_needs_no_open_device)
{
    open_samples();
    scripted::set_information("drv-log", std::string("lines"));
    handle_ = handle_of(0x700000001);
    const guarded_memory buffer(255);
    EXPECT_EQ(control(39171, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer.text(), "lines");
}

TEST_F(control_option, the_drivers_log_answers_by_the_table_of_codes)
{
    open_samples();
    const std::pair<int, int> answers[] = {{0, 0}, {256, 4}, {258, 10}, {259, 11}, {262, 0}, {0xDE02, 3}, {999, 999}};
    for (const auto &[code, status] : answers) {
        const guarded_memory buffer(255);
        scripted::answer("kx_scanner_get_parameter", code, 1);
        EXPECT_EQ(control(39171, SANE_ACTION_GET_VALUE, buffer.data()), status) << code;
        scripted::answer("kx_scanner_set_parameter", code, 1);
        EXPECT_EQ(control("drv-log", SANE_ACTION_SET_VALUE, buffer.data()), status) << code;
    }
}

TEST_F(control_option, the_drivers_log_knows_no_other_action)
{
    open_samples();
    for (const int action : {2, 100, 101, 7}) {
        const guarded_memory buffer(255);
        EXPECT_EQ(control(39171, action, buffer.data()), SANE_STATUS_INVAL) << action;
        EXPECT_EQ(control("drv-log", action, buffer.data()), SANE_STATUS_INVAL) << action;
    }
    EXPECT_TRUE(scripted::record().empty());
}

// ----- option 0 and what has no value -----

TEST_F(control_option, option_0_is_the_drivers_count)
{
    open_samples();
    SANE_Word count = 0;
    SANE_Int info = untouched;
    EXPECT_EQ(control(0, SANE_ACTION_GET_VALUE, &count, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(count, 7);
    EXPECT_EQ(info, 0);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_get_parameter(0x100000002,0,null,0,null)",
                     "Info: get option count = 7."}));
}

TEST_F(control_option, option_0_is_what_the_driver_says_now)
{
    open_samples();
    const std::pair<long, SANE_Word> counts[] = {{40, 40}, {0x100000005, 5}, {-1, -1}, {0, 0}};
    for (const auto &[told, count] : counts) {
        scripted::set_option_count(told);
        SANE_Word word = 99;
        EXPECT_EQ(sane_pelsane_control_option_ex(handle_, nullptr, SANE_ACTION_GET_VALUE, &word, nullptr),
                  SANE_STATUS_GOOD);
        EXPECT_EQ(word, count);
    }
}

TEST_F(control_option, option_0_of_a_driver_that_refuses_is_zero)
{
    open_samples();
    scripted::answer("kx_scanner_get_parameter", 269);
    SANE_Word word = 99;
    EXPECT_EQ(control(0, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 0);
}

TEST_F(control_option, buttons_and_groups_cannot_be_read)
{
    open_samples();
    for (const SANE_Int number : {5, 6}) {
        SANE_Word word = 99;
        SANE_Int info = untouched;
        EXPECT_EQ(control(number, SANE_ACTION_GET_VALUE, &word, &info), SANE_STATUS_UNSUPPORTED) << number;
        EXPECT_EQ(word, 99) << number;
        EXPECT_EQ(info, 0) << number;
    }
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(control_option, a_read_clears_the_info_word)
{
    open_samples();
    SANE_Word word = 0;
    SANE_Int info = untouched;
    EXPECT_EQ(control(2, SANE_ACTION_GET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, 0);
}
