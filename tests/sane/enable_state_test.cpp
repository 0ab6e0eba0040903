// SPDX-License-Identifier: MIT
// Combining the conditions of a dependent option, and writing the decision into its descriptor.
#include "depend_expression.h"
#include "option_key.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using middleware = kx_sane_middleware;
using texts = std::vector<std::string>;

constexpr const char *not_found_line =
    "Warn: option b's current value is not found, other options depend it maybe in wrong status.";

_master_option equals(const char *name, const char *value)
{
    _master_option condition;
    condition.name = name;
    condition.limit_l = value;
    condition.compare_val = middleware::compare_val_equal;
    return condition;
}

class enable_state : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        scripted::set_option(1, "a", R"({"type":"int","size":4})");
        scripted::set_option(2, "off", R"({"type":"int","size":7,"enable":false})");
        ASSERT_EQ(middleware::instance()->open_device("virtual:1", &handle_), SANE_STATUS_GOOD);
        scanner_ = middleware::sane_handle_to_scanner(handle_);
        scripted::forget_record();
    }
    void TearDown() override { kx_sane_middleware::clear(); }

    bool all(const std::vector<_master_option> &conditions)
    {
        return middleware::is_enable_and(scanner_, conditions, values_);
    }
    bool any(const std::vector<_master_option> &conditions)
    {
        return middleware::is_enable_or(scanner_, conditions, values_);
    }

    void *handle_ = nullptr;
    void *scanner_ = nullptr;
    std::vector<_cur_val> values_ = {{"a", "int", "1"}, {"off", "int", "1"}, {"unstored", "int", "1"}};
};

} // namespace

TEST_F(enable_state, and_holds_when_every_condition_does)
{
    EXPECT_TRUE(all({}));
    EXPECT_TRUE(all({equals("a", "1")}));
    EXPECT_FALSE(all({equals("a", "2")}));
    EXPECT_TRUE(all({equals("a", "1"), equals("unstored", "1")}));
    EXPECT_FALSE(all({equals("a", "1"), equals("unstored", "2")}));
    EXPECT_FALSE(all({equals("a", "2"), equals("unstored", "1")}));
}

TEST_F(enable_state, or_holds_when_one_condition_does)
{
    EXPECT_FALSE(any({}));
    EXPECT_TRUE(any({equals("a", "1")}));
    EXPECT_FALSE(any({equals("a", "2")}));
    EXPECT_TRUE(any({equals("a", "2"), equals("unstored", "1")}));
    EXPECT_TRUE(any({equals("a", "1"), equals("unstored", "2")}));
    EXPECT_FALSE(any({equals("a", "2"), equals("unstored", "2")}));
}

TEST_F(enable_state, an_inactive_master_fails_and)
{
    EXPECT_FALSE(all({equals("off", "1")}));
    EXPECT_FALSE(all({equals("a", "1"), equals("off", "1")}));
}

TEST_F(enable_state, an_inactive_master_never_satisfies_or)
{
    EXPECT_FALSE(any({equals("off", "1")}));
    EXPECT_TRUE(any({equals("off", "1"), equals("a", "1")}));
}

TEST_F(enable_state, a_master_without_value_is_logged_and_met_for_and)
{
    EXPECT_TRUE(all({equals("b", "1")}));
    EXPECT_EQ(scripted::log_lines(), (texts{not_found_line}));
    EXPECT_FALSE(all({equals("b", "1"), equals("a", "2")}));
}

TEST_F(enable_state, a_master_without_value_is_logged_and_not_met_for_or)
{
    EXPECT_FALSE(any({equals("b", "1")}));
    EXPECT_EQ(scripted::log_lines(), (texts{not_found_line}));
    EXPECT_TRUE(any({equals("b", "1"), equals("a", "1")}));
}

TEST_F(enable_state, a_device_that_is_not_open_has_no_inactive_masters)
{
    scanner_ = nullptr;
    EXPECT_TRUE(all({equals("off", "1")}));
    EXPECT_TRUE(any({equals("off", "1")}));
}

TEST_F(enable_state, a_slave_stands_on_the_names_of_its_conditions)
{
    _slave_option slave;
    slave.name = "slave";
    slave.master = {equals("a", "1"), equals("bc", "1")};
    EXPECT_TRUE(middleware::is_associatived(slave, "a"));
    EXPECT_TRUE(middleware::is_associatived(slave, "bc"));
    for (const char *name : {"b", "A", "", "slave", "bcd"})
        EXPECT_FALSE(middleware::is_associatived(slave, name)) << name;
}

TEST_F(enable_state, a_stored_options_activity_can_be_set)
{
    auto &backend = *middleware::instance();
    const void *key = option_key::from_number(2);
    const auto *option = backend.find_stored_descriptor(scanner_, key, nullptr, nullptr);
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->cap, 53);
    int size = -1;
    EXPECT_TRUE(backend.set_stored_option_enabled(scanner_, key, true, &size));
    EXPECT_EQ(option->cap, 21);
    EXPECT_EQ(size, 7);
    EXPECT_TRUE(backend.set_stored_option_enabled(scanner_, key, true, nullptr));
    EXPECT_EQ(option->cap, 21);
    EXPECT_TRUE(backend.set_stored_option_enabled(scanner_, key, false, nullptr));
    EXPECT_EQ(option->cap, 53);
}

TEST_F(enable_state, an_option_that_is_not_stored_cannot_be_set)
{
    auto &backend = *middleware::instance();
    int size = -1;
    EXPECT_FALSE(backend.set_stored_option_enabled(scanner_, "unstored", true, &size));
    EXPECT_FALSE(backend.set_stored_option_enabled(nullptr, "a", true, &size));
    EXPECT_EQ(size, -1);
}
