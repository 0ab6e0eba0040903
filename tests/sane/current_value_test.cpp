// SPDX-License-Identifier: MIT
// Reading what an option holds: the driver's "cur" in SANE form, and the driver's information items.
#include "guarded_memory.h"
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace {

constexpr char filler = '\x5A';

class current_value : public option_device {
protected:
    // A read into a buffer of filler bytes that ends with its room, and what it then holds.
    std::string read(SANE_Int number, std::size_t room, int expected = SANE_STATUS_GOOD)
    {
        const guarded_memory buffer(static_cast<long>(room), filler);
        EXPECT_EQ(control(number, SANE_ACTION_GET_VALUE, buffer.data()), expected);
        return buffer.bytes();
    }

    SANE_Word read_word(SANE_Int number)
    {
        const guarded_memory word = guarded_memory::of_word(0);
        EXPECT_EQ(control(number, SANE_ACTION_GET_VALUE, word.data()), SANE_STATUS_GOOD);
        return word.word();
    }
};

std::string key_in_log(const char *name)
{
    return std::to_string(static_cast<int>(reinterpret_cast<std::intptr_t>(name)));
}

} // namespace

// ----- options -----

TEST_F(current_value, words_are_read_by_type)
{
    struct {
        const char *description;
        SANE_Word word;
        const char *log;
    } const cases[] = {
        {R"({"type":"int","cur":300})", 300, "300"},
        {R"({"type":"int","cur":-7.9})", -7, "-7"},
        {R"({"type":"int","cur":"300"})", 0, "0"},
        {R"({"type":"int"})", 0, "0"},
        {R"({"type":"int","cur":3e9})", INT_MAX, "2147483647"},
        {R"({"type":"bool","cur":true})", 1, "true"},
        {R"({"type":"bool","cur":false})", 0, "false"},
        {R"({"type":"bool","cur":1})", 0, "false"},
        {R"({"type":"bool"})", 0, "false"},
        {R"({"type":"float","cur":1.5})", 98304, "1.500000"},
        {R"({"type":"float","cur":-2})", -131072, "-2.000000"},
        {R"({"type":"float","cur":2.99999999})", 196607, "2.999985"},
        {R"({"type":"float","cur":1e9})", INT_MAX, "32767.999985"},
        {R"({"type":"float","cur":"1.5"})", 0, "0.000000"},
        {R"({"type":"float"})", 0, "0.000000"},
    };
    scripted::set_option(1, "opt", R"({"type":"int","size":4})");
    open_device();
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", std::string(R"({"title":"Title",)") + (c.description + 1));
        scripted::forget_record();
        EXPECT_EQ(read_word(1), c.word) << c.description;
        EXPECT_EQ(scripted::log_lines(), (texts{std::string("Debug: <--Get option(1 - Title) value: ") + c.log}))
            << c.description;
    }
}

TEST_F(current_value, texts_fill_the_options_size)
{
    struct {
        const char *description;
        std::string bytes;
    } const cases[] = {
        {R"({"type":"string","size":64,"cur":"abc"})", "abc" + std::string(61, '\0')},
        {R"({"type":"string","size":2,"cur":"abcdef"})", std::string("abcdef\0", 7)},
        {R"({"type":"string","size":6,"cur":"abcdef"})", std::string("abcdef\0", 7)},
        {R"({"type":"string","size":7,"cur":"abcdef"})", std::string("abcdef\0", 7)},
        {R"({"type":"string","size":8,"cur":"abcdef"})", std::string("abcdef\0\0", 8)},
        {R"({"type":"string","cur":"abc"})", std::string("abc\0", 4)},
        {R"({"type":"string","size":-5,"cur":"abc"})", std::string("abc\0", 4)},
        {R"({"type":"string","size":-2147483648,"cur":"abc"})", std::string("abc\0", 4)},
        {R"({"type":"string","size":3})", std::string(3, '\0')},
        {R"({"type":"string"})", std::string(1, '\0')},
        {R"({"type":"string","size":3,"cur":57})", std::string(3, '\0')},
        {R"({"type":"string","size":4,"cur":"57.0"})", std::string("57.0\0", 5)}, // not translated for the application
        {R"({"type":"whatever","size":4,"cur":"ab"})", std::string("ab\0\0", 4)},
    };
    scripted::set_option(1, "opt", R"({"type":"string","size":64})");
    open_device();
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", c.description);
        EXPECT_EQ(read(1, c.bytes.size()), c.bytes) << c.description; // with the room of a text that exceeds its size
    }
}

TEST_F(current_value, a_read_is_one_fetch_and_one_log_line)
{
    open_with("opt", R"({"type":"string","size":8,"title":"The Title","cur":"abc"})");
    read(1, 8);
    EXPECT_EQ(scripted::record(),
              (texts{"kx_scanner_get_status(0x100000002,0)", "kx_scanner_get_parameter(0x100000002,1,buffer,1024,null)",
                     "Debug: <--Get option(1 - The Title) value: abc"}));
}

TEST_F(current_value, titles_in_the_log_are_translated)
{
    scripted::set_translation(57, "Resolution");
    open_with("opt", R"({"type":"int","size":4,"title":57,"cur":300})");
    read_word(1);
    EXPECT_EQ(times_logged("Debug: <--Get option(1 - Resolution) value: 300"), 1);
}

TEST_F(current_value, reads_by_name_and_by_identifier)
{
    open_with("mode", R"({"type":"int","size":4,"title":"T","cur":7})");
    const char *name = "mode";
    SANE_Word word = 0;
    EXPECT_EQ(control(name, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 7);
    EXPECT_EQ(times_logged("Debug: <--Get option(" + key_in_log(name) + " - T) value: 7"), 1);
    word = 0;
    EXPECT_EQ(control(34819, SANE_ACTION_GET_VALUE, &word), SANE_STATUS_GOOD);
    EXPECT_EQ(word, 7);
    EXPECT_EQ(times_logged("Debug: <--Get option(34819 - T) value: 7"), 1);
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter"),
              (texts{"kx_scanner_get_parameter(0x100000002,mode,buffer,1024,null)",
                     "kx_scanner_get_parameter(0x100000002,34819,buffer,1024,null)"}));
}

TEST_F(current_value, an_option_needs_no_place_in_the_table)
{
    open_with("opt", R"({"type":"int","size":4})");
    scripted::set_option(9, "late", R"({"type":"int","size":4,"cur":11})");
    EXPECT_EQ(read_word(9), 11);
}

TEST_F(current_value, what_cannot_be_read_is_an_io_error)
{
    open_with("opt", R"({"type":"string","size":4,"cur":"abc"})");
    for (const char *description : {"{", "{}", R"({"cur":5})", R"({"type":1,"cur":5})", "", "[]"}) {
        scripted::set_option(1, "opt", description);
        EXPECT_EQ(read(1, 4, SANE_STATUS_IO_ERROR), std::string(4, filler)) << description;
    }
    scripted::remove_option(1);
    EXPECT_EQ(read(1, 4, SANE_STATUS_IO_ERROR), std::string(4, filler));
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(current_value, a_driver_that_refuses_is_an_io_error)
{
    open_with("opt", R"({"type":"int","size":4,"cur":5})");
    for (const int code : {256, 259, 262, 269, 0xDE02}) {
        scripted::answer("kx_scanner_get_parameter", code, 1);
        EXPECT_EQ(read(1, 4, SANE_STATUS_IO_ERROR), std::string(4, filler)) << code;
    }
}

TEST_F(current_value, reading_a_master_does_not_switch_its_dependents)
{
    scripted::set_option(1, "slave", R"({"type":"int","size":4,"depend_and":["master==true"]})");
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":true})");
    open_device();
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":false})");
    EXPECT_EQ(read_word(2), 0);
    EXPECT_TRUE(is_active("slave"));
    EXPECT_TRUE(scripted::notices().empty());
}

TEST_F(current_value, reading_a_master_refreshes_what_conditions_are_tested_against)
{
    scripted::set_option(1, "slave", R"({"type":"int","size":4,"depend_and":["trigger!=x","master==true"]})");
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":true})");
    scripted::set_option(3, "trigger", R"({"type":"string","size":4,"cur":"a"})");
    open_device();
    EXPECT_TRUE(is_active("slave"));
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":false})");
    read_word(2);
    set_text(3, "b");
    EXPECT_FALSE(is_active("slave"));
}

// ----- information items -----

TEST_F(current_value, information_items_are_read_under_their_names)
{
    struct {
        int id;
        const char *name;
        int length;
    } const items[] = {
        {34889, "total-cnt", 4},
        {34890, "drv-ver", 255},
        {34891, "company", 255},
        {34892, "copyright", 255},
        {34893, "co-url", 255},
        {34894, "co-tel", 255},
        {34895, "co-addr", 255},
        {34896, "co-gps", 255},
        {34897, "help", 4},
        {34898, "dev-vid", 4},
        {34899, "dev-pid", 4},
        {34900, "dev-name", 255},
        {34901, "dev-model", 255},
        {34902, "dev-sn", 255},
        {34903, "fmw-ver", 255},
        {34904, "ip-addr", 255},
        {34905, "mac-addr", 255},
        {34906, "custom-gamma", 1312},
        {34907, "roller-life", 4},
        {34909, "motor-ver", 255},
        {34910, "trans-img-fmt", 80},
        {34911, "free-buf", 8},
        {34918, "initial-boot-time", 255},
        {34925, "json-device-type", 255},
        {34926, "button-count", 4},
        {34927, "original-image", 1},
        {34928, "upload-file", 255},
        {39168, "login", 255},
        {39169, "logout", 255},
        {39170, "roll-cnt", 4},
        {39172, "devs-log", 255},
    };
    open_device();
    for (const auto &item : items) {
        const auto length = static_cast<std::size_t>(item.length);
        scripted::set_information(item.name, scripted::bytes(length, 'v'));
        scripted::forget_record();
        EXPECT_EQ(read(item.id, length), std::string(length, 'v')) << item.name;
        EXPECT_EQ(scripted::record(), (texts{"kx_scanner_get_status(0x100000002,0)",
                                             std::string("kx_scanner_get_parameter(0x100000002,") + item.name +
                                                 ",buffer," + std::to_string(item.length) + ",null)"}))
            << item.name;
    }
}

TEST_F(current_value, an_information_item_delivers_what_the_driver_has)
{
    open_device();
    scripted::set_information("dev-sn", std::string("SN1"));
    EXPECT_EQ(read(34902, 255), "SN1" + std::string(252, filler));
}

TEST_F(current_value, the_callers_bytes_reach_the_driver)
{
    open_device();
    std::string seen;
    scripted::on().get_parameter = [&seen](void *, const void *, void *data, long *length, int *) {
        seen.assign(static_cast<const char *>(data), static_cast<std::size_t>(*length) + 1);
        std::memcpy(data, "answer", 6);
        *length = 6;
        return std::optional<int>(0);
    };
    const guarded_memory buffer(255, 'q');
    EXPECT_EQ(control(39168, SANE_ACTION_GET_VALUE, buffer.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(seen, std::string(255, 'q') + std::string(1, '\0'));
    EXPECT_EQ(buffer.bytes(), "answer" + std::string(249, 'q'));
}

TEST_F(current_value, an_information_item_that_is_refused_is_an_io_error)
{
    open_device();
    EXPECT_EQ(read(34902, 255, SANE_STATUS_IO_ERROR), std::string(255, filler));
    scripted::set_information("dev-sn", std::string("SN1"));
    for (const int code : {256, 258, 259, 261, 269}) {
        scripted::answer("kx_scanner_get_parameter", code, 1);
        EXPECT_EQ(read(34902, 255, SANE_STATUS_IO_ERROR), std::string(255, filler)) << code;
    }
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(current_value, an_information_length_beyond_its_buffer_is_cut)
{
    open_device();
    for (const long told : {5L, static_cast<long>(INT_MAX), LONG_MAX}) {
        scripted::on().get_parameter = [told](void *, const void *, void *data, long *length, int *) {
            std::memcpy(data, "1234", 4);
            *length = told;
            return std::optional<int>(0);
        };
        EXPECT_EQ(read(34889, 4), "1234") << told;
    }
}

TEST_F(current_value, a_negative_information_length_is_an_io_error)
{
    open_device();
    for (const long told : {-1L, LONG_MIN}) {
        scripted::on().get_parameter = [told](void *, const void *, void *, long *length, int *) {
            *length = told;
            return std::optional<int>(0);
        };
        EXPECT_EQ(read(34889, 4, SANE_STATUS_IO_ERROR), std::string(4, filler)) << told;
    }
}

TEST_F(current_value, the_language_option_is_no_information_item)
{
    open_with("language", R"({"type":"int","size":4,"cur":3})");
    EXPECT_EQ(read_word(34908), 3);
}
