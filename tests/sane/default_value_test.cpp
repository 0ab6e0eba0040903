// SPDX-License-Identifier: MIT
// Reading an option's default (action 100) and its well-known identifier (action 101).
#include "guarded_memory.h"
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <string>

namespace {

constexpr int get_default = 100;
constexpr int get_identifier = 101;
constexpr char filler = '\x5A';

class default_value : public option_device {
protected:
    // A default of so many bytes, in a buffer that has no more.
    std::string read(SANE_Int number, std::size_t room)
    {
        const guarded_memory buffer(static_cast<long>(room), filler);
        EXPECT_EQ(control(number, get_default, buffer.data()), SANE_STATUS_GOOD);
        return buffer.bytes();
    }

    // Of which not a byte is touched.
    void expect_none(SANE_Int number, const char *context = "")
    {
        const guarded_memory buffer(0);
        EXPECT_EQ(control(number, get_default, buffer.data()), SANE_STATUS_UNSUPPORTED) << number << context;
    }
};

std::string word_bytes(SANE_Word word)
{
    return std::string(reinterpret_cast<const char *>(&word), sizeof(word));
}

} // namespace

// ----- defaults -----

TEST_F(default_value, is_delivered_by_type)
{
    struct {
        const char *description;
        std::string bytes;
    } const cases[] = {
        {R"({"type":"bool","default":true})", word_bytes(1)},
        {R"({"type":"bool","default":false})", word_bytes(0)},
        {R"({"type":"bool","default":1})", word_bytes(0)},
        {R"({"type":"bool"})", word_bytes(0)},
        {R"({"type":"int","default":-300})", word_bytes(-300)},
        {R"({"type":"int","default":"300"})", word_bytes(0)},
        {R"({"type":"int"})", word_bytes(0)},
        {R"({"type":"float","default":1.5})", word_bytes(98304)},
        {R"({"type":"float","default":-1e9})", word_bytes(INT_MIN)},
        {R"({"type":"float"})", word_bytes(0)},
        {R"({"type":"string","size":20,"default":"A4"})", std::string("A4\0", 3)},
        {R"({"type":"string","size":2,"default":"abcdef"})", std::string("abcdef\0", 7)},
        {R"({"type":"string","size":-9,"default":"abcdef"})", std::string("abcdef\0", 7)},
        {R"({"type":"string","size":2147483647,"default":"ab"})", std::string("ab\0", 3)},
        {R"({"type":"string","default":57})", std::string(1, '\0')},
        {R"({"type":"string"})", std::string(1, '\0')},
    };
    scripted::set_option(1, "opt", R"({"type":"int","size":4})");
    open_device();
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", c.description);
        scripted::forget_record();
        EXPECT_EQ(read(1, c.bytes.size()), c.bytes) << c.description;
        EXPECT_TRUE(scripted::log_lines().empty()) << c.description;
    }
}

TEST_F(default_value, leaves_the_info_word_alone)
{
    open_with("opt", R"({"type":"int","size":4,"default":7})");
    SANE_Int info = 77;
    SANE_Word word = 0;
    EXPECT_EQ(control(1, get_default, &word, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 7);
    EXPECT_EQ(info, 77);
    EXPECT_EQ(control(1, get_identifier, &word, &info), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(info, 77);
}

TEST_F(default_value, a_null_value_is_invalid)
{
    open_with("mode", R"({"type":"int","size":4,"default":7})");
    EXPECT_EQ(control(1, get_default, nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(control(1, get_identifier, nullptr), SANE_STATUS_INVAL);
}

TEST_F(default_value, buttons_and_groups_have_none)
{
    scripted::set_option(1, "press", R"({"type":"button","default":true})");
    scripted::set_option(2, "heading", R"({"type":"group","default":true})");
    open_device();
    scripted::forget_record();
    expect_none(1);
    expect_none(2);
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(default_value, a_type_without_values_is_logged)
{
    scripted::set_option(1, "odd", R"({"type":"matrix","title":"Odd","default":1})");
    open_listening_device();
    scripted::forget_record();
    expect_none(1);
    EXPECT_EQ(scripted::log_lines(), (texts{"Debug: option 1(Odd) is 'matrix' and no value action."}));
}

TEST_F(default_value, an_option_that_cannot_be_fetched_has_none)
{
    open_with("opt", R"({"type":"int","size":4,"default":7})");
    for (const char *description : {"{", "{}", R"({"default":7})"}) {
        scripted::set_option(1, "opt", description);
        expect_none(1, description);
    }
    scripted::answer("kx_scanner_get_parameter", 269);
    expect_none(1);
    expect_none(5);
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(default_value, is_read_by_name_too)
{
    open_with("opt", R"({"type":"int","size":4,"default":7})");
    SANE_Word word = 0;
    EXPECT_EQ(control("opt", get_default, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 7);
}

TEST_F(default_value, information_items_have_none)
{
    open_with("opt", R"({"type":"int","size":4})");
    scripted::set_information("dev-sn", std::string("SN1"));
    expect_none(34902);
}

// ----- identifiers -----

TEST_F(default_value, identifiers_are_told_above_34816_only)
{
    scripted::set_option(1, "mode", R"({"type":"int","size":4})");
    scripted::set_option(2, "odd", R"({"type":"int","size":4,"fix-id":34817})");
    scripted::set_option(3, "edge", R"({"type":"int","size":4,"fix-id":34816})");
    scripted::set_option(4, "low", R"({"type":"int","size":4,"fix-id":5})");
    scripted::set_option(5, "below", R"({"type":"int","size":4,"fix-id":-1})");
    scripted::set_option(6, "none", R"({"type":"int","size":4})");
    scripted::set_option(7, "tl-x", R"({"type":"button"})");
    open_device();
    scripted::forget_record();
    const SANE_Word expected[] = {34819, 34817, 0, 0, 0, 0, 34833};
    for (SANE_Int number = 1; number <= 7; ++number) {
        const SANE_Word id = expected[number - 1];
        SANE_Word word = -7;
        EXPECT_EQ(control(number, get_identifier, &word), id != 0 ? SANE_STATUS_GOOD : SANE_STATUS_UNSUPPORTED)
            << number;
        EXPECT_EQ(word, id != 0 ? id : -7) << number;
    }
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty());
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(default_value, an_unknown_option_has_no_identifier)
{
    open_with("mode", R"({"type":"int","size":4})");
    SANE_Word word = -7;
    EXPECT_EQ(control(5, get_identifier, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(control("nothing", get_identifier, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(control(34902, get_identifier, &word), SANE_STATUS_UNSUPPORTED);
    EXPECT_EQ(word, -7);
}

TEST_F(default_value, identifiers_are_told_by_name_and_by_identifier)
{
    open_with("mode", R"({"type":"int","size":4})");
    SANE_Word word = 0;
    EXPECT_EQ(control("mode", get_identifier, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 34819);
    word = 0;
    EXPECT_EQ(control(34819, get_identifier, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 34819);
}
