// SPDX-License-Identifier: MIT
// The two tables of codes and the event function, called directly.
#include "local_utility.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

int seven(void *, int, void *, unsigned int *, void *)
{
    return 7;
}

int throwing(void *, int, void *, unsigned int *, void *)
{
    throw 1;
}

class event_function : public testing::Test {
protected:
    void TearDown() override { local_utility::stop_work(); }
};

} // namespace

TEST(code_tables, driver_code_to_status)
{
    const std::pair<int, int> cases[] = {{0, 0},         {256, 4},       {258, 10},      {259, 11},
                                         {260, 0},       {261, 0},       {262, 0},       {266, 5},
                                         {268, 4},       {269, 9},       {270, 9},       {277, 0},
                                         {278, 0},       {56833, 1},     {56834, 3},     {56838, 8},
                                         {56839, 7},     {56842, 6},     {-1, -1},       {2, 2},
                                         {255, 255},     {257, 257},     {263, 263},     {265, 265},
                                         {267, 267},     {271, 271},     {276, 276},     {279, 279},
                                         {56832, 56832}, {56835, 56835}, {56843, 56843}, {0x7fffffff, 0x7fffffff}};
    for (const auto &[code, status] : cases)
        EXPECT_EQ(status, local_utility::scanner_err_2_sane_statu(code)) << code;
}

TEST(code_tables, status_to_driver_code)
{
    const std::pair<int, int> cases[] = {{0, 0},     {1, 56833}, {2, 2},     {3, 56834}, {4, 256},  {5, 266},
                                         {6, 56842}, {7, 56839}, {8, 56838}, {9, 269},   {10, 258}, {11, 259},
                                         {12, 12},   {-1, -1},   {256, 256}, {276, 276}};
    for (const auto &[status, code] : cases)
        EXPECT_EQ(code, local_utility::sane_statu_2_scanner_err(status)) << status;
}

TEST(code_tables, every_status_survives_the_way_there_and_back)
{
    for (int status = 0; status <= 11; ++status)
        EXPECT_EQ(status, local_utility::scanner_err_2_sane_statu(local_utility::sane_statu_2_scanner_err(status)));
}

TEST_F(event_function, answers_the_question_for_a_listener_by_itself)
{
    EXPECT_EQ(56833, local_utility::ui_cb(nullptr, 1, nullptr, nullptr, nullptr));
    local_utility::set_callback(seven, nullptr);
    EXPECT_EQ(0, local_utility::ui_cb(nullptr, 1, nullptr, nullptr, nullptr));
    local_utility::stop_work();
    EXPECT_EQ(56833, local_utility::ui_cb(nullptr, 1, nullptr, nullptr, nullptr));
}

TEST_F(event_function, answers_other_events_with_the_frontends_word_or_zero)
{
    EXPECT_EQ(0, local_utility::ui_cb(nullptr, 2, nullptr, nullptr, nullptr));
    local_utility::set_callback(seven, nullptr);
    EXPECT_EQ(7, local_utility::ui_cb(nullptr, 2, nullptr, nullptr, nullptr));
    local_utility::stop_work();
    EXPECT_EQ(0, local_utility::ui_cb(nullptr, 2, nullptr, nullptr, nullptr));
}

TEST_F(event_function, lets_no_exception_out_to_the_driver)
{
    local_utility::set_callback(throwing, nullptr);
    EXPECT_NO_THROW(EXPECT_NE(0, local_utility::ui_cb(nullptr, 2, nullptr, nullptr, nullptr)));
}
