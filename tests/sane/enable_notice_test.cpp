// SPDX-License-Identifier: MIT
// The notice that the driver gets of a dependent option's new state: memory that both sides lay out alike.
#include "depend_expression.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "sane_kx_mdw.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

namespace {

using middleware = kx_sane_middleware;

struct notice_deleter {
    void operator()(_opt_enabled *notice) const { middleware::free_control_enable_data(notice); }
};
using notice_ptr = std::unique_ptr<_opt_enabled, notice_deleter>;

class enable_notice_layout : public testing::Test {
protected:
    void add_master(const std::string &name)
    {
        _master_option condition;
        condition.name = name;
        condition.compare_val = middleware::compare_val_equal;
        slave_.master.push_back(condition);
    }

    const unsigned char *build()
    {
        notice_.reset(middleware::get_control_enalbe_data(&device_, slave_));
        EXPECT_NE(notice_, nullptr);
        return reinterpret_cast<const unsigned char *>(notice_.get());
    }

    template <typename Value> static Value at(const void *memory, std::size_t offset)
    {
        Value value;
        std::memcpy(static_cast<void *>(&value), static_cast<const unsigned char *>(memory) + offset, sizeof(value));
        return value;
    }

    _dev_inst device_;
    _slave_option slave_;
    notice_ptr notice_;
};

} // namespace

TEST_F(enable_notice_layout, the_header_is_name_state_and_count)
{
    slave_.name = "slave";
    slave_.enable_now = true;
    const auto *memory = build();
    EXPECT_STREQ(reinterpret_cast<const char *>(memory), "slave");
    EXPECT_EQ(at<int>(memory, 64), 1);
    EXPECT_EQ(at<int>(memory, 68), 0);
    slave_.enable_now = false;
    EXPECT_EQ(at<int>(build(), 64), 0);
}

TEST_F(enable_notice_layout, the_record_has_the_drivers_offsets)
{
    EXPECT_EQ(offsetof(_opt_enabled, enabled), 64U);
    EXPECT_EQ(offsetof(_opt_enabled, count), 68U);
    EXPECT_EQ(offsetof(_opt_enabled, opts), 72U);
    EXPECT_EQ(offsetof(_opt_value, value), 64U);
    EXPECT_EQ(sizeof(_opt_value), 72U);
}

TEST_F(enable_notice_layout, the_block_has_one_entry_to_spare)
{
    slave_.enable_now = false;
    add_master("a");
    add_master("b");
    const auto *memory = build(); // no cached values: nothing is filled in
    for (std::size_t i = 0; i < 144 + 2 * 72; ++i)
        ASSERT_EQ(memory[i], 0) << i;
}

TEST_F(enable_notice_layout, values_are_laid_out_by_the_masters_type)
{
    device_.cur_vals_ = {{"text", "string", "abc"},  {"yes", "bool", "true"},   {"no", "bool", "false"},
                         {"odd", "bool", "True"},    {"number", "int", "-300"}, {"real", "float", "1.500000"},
                         {"other", "matrix", "2.5"}, {"empty", "string", ""}};
    for (const char *name : {"text", "yes", "no", "odd", "number", "real", "other", "empty"})
        add_master(name);
    const auto *memory = build();
    ASSERT_EQ(at<int>(memory, 68), 8);
    const auto name = [&](std::size_t i) { return std::string(reinterpret_cast<const char *>(memory) + 72 + i * 72); };
    const auto value = [&](std::size_t i) { return at<const unsigned char *>(memory, 72 + i * 72 + 64); };
    EXPECT_EQ(name(0), "text");
    EXPECT_EQ(name(7), "empty");
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(value(0)), 7), std::string("abc\0\0\0\0", 7));
    EXPECT_EQ(at<unsigned long>(value(1), 0), 1UL);
    EXPECT_EQ(at<unsigned long>(value(2), 0), 0UL);
    EXPECT_EQ(at<unsigned long>(value(3), 0), 0UL);
    EXPECT_EQ(at<int>(value(4), 0), -300);
    EXPECT_EQ(at<int>(value(4), 4), 0);
    EXPECT_EQ(at<double>(value(5), 0), 1.5);
    EXPECT_EQ(at<double>(value(6), 0), 2.5);
    EXPECT_EQ(at<int>(value(7), 0), 0); // the empty text has four bytes too
}

TEST_F(enable_notice_layout, every_master_stands_once_in_the_order_of_its_first_condition)
{
    device_.cur_vals_ = {{"a", "int", "1"}, {"b", "int", "2"}, {"c", "int", "3"}};
    for (const char *name : {"c", "a", "c", "b", "a"})
        add_master(name);
    const auto *memory = build();
    ASSERT_EQ(at<int>(memory, 68), 3);
    EXPECT_STREQ(notice_->opts[0].name, "c");
    const _opt_value *entries = notice_->opts;
    EXPECT_STREQ(entries[1].name, "a");
    EXPECT_STREQ(entries[2].name, "b");
    EXPECT_EQ(at<int>(entries[2].value, 0), 2);
}

TEST_F(enable_notice_layout, a_master_without_a_value_is_left_out)
{
    device_.cur_vals_ = {{"b", "int", "2"}};
    for (const char *name : {"a", "b"})
        add_master(name);
    build();
    EXPECT_EQ(notice_->count, 1);
    EXPECT_STREQ(notice_->opts[0].name, "b");
}

TEST_F(enable_notice_layout, names_are_cut_to_63_bytes)
{
    const std::string long_name(200, 'n'), fitting(63, 'f'), full(64, 'g');
    slave_.name = long_name;
    device_.cur_vals_ = {{long_name, "int", "5"}, {fitting, "int", "6"}, {full, "int", "7"}};
    add_master(long_name);
    add_master(fitting);
    add_master(full);
    build();
    EXPECT_EQ(std::string(notice_->name), std::string(63, 'n'));
    ASSERT_EQ(notice_->count, 3);
    const _opt_value *entries = notice_->opts;
    EXPECT_EQ(std::string(entries[0].name), std::string(63, 'n'));
    EXPECT_EQ(std::string(entries[1].name), fitting);
    EXPECT_EQ(std::string(entries[2].name), std::string(63, 'g'));
    EXPECT_EQ(at<int>(entries[0].value, 0), 5);
    EXPECT_EQ(notice_->enabled, 1);
}

TEST_F(enable_notice_layout, numbers_beyond_32_bits_do_no_harm)
{
    device_.cur_vals_ = {{"a", "int", "99999999999999999999"}};
    add_master("a");
    build();
    EXPECT_EQ(notice_->count, 1);
    EXPECT_EQ(at<int>(notice_->opts[0].value, 4), 0);
}

TEST_F(enable_notice_layout, freeing_null_and_holes_does_nothing)
{
    middleware::free_control_enable_data(nullptr);
    device_.cur_vals_ = {{"a", "int", "1"}, {"b", "int", "2"}};
    add_master("a");
    add_master("b");
    build();
    _opt_value &first = notice_->opts[0];
    local_utility::free_memory(first.value);
    first.value = nullptr;
    notice_.reset();
}
