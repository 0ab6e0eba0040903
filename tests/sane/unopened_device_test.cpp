// SPDX-License-Identifier: MIT
// Driver handles that no opened device has, as an event or a notice may bring one after its device was closed: what
// needs the device's record does without, what only asks the driver goes on.
#include "depend_expression.h"
#include "json.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;

class unopened_device : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        scripted::set_option(1, "paper", R"({"type": "string", "title": "Paper", "size": 8, "cur": "A4"})");
        middleware_ = kx_sane_middleware::instance();
        void *handle = nullptr;
        ASSERT_EQ(SANE_STATUS_GOOD, middleware_->open_device("virtual:1", &handle));
        middleware_->find_openning_device(handle, false, &other_);
        scripted::forget_record();
    }
    void TearDown() override { kx_sane_middleware::clear(); }

    kx_sane_middleware *middleware_ = nullptr;
    _dev_inst *other_ = nullptr;
    void *const unknown_ = reinterpret_cast<void *>(0x900000012);
};

} // namespace

TEST_F(unopened_device, has_a_value_that_the_driver_still_tells)
{
    char value[8] = {};
    SANE_Value_Type type = SANE_TYPE_GROUP;
    EXPECT_TRUE(middleware_->get_current_value(unknown_, option_key::from_number(1),
                                               kx_sane_middleware::set_value_to_var, value, &type));
    EXPECT_STREQ("A4", value);
    EXPECT_EQ(SANE_TYPE_STRING, type);
    EXPECT_EQ(texts{"Debug: <--Get option(1 - Paper) value: A4"}, scripted::log_lines());
}

TEST_F(unopened_device, has_no_value_by_a_handle_of_the_frontend)
{
    char value[8] = "before";
    void *const handle = kx_sane_middleware::scanner_handle_to_sane(unknown_);
    EXPECT_FALSE(middleware_->get_cur_value(handle, option_key::from_number(1), value, nullptr));
    EXPECT_STREQ("before", value);
    EXPECT_EQ(nullptr, middleware_->get_cur_value(handle, option_key::from_number(1), nullptr));
    EXPECT_EQ(texts(), scripted::calls());
}

TEST_F(unopened_device, has_no_default_of_a_type_that_only_the_well_known_options_have)
{
    scripted::set_option(2, "grid", R"({"type": "matrix", "title": "Grid"})");
    int bytes = 0;
    EXPECT_EQ(nullptr, middleware_->get_default_value(unknown_, option_key::from_number(2), &bytes, true, nullptr));
    EXPECT_EQ(texts{"Debug: option 2(Grid) is 'matrix' and no value action."}, scripted::log_lines());
}

TEST_F(unopened_device, has_no_stored_descriptors)
{
    int number = 7;
    EXPECT_EQ(nullptr, middleware_->find_stored_descriptor(unknown_, option_key::from_number(1), &number, nullptr));
    EXPECT_EQ(nullptr, middleware_->find_stored_descriptor(unknown_, "paper", &number, nullptr));
    EXPECT_EQ(7, number);
}

TEST_F(unopened_device, has_descriptors_whose_dependencies_nobody_keeps)
{
    json description(R"({"type": "int", "title": "dpi", "depend_or": ["paper==A4"]})");
    const auto descriptor = middleware_->from_json(unknown_, "resolution", &description);
    ASSERT_NE(nullptr, descriptor);
    EXPECT_STREQ("resolution", descriptor->name);
    EXPECT_TRUE(other_->slaves_.empty());
    EXPECT_TRUE(other_->masters_.empty());
}

TEST_F(unopened_device, has_no_values_to_reload)
{
    texts changed{"paper"};
    middleware_->reload_current_value(unknown_, &changed);
    EXPECT_EQ(texts(), changed);
    EXPECT_EQ(texts(), scripted::calls());
}

// ----- its neighbours: options that are in no table, and lists that nobody wants -----

TEST_F(unopened_device, negative_numbers_name_nothing_also_in_an_opened_one)
{
    int number = 7;
    for (const int negative : {-1, -40000})
        EXPECT_EQ(nullptr, middleware_->find_stored_descriptor(other_->dev_, option_key::from_number(negative), &number,
                                                               nullptr))
            << negative;
    EXPECT_EQ(7, number);
}

TEST_F(unopened_device, option_that_the_driver_does_not_have_leaves_the_value_alone)
{
    char value[8] = "before";
    void *const handle = kx_sane_middleware::scanner_handle_to_sane(other_->dev_);
    EXPECT_FALSE(middleware_->get_cur_value(handle, option_key::from_number(30), value, nullptr));
    EXPECT_STREQ("before", value);
}

TEST_F(unopened_device, option_beyond_the_table_is_read_with_the_size_that_the_driver_tells)
{
    scripted::set_option(30, "late", R"({"type": "string", "size": 6, "cur": "abc"})");
    char value[8] = {'z', 'z', 'z', 'z', 'z', 'z', 'z', 'z'};
    EXPECT_TRUE(middleware_->get_current_value(other_->dev_, option_key::from_number(30),
                                               kx_sane_middleware::set_value_to_var, value, nullptr));
    EXPECT_EQ(std::string("abc\0\0\0zz", 8), std::string(value, 8));
}

TEST_F(unopened_device, values_are_reloaded_also_when_nobody_asks_which_changed)
{
    std::string before;
    for (const _cur_val &value : other_->cur_vals_)
        before += value.name + "=" + value.val + ";";
    EXPECT_EQ("paper=A4;", before);
    scripted::set_option(1, "paper", R"({"type": "string", "title": "Paper", "size": 8, "cur": "A5"})");
    middleware_->reload_current_value(other_->dev_, nullptr);
    ASSERT_EQ(1U, other_->cur_vals_.size());
    EXPECT_EQ("A5", other_->cur_vals_[0].val);
}
