// SPDX-License-Identifier: MIT
// The memory that a set lends to the driver: how much room there is, what the driver may change in it, and whose it is
// when the driver's answer makes the options load anew.
#include "guarded_memory.h"
#include "option_device.h"
#include "sane_ex.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstring>
#include <optional>
#include <string>

namespace {

constexpr SANE_Int untouched = 77;

class value_buffers : public option_device {
protected:
    // The bytes of the next write, all that the driver is told of.
    std::string lent_;

    void keep_next_write()
    {
        scripted::on().set_parameter = [this](void *, const void *, void *data, long *length) -> std::optional<int> {
            lent_.assign(static_cast<const char *>(data), static_cast<std::size_t>(*length));
            return std::nullopt;
        };
    }
};

scripted::bytes bytes_of(const std::string &text)
{
    return scripted::bytes(text.begin(), text.end());
}

} // namespace

// ----- automatic values -----

TEST_F(value_buffers, an_automatic_text_fills_the_options_size_with_zeros)
{
    open_samples();
    keep_next_write();
    EXPECT_EQ(control(4, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, "abc" + std::string(17, '\0'));
}

TEST_F(value_buffers, an_automatic_text_has_the_room_of_the_size_that_the_application_knows)
{
    open_with("text", R"({"type":"string","size":4,"default":"abc","range":["abc","a longer text"]})");
    ASSERT_EQ(descriptor(1)->size, 20); // 13 bytes and four, rounded up to a multiple of four
    keep_next_write();
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, "abc" + std::string(17, '\0'));
}

TEST_F(value_buffers, an_automatic_array_fills_the_options_size_with_zeros)
{
    open_with("gammas", R"({"type":"int","size":12,"default":7})");
    keep_next_write();
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, std::string("\7\0\0\0\0\0\0\0\0\0\0\0", 12));
}

TEST_F(value_buffers, an_automatic_text_may_be_adjusted_to_the_whole_size)
{
    open_samples();
    scripted::answer_write("text", 261, bytes_of(std::string(20, 'x')));
    EXPECT_EQ(control(4, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::log_lines().back(), "Info: -->Set option(4 - Text) value: abc(Applied: xxxxxxxxxxxxxxxxxxxx)");
}

// ----- texts that the driver adjusts -----

TEST_F(value_buffers, a_text_adjusted_to_its_last_byte_ends_there_in_the_log)
{
    open_samples();
    scripted::answer_write("text", 261, bytes_of(std::string(20, 'x')));
    const guarded_memory text = guarded_memory::of_text("hello", 20);
    SANE_Int info = untouched;
    EXPECT_EQ(control(4, SANE_ACTION_SET_VALUE, text.data(), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(text.bytes(), std::string(20, 'x'));
    EXPECT_EQ(scripted::log_lines(),
              (texts{"Info: -->Set option(4 - Text) value: hello(Applied: xxxxxxxxxxxxxxxxxxxx)"}));
}

// ----- texts out of the descriptor's own list -----

TEST_F(value_buffers, a_listed_text_is_not_the_drivers_to_change)
{
    open_with("mode", R"({"type":"string","size":16,"title":"Mode","range":["Gray","Color"]})");
    const SANE_String_Const *list = descriptor(1)->constraint.string_list;
    scripted::answer_write("mode", 261, bytes_of(std::string("Lineart\0", 8)));
    SANE_Int info = untouched;
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, const_cast<char *>(list[0]), &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_STREQ(list[0], "Gray");
    EXPECT_STREQ(list[1], "Color");
    EXPECT_EQ(scripted::log_lines(), (texts{"Info: -->Set option(1 - Mode) value: Gray(Applied: Lineart)"}));
}

TEST_F(value_buffers, a_listed_text_has_the_room_that_the_driver_is_told)
{
    open_with("mode", R"({"type":"string","size":16,"range":["Gray","Color"]})");
    keep_next_write();
    char *const last = const_cast<char *>(descriptor(1)->constraint.string_list[1]);
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, last), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, "Color" + std::string(11, '\0'));
}

TEST_F(value_buffers, a_listed_text_may_change_the_language)
{
    const char *const description = R"({"type":"string","size":16,"title":57,"range":["57.0","58.0"],"cur":"57.0"})";
    scripted::set_translation(57, "Deutsch");
    scripted::set_translation(58, "English");
    open_with("language", description);
    char *const english = const_cast<char *>(descriptor(1)->constraint.string_list[1]);
    ASSERT_STREQ(english, "English");
    scripted::on().set_parameter = [](void *, const void *, void *, long *) -> std::optional<int> {
        scripted::set_translation(57, "German");
        scripted::change_language();
        return 262;
    };
    SANE_Int info = untouched;
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, english, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(times_logged("Info: -->Set option(1 - Deutsch) value: English"), 1);
    EXPECT_STREQ(descriptor(1)->title, "German");
    EXPECT_STREQ(descriptor(1)->constraint.string_list[0], "German");
}

// ----- options that load anew within a write -----

TEST_F(value_buffers, a_language_may_change_within_the_write_of_any_option)
{
    scripted::set_option(1, "master", R"({"type":"bool","size":4,"title":"Master","cur":false})");
    scripted::set_option(2, "slave", R"({"type":"int","size":4,"depend_and":["master==true"]})");
    open_device();
    scripted::forget_record();
    scripted::on().set_parameter = [](void *, const void *, void *, long *) -> std::optional<int> {
        scripted::change_language();
        return 0;
    };
    SANE_Int info = untouched;
    EXPECT_EQ(set_word(1, 1, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_TRUE(is_active("slave"));
    EXPECT_EQ(times_logged("Info: -->Set option(1 - Master) value: true"), 1);
}

TEST_F(value_buffers, a_language_may_change_within_the_write_of_a_well_known_option)
{
    scripted::set_option(1, "page", R"({"type":"string","size":20,"cur":"双面"})");
    open_device();
    ASSERT_STREQ(descriptor(2)->name, "duplex");
    scripted::on().set_parameter = [](void *, const void *, void *data, long *) -> std::optional<int> {
        scripted::change_language();
        std::strcpy(static_cast<char *>(data), "单面");
        return 261;
    };
    SANE_Word word = 1;
    SANE_Int info = untouched;
    EXPECT_EQ(control(2, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 0);
    EXPECT_EQ(info, SANE_INFO_INEXACT);
    EXPECT_EQ(times_logged("Info: -->Set option(2 - ) value: true(Applied: false)"), 1);
}

TEST_F(value_buffers, a_language_may_change_within_the_notice_of_a_dependent_option)
{
    for (SANE_Int number = 2; number <= 5; ++number)
        scripted::set_option(number, "slave-" + std::string(1, static_cast<char>('a' + number)),
                             R"({"type":"int","size":4,"depend_and":["master==true"]})");
    scripted::set_option(1, "master", R"({"type":"bool","size":4,"cur":true})");
    open_device();
    scripted::on().control = [](void *, unsigned long, void *, unsigned int *) -> std::optional<int> {
        scripted::set_option(1, "master", R"({"type":"bool","size":4,"cur":false})");
        scripted::change_language();
        return 0;
    };
    SANE_Int info = untouched;
    EXPECT_EQ(set_word(1, 0, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    ASSERT_EQ(scripted::notices().size(), 1U); // the reload decided the others
    EXPECT_EQ(scripted::notices()[0].name, "slave-c");
    for (const char *slave : {"slave-c", "slave-d", "slave-e", "slave-f"})
        EXPECT_FALSE(is_active(slave)) << slave;
}

// ----- a text that grew since the application asked for its size -----

TEST_F(value_buffers, a_text_is_padded_no_further_than_the_application_was_told)
{
    open_with("text", R"({"type":"string","size":8,"cur":"abc"})");
    scripted::set_option(1, "text", R"({"type":"string","size":64,"cur":"abc"})");
    const guarded_memory buffer(8, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer.bytes(), std::string("abc\0\0\0\0\0", 8));
}

TEST_F(value_buffers, a_default_is_not_padded_at_all)
{
    open_with("text", R"({"type":"string","size":8,"default":"abc"})");
    scripted::set_option(1, "text", R"({"type":"string","size":64,"default":"abc"})");
    const guarded_memory buffer(8, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_DEFAULT, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer.bytes(), std::string("abc\0ZZZZ", 8));
}

TEST_F(value_buffers, a_driver_is_told_the_size_that_the_application_was_told)
{
    open_with("text", R"({"type":"string","size":8,"default":"abc"})");
    scripted::set_option(1, "text", R"({"type":"string","size":64,"default":"abc"})");
    keep_next_write();
    EXPECT_EQ(set_text(1, "ab"), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, std::string("ab\0\0\0\0\0\0", 8));
    const guarded_memory buffer(8, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(lent_, std::string("abc\0ZZZZ", 8));
}

// ----- a text that is longer than its size: it is delivered whole, and who knows such a driver gives it room -----

TEST_F(value_buffers, a_text_longer_than_its_size_ends_with_its_terminator)
{
    open_with("text", R"({"type":"string","size":4,"cur":"abcdef","default":"abcdefgh"})");
    ASSERT_EQ(descriptor(1)->size, 4);
    const guarded_memory current(7, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, current.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(current.text(), "abcdef");
    const guarded_memory by_default(9, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_DEFAULT, by_default.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(by_default.text(), "abcdefgh");
    EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, by_default.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(by_default.text(), "abcdefgh");
}

TEST_F(value_buffers, a_text_that_grows_before_it_is_read_is_padded_as_the_application_was_told)
{
    open_with("text", R"({"type":"string","size":8,"cur":"abc"})");
    scripted::on().get_status = [](void *, int) -> std::optional<int> {
        scripted::set_option(1, "text", R"({"type":"string","size":64,"cur":"abc"})");
        scripted::change_language();
        return std::nullopt;
    };
    std::string buffer(12, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer, std::string("abc\0\0\0\0\0ZZZZ", 12));
}

TEST_F(value_buffers, a_text_that_is_longer_than_its_size_is_delivered_whole_and_named_in_the_log)
{
    open_with("text", R"({"type":"string","size":4,"title":"T","cur":"abcd"})");
    std::string buffer(8, 'Z');
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(buffer, std::string("abcd\0ZZZ", 8));
    EXPECT_EQ(times_logged("Warn: The driver's text for option 'text' takes 5 bytes, its size is 4."), 1);

    scripted::set_option(1, "text", R"({"type":"string","size":4,"title":"T","cur":"abc"})");
    EXPECT_EQ(control(1, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(times_logged("Warn: The driver's text for option 'text' takes 4 bytes, its size is 4."), 0);
}

TEST_F(value_buffers, a_set_tells_the_driver_no_more_room_than_the_application_was_told)
{
    open_with("text", R"({"type":"string","size":8,"cur":"abc","range":["abc","de"]})");
    scripted::on().get_status = [](void *, int) -> std::optional<int> {
        scripted::set_option(1, "text", R"({"type":"string","size":4096,"cur":"abc","range":["abc","de"]})");
        scripted::change_language();
        return std::nullopt;
    };
    const guarded_memory own = guarded_memory::of_text("fg", 8);
    EXPECT_EQ(control(1, SANE_ACTION_SET_VALUE, own.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::writes().back().length, 8);
}

TEST_F(value_buffers, a_key_that_the_table_does_not_have_keeps_to_the_size_of_the_option_behind_it)
{
    scripted::set_option(1, "text", R"({"type":"string","size":8,"fix-id":35000,"cur":"abc"})");
    open_device();
    scripted::set_option(1, "text", R"({"type":"string","size":64,"fix-id":35000,"cur":"abc"})");
    scripted::set_option_id(35001, 1); // the driver's own name for it
    std::string buffer(12, 'Z');
    const void *const key = reinterpret_cast<const void *>(35001);
    EXPECT_EQ(sane_pelsane_control_option_ex(handle_, key, SANE_ACTION_GET_VALUE, buffer.data(), nullptr),
              SANE_STATUS_GOOD);
    EXPECT_EQ(buffer, std::string("abc\0\0\0\0\0ZZZZ", 12));
}

// ----- a default that only the well-known options have -----

TEST_F(value_buffers, an_automatic_value_of_the_mappers_is_its_default)
{
    scripted::set_option(1, "page", R"({"type":"string","size":20,"cur":"双面"})");
    scripted::set_option(2, "paper", R"({"type":"string","size":20,"cur":"A4"})");
    scripted::set_option(5, "odd", R"({"type":"int","size":4,"cur":1,"default":1})"); // the number of "page-height"
    scripted::set_option_count(3);
    open_device();
    ASSERT_STREQ(descriptor(5)->name, "odd");
    scripted::answer("kx_scanner_get_parameter", 269, 1);
    EXPECT_EQ(control(5, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
    ASSERT_EQ(scripted::writes().size(), 1U);
    EXPECT_EQ(scripted::writes()[0].option, "paper");
    EXPECT_EQ(times_logged("Debug: match paper(0 * 297) to 'A5'"), 1);
}
