// SPDX-License-Identifier: MIT
// Values that applications take out of the descriptor's own lists. Such a list is never written to, whatever the driver
// does to the value and whatever is set instead, and it may go away while the value is being set.
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstring>
#include <optional>
#include <string>

namespace {

constexpr SANE_Int untouched = 77;

class listed_values : public option_device {
protected:
    // What the driver got with the last write.
    static std::string written()
    {
        const scripted::bytes data = scripted::writes().back().data;
        return {data.begin(), data.end()};
    }

    static SANE_Word written_word()
    {
        SANE_Word word = 0;
        std::memcpy(&word, written().data(), sizeof(word));
        return word;
    }

    // The driver rewrites what it is given, and says so.
    static void rewrite(const std::string &name, const std::string &value)
    {
        scripted::answer_write(name, 261, scripted::bytes(value.begin(), value.end()));
    }

    char *listed_text(int place) const { return const_cast<char *>(descriptor(1)->constraint.string_list[place]); }
    SANE_Word *listed_word(int place) const
    {
        return const_cast<SANE_Word *>(descriptor(1)->constraint.word_list) + place;
    }
};

} // namespace

TEST_F(listed_values, integer_is_not_the_drivers_to_change)
{
    open_with("number", R"({"type":"int","size":4,"title":"N","range":[100,200,300]})");
    rewrite("number", std::string("\x96\0\0\0", 4));
    SANE_Int info = untouched;
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, listed_word(2), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(*listed_word(0), 3);
    EXPECT_EQ(*listed_word(2), 200);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(1 - N) value: 200(Applied: 150)"}));
}

TEST_F(listed_values, real_is_not_written_back)
{
    open_with("real", R"({"type":"float","size":4,"title":"R","range":[0.5,1.5]})");
    const double applied = 2;
    rewrite("real", std::string(reinterpret_cast<const char *>(&applied), sizeof(applied)));
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, listed_word(2)), SANE_STATUS_GOOD);
    EXPECT_EQ(*listed_word(2), 98304);
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(1 - R) value: 1.500000(Applied: 2.000000)"}));
}

TEST_F(listed_values, bound_of_a_range_is_not_the_drivers_to_change)
{
    open_with("number", R"({"type":"int","size":4,"range":{"min":1,"max":9}})");
    rewrite("number", std::string("\x05\0\0\0", 4));
    auto *const range = const_cast<SANE_Range *>(descriptor(1)->constraint.range);
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, &range->max), SANE_STATUS_GOOD);
    EXPECT_EQ(range->min, 1);
    EXPECT_EQ(range->max, 9);
}

TEST_F(listed_values, last_number_of_a_list_has_the_room_that_the_driver_is_told)
{
    open_with("numbers", R"({"type":"int","size":12,"range":[100,200]})");
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, listed_word(2)), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::writes().back().length, 12);
    EXPECT_EQ(written(), std::string("\xC8\0\0\0\0\0\0\0\0\0\0\0", 12));
}

TEST_F(listed_values, end_of_a_listed_text_is_not_the_drivers_to_change)
{
    open_with("mode", R"({"type":"string","size":16,"range":["Gray","Color Gray"]})");
    rewrite("mode", std::string("Lineart\0", 8));
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, listed_text(1) + 6), SANE_STATUS_GOOD);
    EXPECT_EQ(written(), "Gray");
    EXPECT_STREQ(listed_text(1), "Color Gray");
}

TEST_F(listed_values, text_is_not_overwritten_with_the_default)
{
    open_with("mode", R"({"type":"string","size":24,"title":"M","range":["A","B"],"default":"a much longer default"})");
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, listed_text(1)), SANE_STATUS_GOOD);
    EXPECT_EQ(written(), "a much longer default");
    EXPECT_STREQ(listed_text(0), "A");
    EXPECT_STREQ(listed_text(1), "B");
    EXPECT_EQ(times_logged("Info: -->Set option(1 - M) value: a much longer default"), 1);
}

TEST_F(listed_values, number_is_not_overwritten_with_the_default)
{
    open_with("number", R"({"type":"int","size":4,"range":[100,200],"default":100})");
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, listed_word(2)), SANE_STATUS_GOOD);
    EXPECT_EQ(written_word(), 100);
    EXPECT_EQ(*listed_word(2), 200);
}

TEST_F(listed_values, number_beside_the_list_is_the_applications)
{
    open_with("number", R"({"type":"int","size":4,"range":[100,200]})");
    rewrite("number", std::string("\x96\0\0\0", 4));
    SANE_Word word = 200;
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 150);
}

TEST_F(listed_values, text_is_read_before_the_driver_is_called)
{
    scripted::set_translation(57, "Color");
    scripted::set_translation(58, "Gray");
    open_with("mode", R"({"type":"string","size":16,"range":["57.0","58.0"]})");
    scripted::on().get_status = [](void *, int) -> std::optional<int> {
        scripted::set_translation(58, "Grau");
        scripted::change_language(); // releases the list of before
        return std::nullopt;
    };
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, listed_text(1)), SANE_STATUS_GOOD);
    EXPECT_EQ(written(), "Gray");
    EXPECT_STREQ(listed_text(1), "Grau");
}
