// SPDX-License-Identifier: MIT
// Memory that runs short where single values are made: those for the driver, for its notices and for the application.
#include "depend_expression.h"
#include "inner_sane.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"
#include "scripted.h"
#include "short_memory.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <new>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;

class value_short_of_memory : public testing::Test {
protected:
    void SetUp() override { scripted::reset(); }
    void TearDown() override { inner_sane_exit(); }

    void open()
    {
        ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_init(nullptr));
        ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle_));
        scripted::forget_record();
    }

    // Options 3, 4 and 5 are then page-width, page-height and duplex.
    void open_with_paper()
    {
        scripted::set_option(1, "paper", R"({"type": "string", "size": 44, "range": ["A4", "A5"], "cur": "A4"})");
        scripted::set_option(2, "page", R"({"type": "string", "size": 44, "range": ["Front side", "Duplex"],
                                            "cur": "Duplex"})");
        open();
    }

    static const void *key(int number) { return option_key::from_number(number); }

    SANE_Handle handle_ = nullptr;
};

} // namespace

TEST_F(value_short_of_memory, switch_and_group_are_not_registered_without_a_record)
{
    open();
    int number = 10;
    for (const char *const description : {R"({"type": "bool"})", R"({"type": "group"})", R"({"type": "button"})"}) {
        ++number;
        scripted::set_option(number, "late-" + std::to_string(number), description);
        {
            const short_memory::failing_calloc failing(1); // behind the fetched text's buffer
            EXPECT_EQ(nullptr, inner_sane_get_option_descriptor(handle_, key(number))) << description;
            EXPECT_TRUE(failing.has_failed()) << description;
        }
        EXPECT_NE(nullptr, inner_sane_get_option_descriptor(handle_, key(number))) << description;
    }
}

TEST_F(value_short_of_memory, notice_without_room_for_a_word_is_not_sent)
{
    scripted::set_option(1, "gamma", R"({"type": "bool", "title": "Own", "size": 4, "cur": true})");
    scripted::set_option(2, "bright", R"({"type": "int", "size": 4, "cur": 1, "depend_or": ["gamma==true"]})");
    open();
    for (const int nth : {0, 1}) { // the notice, the word in it
        SANE_Word off = SANE_FALSE;
        SANE_Word on = SANE_TRUE;
        SANE_Int info = 77;
        {
            const short_memory::failing_calloc failing(nth);
            EXPECT_EQ(SANE_STATUS_GOOD, inner_sane_control_option(handle_, key(1), SANE_ACTION_SET_VALUE, &off, &info));
            EXPECT_TRUE(failing.has_failed()) << nth;
        }
        EXPECT_EQ(SANE_INFO_RELOAD_OPTIONS, info) << nth;
        EXPECT_TRUE(scripted::notices().empty()) << nth;
        inner_sane_control_option(handle_, key(1), SANE_ACTION_SET_VALUE, &on, nullptr);
        ASSERT_EQ(1U, scripted::notices().size()) << nth;
        EXPECT_EQ(1, scripted::notices()[0].enabled) << nth;
        scripted::forget_record();
    }
}

TEST_F(value_short_of_memory, well_known_defaults_are_not_written_without_a_block)
{
    open_with_paper();
    for (const int number : {3, 4, 5}) {
        {
            const short_memory::failing_calloc failing(0);
            EXPECT_EQ(SANE_STATUS_NO_MEM,
                      inner_sane_control_option(handle_, key(number), SANE_ACTION_SET_AUTO, nullptr, nullptr))
                << number;
            EXPECT_TRUE(failing.has_failed()) << number;
        }
        EXPECT_TRUE(scripted::writes().empty()) << number;
    }
}

TEST_F(value_short_of_memory, well_known_value_cannot_be_read_without_a_buffer)
{
    open_with_paper();
    _dev_inst *device = nullptr;
    void *const scanner = kx_sane_middleware::instance()->find_openning_device(handle_, false, &device);
    SANE_Word duplex = 99;
    for (const int nth : {0, 1}) { // the fetched text's buffer, the value
        const short_memory::failing_calloc failing(nth);
        device->std_opts_->get_value(scanner, 5, &duplex);
        EXPECT_TRUE(failing.has_failed()) << nth;
        EXPECT_EQ(99, duplex) << nth;
    }
    device->std_opts_->get_value(scanner, 5, &duplex);
    EXPECT_EQ(SANE_TRUE, duplex);
}

TEST_F(value_short_of_memory, block_is_freed_when_there_is_none_for_the_value_cache)
{
    scripted::set_option(1, "text", R"({"type": "string", "size": 64, "title": "T", "cur": "abc"})");
    open();
    _dev_inst *device = nullptr;
    kx_sane_middleware &middleware = *kx_sane_middleware::instance();
    middleware.find_openning_device(handle_, false, &device);
    const long held = short_memory::blocks_held();
    int nth = 0;
    for (bool has_failed = true; has_failed; ++nth) { // which of them is the cache's is the compiler's choice
        std::vector<_cur_val>().swap(device->cur_vals_);
        const short_memory::failing_new failing(nth);
        try {
            EXPECT_NE(nullptr, middleware.get_cur_value(handle_, key(1), nullptr));
        } catch (const std::bad_alloc &) {
            EXPECT_TRUE(device->cur_vals_.empty()) << nth;
        }
        has_failed = failing.has_failed();
        EXPECT_EQ(held, short_memory::blocks_held()) << nth;
    }
    EXPECT_LT(1, nth);
    EXPECT_STREQ("abc", static_cast<const char *>(middleware.get_cur_value(handle_, key(1), nullptr).get()));
    EXPECT_EQ(1U, device->cur_vals_.size());
}
