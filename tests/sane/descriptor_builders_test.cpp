// SPDX-License-Identifier: MIT
// The functions that allocate descriptors, before the driver's keys adjust them.
#include "descriptor.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using middleware = kx_sane_middleware;

void expect_texts(const SANE_Option_Descriptor &option)
{
    EXPECT_STREQ(option.name, "name");
    EXPECT_STREQ(option.title, "title");
    EXPECT_STREQ(option.desc, "description");
    EXPECT_EQ(option.unit, SANE_UNIT_NONE);
    EXPECT_EQ(option.cap, 21);
}

descriptor_ptr strings(const std::vector<std::string> &values)
{
    return middleware::string_option_to_SANE_descriptor("name", "title", "description", values);
}

descriptor_ptr bounds(bool is_fixed, const double *min, const double *max, const double *step)
{
    return middleware::number_option_to_SANE_descriptor("name", "title", "description", is_fixed, min, max, step);
}

template <typename Number> descriptor_ptr list(const std::vector<Number> &values)
{
    return middleware::number_option_to_SANE_descriptor("name", "title", "description", values);
}

} // namespace

TEST(descriptor_builders, a_bare_descriptor_has_copies_of_its_texts)
{
    std::string name = "name", title = "title", desc;
    const descriptor_ptr option = middleware::allocate_descriptor(name.c_str(), title.c_str(), desc.c_str());
    name = "changed";
    title = "changed";
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->name, "name");
    EXPECT_STREQ(option->title, "title");
    EXPECT_STREQ(option->desc, "");
    EXPECT_EQ(option->type, 0);
    EXPECT_EQ(option->unit, 0);
    EXPECT_EQ(option->size, 0);
    EXPECT_EQ(option->cap, 0);
    EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE);
    EXPECT_EQ(option->constraint.range, nullptr);
}

TEST(descriptor_builders, freeing_null_does_nothing)
{
    scripted::reset();
    middleware::free_descriptor(nullptr);
    EXPECT_TRUE(scripted::record().empty());
}

TEST(descriptor_builders, strings_count_as_size)
{
    const auto option = strings({"abc", "", "de"});
    ASSERT_NE(option, nullptr);
    expect_texts(*option);
    EXPECT_EQ(option->type, SANE_TYPE_STRING);
    EXPECT_EQ(option->size, 3);
    ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_STRING_LIST);
    EXPECT_STREQ(option->constraint.string_list[0], "abc");
    EXPECT_STREQ(option->constraint.string_list[1], "");
    EXPECT_STREQ(option->constraint.string_list[2], "de");
    EXPECT_EQ(option->constraint.string_list[3], nullptr);
}

TEST(descriptor_builders, strings_are_packed_in_slots_of_four_bytes)
{
    const auto option = strings({"abc", "abcd", "abcdefg", "", "x"});
    const char *slots = reinterpret_cast<const char *>(option->constraint.string_list + 6);
    const int offsets[] = {0, 4, 12, 20, 24};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(option->constraint.string_list[i] - slots, offsets[i]) << i;
}

TEST(descriptor_builders, no_strings_are_no_constraint)
{
    const auto option = strings({});
    ASSERT_NE(option, nullptr);
    expect_texts(*option);
    EXPECT_EQ(option->type, SANE_TYPE_STRING);
    EXPECT_EQ(option->size, 0);
    EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE);
}

TEST(descriptor_builders, bounds_are_truncated_or_fixed_point)
{
    const double min = -1.5, max = 20.75, step = 0.5;
    const auto integers = bounds(false, &min, &max, &step);
    ASSERT_NE(integers, nullptr);
    expect_texts(*integers);
    EXPECT_EQ(integers->type, SANE_TYPE_INT);
    EXPECT_EQ(integers->size, 12);
    ASSERT_EQ(integers->constraint_type, SANE_CONSTRAINT_RANGE);
    EXPECT_EQ(integers->constraint.range->min, -1);
    EXPECT_EQ(integers->constraint.range->max, 20);
    EXPECT_EQ(integers->constraint.range->quant, 0);

    const auto reals = bounds(true, &min, &max, &step);
    ASSERT_NE(reals, nullptr);
    expect_texts(*reals);
    EXPECT_EQ(reals->type, SANE_TYPE_FIXED);
    EXPECT_EQ(reals->size, 12);
    EXPECT_EQ(reals->constraint.range->min, -98304);
    EXPECT_EQ(reals->constraint.range->max, 1359872);
    EXPECT_EQ(reals->constraint.range->quant, 32768);
}

TEST(descriptor_builders, bounds_not_given_are_zero)
{
    const double value = 7;
    struct {
        const double *min, *max, *step;
        SANE_Range expected;
    } const cases[] = {
        {&value, nullptr, nullptr, {7, 0, 0}},
        {nullptr, &value, nullptr, {0, 7, 0}},
        {nullptr, &value, &value, {0, 7, 7}},
    };
    for (const auto &c : cases) {
        const auto option = bounds(false, c.min, c.max, c.step);
        ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE);
        EXPECT_EQ(option->constraint.range->min, c.expected.min);
        EXPECT_EQ(option->constraint.range->max, c.expected.max);
        EXPECT_EQ(option->constraint.range->quant, c.expected.quant);
    }
}

TEST(descriptor_builders, neither_bound_is_no_constraint)
{
    const double step = 2;
    for (const bool is_fixed : {false, true})
        for (const double *given : {static_cast<const double *>(nullptr), &step}) {
            const auto option = bounds(is_fixed, nullptr, nullptr, given);
            ASSERT_NE(option, nullptr);
            expect_texts(*option);
            EXPECT_EQ(option->type, is_fixed ? SANE_TYPE_FIXED : SANE_TYPE_INT);
            EXPECT_EQ(option->size, 4);
            EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE);
        }
}

TEST(descriptor_builders, bounds_beyond_32_bits_do_no_harm)
{
    const double min = -1e300, max = 1e300;
    const auto option = bounds(false, &min, &max, nullptr);
    ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE);
    EXPECT_EQ(option->constraint.range->min, INT_MIN);
    EXPECT_EQ(option->constraint.range->max, INT_MAX);
}

TEST(descriptor_builders, number_lists_begin_with_their_count)
{
    const auto integers = list(std::vector<int>{300, -1, INT_MAX});
    ASSERT_NE(integers, nullptr);
    expect_texts(*integers);
    EXPECT_EQ(integers->type, SANE_TYPE_INT);
    EXPECT_EQ(integers->size, 4);
    ASSERT_EQ(integers->constraint_type, SANE_CONSTRAINT_WORD_LIST);
    const SANE_Word expected[] = {3, 300, -1, INT_MAX};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(integers->constraint.word_list[i], expected[i]) << i;

    const auto reals = list(std::vector<double>{0.5, -1});
    ASSERT_NE(reals, nullptr);
    expect_texts(*reals);
    EXPECT_EQ(reals->type, SANE_TYPE_FIXED);
    EXPECT_EQ(reals->size, 4);
    ASSERT_EQ(reals->constraint_type, SANE_CONSTRAINT_WORD_LIST);
    const SANE_Word fixed[] = {2, 32768, -65536};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(reals->constraint.word_list[i], fixed[i]) << i;
}

TEST(descriptor_builders, empty_number_lists_are_no_constraint)
{
    const auto integers = list(std::vector<int>{});
    EXPECT_EQ(integers->type, SANE_TYPE_INT);
    EXPECT_EQ(integers->size, 4);
    EXPECT_EQ(integers->constraint_type, SANE_CONSTRAINT_NONE);
    const auto reals = list(std::vector<double>{});
    EXPECT_EQ(reals->type, SANE_TYPE_FIXED);
    EXPECT_EQ(reals->size, 4);
    EXPECT_EQ(reals->constraint_type, SANE_CONSTRAINT_NONE);
}
