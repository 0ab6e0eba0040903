// SPDX-License-Identifier: MIT
// Numbers in options and log lines while the application runs under a locale with decimal commas.
#include "../json/comma_locale.h"
#include "option_device.h"

#include <cstring>

namespace {

class under_a_comma_locale : public option_device {
protected:
    void SetUp() override
    {
        option_device::SetUp();
        locale_.install();
    }

    void TearDown() override
    {
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "de_DE.UTF-8"); // the backend never changes it
        option_device::TearDown();
    }

    comma_locale locale_;
};

} // namespace

TEST_F(under_a_comma_locale, ranges_are_read_with_points)
{
    scripted::set_option(1, "real", R"({"type":"float","size":4,"range":{"min":0.5,"max":1.5,"step":0.25}})");
    open_device();
    EXPECT_EQ(descriptor(1)->constraint.range->min, 32768);
    EXPECT_EQ(descriptor(1)->constraint.range->max, 98304);
    EXPECT_EQ(descriptor(1)->constraint.range->quant, 16384);
}

TEST_F(under_a_comma_locale, listed_numbers_are_read_with_points)
{
    open_with("real", R"({"type":"float","size":4,"range":[0.5,"1.5",2]})");
    const SANE_Word *list = descriptor(1)->constraint.word_list;
    const SANE_Word expected[] = {3, 32768, 98304, 131072};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(list[i], expected[i]) << i;
}

TEST_F(under_a_comma_locale, word_ids_are_recognised)
{
    scripted::set_translation(57, "Landscape");
    open_with("text", R"({"type":"string","size":20,"range":[57,"58x"]})");
    EXPECT_STREQ(descriptor(1)->constraint.string_list[0], "Landscape");
}

TEST_F(under_a_comma_locale, values_are_logged_with_points)
{
    open_with("real", R"({"type":"float","size":4,"title":"R","cur":1.5,"default":2.5,"range":[1.5]})");
    SANE_Word word = 0;
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 98304);
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(times_logged("Debug: <--Get option(1 - R) value: 1.500000"), 1);
    EXPECT_EQ(times_logged("Info: -->Set option(1 - R) value: 2.500000"), 1);
}

TEST_F(under_a_comma_locale, conditions_compare_with_points)
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
