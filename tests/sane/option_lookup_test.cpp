// SPDX-License-Identifier: MIT
// Looking descriptors up inside the table, with what else is known of them.
#include "depend_expression.h"
#include "opened_devices.h"
#include "option_ids.h"
#include "option_key.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <map>
#include <vector>

namespace {

class option_lookup : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        scripted::set_option(1, "other", R"({"type":"int"})");
        scripted::set_option(3, "tl-x", R"({"type":"int"})");
        middleware_ = kx_sane_middleware::instance();
        ASSERT_EQ(middleware_->open_device("virtual:1", &handle_), SANE_STATUS_GOOD);
        scanner_ = kx_sane_middleware::sane_handle_to_scanner(handle_);
    }
    void TearDown() override { kx_sane_middleware::clear(); }

    kx_sane_middleware *middleware_ = nullptr;
    void *handle_ = nullptr;
    void *scanner_ = nullptr;
};

} // namespace

TEST_F(option_lookup, tells_number_and_identifier)
{
    const char *name = "tl-x";
    for (const void *key :
         {option_key::from_number(3), option_key::from_number(34833), static_cast<const void *>(name)}) {
        int number = -1, identifier = -1;
        EXPECT_NE(middleware_->find_stored_descriptor(scanner_, key, &number, &identifier), nullptr);
        EXPECT_EQ(number, 3);
        EXPECT_EQ(identifier, 34833);
        EXPECT_NE(middleware_->find_stored_descriptor(scanner_, key, nullptr, nullptr), nullptr);
    }
}

TEST_F(option_lookup, an_option_without_identifier_has_zero)
{
    int identifier = -1;
    EXPECT_NE(middleware_->find_stored_descriptor(scanner_, option_key::from_number(1), nullptr, &identifier), nullptr);
    EXPECT_EQ(identifier, 0);
}

TEST_F(option_lookup, leaves_its_results_alone_when_nothing_matches)
{
    int number = -5, identifier = -6;
    const char *name = "nothing";
    EXPECT_EQ(middleware_->find_stored_descriptor(scanner_, option_key::from_number(2), &number, &identifier), nullptr);
    EXPECT_EQ(middleware_->find_stored_descriptor(scanner_, option_key::from_number(34816), &number, &identifier),
              nullptr);
    EXPECT_EQ(middleware_->find_stored_descriptor(scanner_, name, &number, &identifier), nullptr);
    EXPECT_EQ(middleware_->find_stored_descriptor(handle_, option_key::from_number(3), &number, &identifier), nullptr);
    EXPECT_EQ(middleware_->find_stored_descriptor(nullptr, option_key::from_number(3), &number, &identifier), nullptr);
    EXPECT_EQ(number, -5);
    EXPECT_EQ(identifier, -6);
}

TEST_F(option_lookup, never_calls_the_driver)
{
    scripted::forget_record();
    middleware_->find_stored_descriptor(scanner_, option_key::from_number(2), nullptr, nullptr);
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(option_lookup, the_record_holds_what_was_registered)
{
    _dev_inst *device = nullptr;
    ASSERT_EQ(middleware_->find_openning_device(handle_, false, &device), scanner_);
    ASSERT_EQ(device->opts_.size(), 2U);
    EXPECT_EQ(device->opts_[0].option_no_, 1);
    EXPECT_EQ(device->opts_[0].fix_id_, 0);
    EXPECT_EQ(device->opts_[0].name_, "other");
    EXPECT_EQ(device->opts_[1].option_no_, 3);
    EXPECT_EQ(device->opts_[1].fix_id_, 34833);
    EXPECT_EQ(device->opts_[1].name_, "tl-x");
    EXPECT_EQ(device->fixed_id_, (std::map<sane_option_id, int>{{static_cast<sane_option_id>(34833), 3}}));
}

TEST_F(option_lookup, a_later_option_takes_the_identifier_over)
{
    scripted::set_option(5, "tl-x", R"({"type":"int"})");
    ASSERT_NE(middleware_->get_option_descriptor(handle_, option_key::from_number(5), nullptr, nullptr), nullptr);
    _dev_inst *device = nullptr;
    middleware_->find_openning_device(handle_, false, &device);
    EXPECT_EQ(device->fixed_id_.at(static_cast<sane_option_id>(34833)), 5);
    EXPECT_EQ(device->opts_[1].fix_id_, 34833);
    EXPECT_EQ(device->opts_[2].fix_id_, 34833);
}

TEST_F(option_lookup, an_inactive_bit_follows_the_dependencies)
{
    SANE_Option_Descriptor option = {};
    option.cap = 21;
    _slave_option slave;
    slave.is_enable = kx_sane_middleware::is_enable_or;
    _master_option master;
    master.name = "other";
    master.limit_l = "7";
    master.compare_val = kx_sane_middleware::compare_val_equal;
    slave.master.push_back(master);
    std::vector<_cur_val> values(1);
    values[0].name = "other";
    values[0].type = "int";
    values[0].val = "8";
    kx_sane_middleware::set_status_by_depends(scanner_, slave, values, &option);
    EXPECT_FALSE(slave.enable_now);
    EXPECT_EQ(option.cap, 53);
    values[0].val = "7";
    kx_sane_middleware::set_status_by_depends(scanner_, slave, values, &option);
    EXPECT_TRUE(slave.enable_now);
    EXPECT_EQ(option.cap, 21);
}

TEST_F(option_lookup, without_conditions_nothing_is_decided)
{
    SANE_Option_Descriptor option = {};
    option.cap = 53;
    _slave_option slave;
    slave.is_enable = kx_sane_middleware::is_enable_and;
    slave.enable_now = false;
    std::vector<_cur_val> values;
    kx_sane_middleware::set_status_by_depends(scanner_, slave, values, &option);
    EXPECT_FALSE(slave.enable_now);
    EXPECT_EQ(option.cap, 53);
}

TEST_F(option_lookup, a_dependent_option_without_descriptor_is_decided_in_its_record)
{
    _slave_option slave;
    slave.is_enable = kx_sane_middleware::is_enable_or;
    slave.enable_now = true;
    _master_option master;
    master.name = "other";
    master.limit_l = "7";
    master.compare_val = kx_sane_middleware::compare_val_equal;
    slave.master.push_back(master);
    std::vector<_cur_val> values{{"other", "int", "8"}};
    kx_sane_middleware::set_status_by_depends(scanner_, slave, values, nullptr);
    EXPECT_FALSE(slave.enable_now);
}
