// SPDX-License-Identifier: MIT
// Numbers in options and log lines while the application runs under a locale with another decimal point.
#include "foreign_locale.h"
#include "option_device.h"
#include "sane_ex.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <clocale>
#include <cstring>

namespace {

class under_a_foreign_locale : public option_device, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override
    {
        option_device::SetUp();
        locale_.install();
    }

    void TearDown() override
    {
        EXPECT_EQ(std::setlocale(LC_ALL, nullptr), locale_.name()); // the backend never changes it
        option_device::TearDown();
    }

    foreign_locale locale_{GetParam()};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(, under_a_foreign_locale, testing::Values("de_DE", "ps_AF"));

TEST_P(under_a_foreign_locale, ranges_are_read_with_points)
{
    scripted::set_option(1, "real", R"({"type":"float","size":4,"range":{"min":0.5,"max":1.5,"step":0.25}})");
    open_device();
    EXPECT_EQ(descriptor(1)->constraint.range->min, 32768);
    EXPECT_EQ(descriptor(1)->constraint.range->max, 98304);
    EXPECT_EQ(descriptor(1)->constraint.range->quant, 16384);
}

TEST_P(under_a_foreign_locale, listed_numbers_are_read_with_points)
{
    open_with("real", R"({"type":"float","size":4,"range":[0.5,"1.5",2]})");
    const SANE_Word *list = descriptor(1)->constraint.word_list;
    const SANE_Word expected[] = {3, 32768, 98304, 131072};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(list[i], expected[i]) << i;
}

TEST_P(under_a_foreign_locale, word_ids_are_recognised)
{
    scripted::set_translation(57, "Landscape");
    open_with("text", R"({"type":"string","size":20,"range":[57,"58x"]})");
    EXPECT_STREQ(descriptor(1)->constraint.string_list[0], "Landscape");
}

TEST_P(under_a_foreign_locale, values_are_logged_with_points)
{
    open_with("real", R"({"type":"float","size":4,"title":"R","cur":1.5,"default":2.5,"range":[1.5]})");
    SANE_Word word = 0;
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 98304);
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(times_logged("Debug: <--Get option(1 - R) value: 1.500000"), 1);
    EXPECT_EQ(times_logged("Info: -->Set option(1 - R) value: 2.500000"), 1);
}

TEST_P(under_a_foreign_locale, conditions_compare_with_points)
{
    scripted::set_option(1, "real", R"({"type":"float","size":4,"cur":1.5,"range":[1.5]})");
    scripted::set_option(2, "between", R"({"type":"int","size":4,"depend_and":["real==[1.25,1.75]"]})");
    scripted::set_option(3, "equal", R"({"type":"int","size":4,"depend_and":["real==1.500000"]})");
    open_device();
    EXPECT_TRUE(is_active("between"));
    EXPECT_TRUE(is_active("equal"));
    scripted::forget_record();
    EXPECT_EQ(set_word(1, 117965), SANE_STATUS_GOOD); // 1.8
    EXPECT_FALSE(is_active("between"));
    ASSERT_EQ(scripted::notices().size(), 2U);
    double sent = 0;
    std::memcpy(&sent, scripted::notices()[0].masters.at(0).data.data(), sizeof(sent));
    EXPECT_NEAR(sent, 1.8, 1e-4);
}

TEST_P(under_a_foreign_locale, bounds_values_and_defaults_are_read_with_points)
{
    scripted::set_option(1, "gamma",
                         R"({"type":"float","size":4,"cur":-1.25e1,"default":0.1,"range":{"min":-20.5,)"
                         R"("max":1e2}})");
    open_device();
    ASSERT_NE(descriptor(1), nullptr);
    EXPECT_EQ(descriptor(1)->constraint.range->min, -1343488);
    EXPECT_EQ(descriptor(1)->constraint.range->max, 6553600);
    EXPECT_EQ(descriptor(1)->constraint.range->quant, 789708); // a tenth of 120.5
    SANE_Word word = 0;
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, -819200);
    EXPECT_EQ(control(1, SANE_ACTION_GET_DEFAULT, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 6553);
}
