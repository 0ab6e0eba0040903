// SPDX-License-Identifier: MIT
// Profiles: another device in a file, and files with mistakes, each of which is named with its place.
#include "driver_fixture.h"
#include "foreign_locale.h"
#include "kx_scanner.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace driver_test {

class driver_profile : public ::testing::Test {
protected:
    // A profile around the options given.
    static std::string with_options(const std::string &options)
    {
        return R"({"device": {"name": "test:one", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
                   "papers": {"A4": {"width": 210, "height": 297}}, "information": {}, "options": [)" +
               options + "]}";
    }

    // The same without options, and with a key and its value.
    static std::string with_key(const std::string &key, const std::string &value)
    {
        std::string text = with_options("");
        return text.insert(1, '"' + key + "\": " + value + ", ");
    }

    // What the driver logs about a profile that it cannot use, without the file's name.
    std::string complaint_about(const std::string &text) const
    {
        const std::string path = write_file(folder_.file("profile.json"), text);
        const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
        return complaint(path);
    }

    bool is_used(const std::string &text) const
    {
        const std::string path = write_file(folder_.file("profile.json"), text);
        const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
        _device record{};
        int count = 1;
        EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        const int code = kx_scanner_enum(&record, &count, 1);
        EXPECT_EQ(0, kx_scanner_uninitialize());
        return code == 0 && count == 1;
    }

    static std::string complaint(const std::string &path)
    {
        const captured_log log;
        void *handle = nullptr;
        int count = 1;
        _device record{};
        EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        EXPECT_EQ(256, kx_scanner_enum(&record, &count, 1));
        EXPECT_EQ(256, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(0, kx_scanner_uninitialize());
        const std::string start = "The scanner's profile cannot be used: " + path + ": ";
        const std::string all = log.text();
        const auto found = all.find(start);
        EXPECT_NE(std::string::npos, found) << all;
        return found == std::string::npos
                   ? ""
                   : all.substr(found + start.size(), all.find('\n', found) - found - start.size());
    }

    temporary_folder folder_;
};

TEST_F(driver_profile, may_describe_another_device)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "speed", "type": "int", "title": 1, "desc": 2, "range": [1, 2], "default": 2, "fix-id": 35000},
        {"name": "left-out", "type": "bool", "title": 1, "desc": 2, "default": true, "depend_or": "speed==1"})"));
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    _device record{};
    int count = 1;
    EXPECT_EQ(0, kx_scanner_enum(&record, &count, 0));
    EXPECT_STREQ("test:one", record.name);
    {
        scanner device;
        EXPECT_EQ(3, device.count());
        EXPECT_EQ("\"speed\" : {\"type\":\"int\",\"title\":1,\"desc\":2,\"size\":4,\"range\":[1,2],\"auto\":true,"
                  "\"readonly\":false,\"cat\":\"base\",\"enable\":true,\"fix-id\":35000,\"default\":2,\"cur\":2}",
                  device.text(key(35000)));
        EXPECT_FALSE(device.is_enabled("left-out"));
        EXPECT_EQ(1654, device.parameters().pixels_per_line); // A4 in colour at 200 dpi without any option for it
        EXPECT_EQ(3U, device.scan_all().size());
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST_F(driver_profile, has_its_fractions_in_every_locale)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "gamma", "type": "float", "title": 1, "desc": 2, "range": {"min": 0.25, "max": 9.5, "step": 0.75},
         "default": 2.5})"));
    for (const char *const language : {"de_DE", "ps_AF"}) {
        const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
        std::string text;
        {
            foreign_locale locale(language);
            locale.install();
            ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
            text = scanner("test:one").text("gamma");
            EXPECT_EQ(locale.name(), std::setlocale(LC_ALL, nullptr)) << language;
        }
        const auto option = json::parse("{" + text + "}").at("gamma");
        EXPECT_EQ(0.25, option.at("range").at("min")) << language;
        EXPECT_EQ(9.5, option.at("range").at("max")) << language;
        EXPECT_EQ(0.75, option.at("range").at("step")) << language;
        EXPECT_EQ(2.5, option.at("cur")) << language;
        EXPECT_EQ(0, kx_scanner_uninitialize());
    }
}

TEST_F(driver_profile, without_sizes_tells_those_of_the_longest_words_in_all_languages)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "page", "type": "string", "title": 1, "desc": 2, "range": ["单面", "双面"], "default": "双面"},
        {"name": "own", "type": "string", "title": 1, "desc": 2, "range": ["双面", "six bytes more"], "default": "双面"},
        {"name": "wide", "type": "string", "title": 1, "desc": 2, "range": ["单面"], "size": 80, "default": "单面"},
        {"name": "free", "type": "string", "title": 1, "desc": 2, "default": "双面"},
        {"name": "id", "type": "string", "title": 1, "desc": 2, "range": ["1012.", "2.0"], "default": "2.0"},
        {"name": "fraction", "type": "string", "title": 1, "desc": 2, "range": ["1012.5"], "default": "1012.5"},
        {"name": "more", "type": "string", "title": 1, "desc": 2, "range": ["1012x.0"], "default": "1012x.0"},
        {"name": "whole", "type": "string", "title": 1, "desc": 2, "range": ["1012"], "default": "1012"})"));
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    for (const char *language : {"zh", "en"}) {
        ASSERT_EQ(0, langkit_set_language(language));
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        {
            scanner device;
            EXPECT_EQ(14, device.option("page")["size"]); // "Both sides"
            EXPECT_EQ(18, device.option("own")["size"]);
            EXPECT_EQ(80, device.option("wide")["size"]);
            EXPECT_EQ(10, device.option("free")["size"]); // the user's own text, which is no word
            EXPECT_EQ(16, device.option("id")["size"]);   // the word 1012 is "纸张尺寸", and "Paper size" in English
            EXPECT_EQ(10, device.option("fraction")["size"]); // no number of a word
            EXPECT_EQ(11, device.option("more")["size"]);
            EXPECT_EQ(8, device.option("whole")["size"]);
        }
        EXPECT_EQ(0, kx_scanner_uninitialize());
    }
    langkit_set_language("en");
}

TEST_F(driver_profile, answers_that_options_changed_for_a_word_shown_as_another_whatever_it_says)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "none", "type": "string", "title": 1, "desc": 2, "range": ["双面"], "default": "双面", "answers": 0},
        {"name": "image", "type": "string", "title": 1, "desc": 2, "range": ["双面"], "default": "双面", "answers": 277},
        {"name": "both", "type": "string", "title": 1, "desc": 2, "range": ["双面"], "default": "双面", "image": true}
        )"));
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        EXPECT_EQ(0, device.set("none", "Both sides"));
        EXPECT_EQ(262, device.set("none", "双面"));
        EXPECT_EQ(277, device.set("image", "Both sides"));
        EXPECT_EQ(278, device.set("image", "双面"));
        EXPECT_EQ(277, device.set("both", "Both sides"));
        EXPECT_EQ(278, device.set("both", "双面"));
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST_F(driver_profile, may_have_the_smallest_sheets_and_the_lowest_resolution)
{
    const std::string path = write_file(folder_.file("profile.json"), R"({
        "device": {"name": "test:small", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
        "papers": {"Tiny": {"width": 10, "height": 10}}, "information": {}, "options": [
        {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["Tiny"], "default": "Tiny", "means": "paper"},
        {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [25], "default": 25,
         "means": "resolution"}]})");
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        EXPECT_EQ(10, device.parameters().pixels_per_line);
        EXPECT_EQ(3U, device.scan_all().size());
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST_F(driver_profile, may_have_steps_of_any_size)
{
    const std::string path = write_file(folder_.file("profile.json"), R"({
        "device": {"name": "fine", "vendor": "v", "model": "m", "type": "t"}, "papers": {}, "information": {},
        "options": [{"name": "fine", "type": "float", "title": 1, "desc": 2, "default": 0.0,
                     "range": {"min": 0.0, "max": 1.0, "step": 1e-320}}]})");
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        EXPECT_EQ(261, device.set("fine", 0.25));
        EXPECT_EQ(1.0, device.option("fine").at("cur"));
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST_F(driver_profile, keeps_the_fields_of_a_device_within_255_bytes)
{
    const char *const fields[] = {"name", "vendor", "model", "type"};
    const auto with = [&](const std::string &field, std::size_t bytes) {
        json profile = json::parse(with_options(""));
        profile["device"][field] = std::string(bytes, 'x');
        return profile.dump();
    };
    for (const char *field : fields) {
        for (const std::size_t bytes : {1U, 255U})
            EXPECT_TRUE(is_used(with(field, bytes))) << field << ' ' << bytes;
        for (const std::size_t bytes : {0U, 256U})
            EXPECT_EQ("/device/" + std::string(field) + ": 1 to 255 bytes are expected",
                      complaint_about(with(field, bytes)))
                << field << ' ' << bytes;
    }
}

TEST_F(driver_profile, has_sheets_of_10_to_1000_mm)
{
    for (const char *side : {"width", "height"}) {
        const auto with = [&](double millimetres) {
            json profile = json::parse(with_options(""));
            profile["papers"]["A4"][side] = millimetres;
            return profile.dump();
        };
        for (const double millimetres : {10.0, 1000.0})
            EXPECT_TRUE(is_used(with(millimetres))) << side << ' ' << millimetres;
        for (const double millimetres : {9.99, 1000.01})
            EXPECT_EQ("/papers/A4: a sheet measures 10 to 1000 mm each way", complaint_about(with(millimetres)))
                << side << ' ' << millimetres;
    }
}

TEST_F(driver_profile, keeps_the_bounds_of_how_a_device_behaves)
{
    const struct {
        const char *key;
        const char *before;
        const char *least;
        const char *most;
        const char *less; // than the least
        const char *more; // than the most
        const char *after;
        const char *complaint;
    } cases[] = {
        {"pages_per_minute", "", "0.01", "100000", "0.0099", "100000.1", "",
         "/pages_per_minute: a speed is 0.01 to 100000 pages per minute"},
        {"feeder", R"({"sheets": )", "0", "1000", "-1", "1001", "}", "/feeder/sheets: the number is out of bounds"},
    };
    for (const auto &each : cases) {
        const auto with = [&](const std::string &number) {
            return with_key(each.key, each.before + number + each.after);
        };
        for (const char *number : {each.least, each.most})
            EXPECT_TRUE(is_used(with(number))) << each.key << ' ' << number;
        for (const char *number : {each.less, each.more})
            EXPECT_EQ(each.complaint, complaint_about(with(number))) << each.key << ' ' << number;
    }
}

TEST_F(driver_profile, has_colours_of_six_digits)
{
    for (const char *color : {"#000000", "#ffffff", "#FFcc09"})
        EXPECT_TRUE(is_used(with_key("feeder", R"({"source": {"color": ")" + std::string(color) + "\"}}"))) << color;
    for (const char *color : {"", "#", "#fffff", "#fffffff", "ffffff", "0000000", "#ffffg0", "#-fffff", "# fffff"})
        EXPECT_EQ("/feeder/source/color: a colour is written as \"#ffcc00\"",
                  complaint_about(with_key("feeder", R"({"source": {"color": ")" + std::string(color) + "\"}}")))
            << color;
}

TEST_F(driver_profile, has_steps_from_the_least_to_no_more_than_the_most)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "uneven", "type": "int", "title": 1, "desc": 2, "default": 0,
         "range": {"min": 0, "max": 11, "step": 4}},
        {"name": "even", "type": "int", "title": 1, "desc": 2, "default": 1,
         "range": {"min": 1, "max": 9, "step": 4}})"));
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        const struct {
            const char *name;
            int wanted;
            int taken;
        } cases[] = {
            {"uneven", -1, 0}, {"uneven", 2, 0},  {"uneven", 3, 4}, {"uneven", 9, 8},
            {"uneven", 11, 8}, {"uneven", 99, 8}, {"even", 0, 1},   {"even", 3, 1},
            {"even", 4, 5},    {"even", 8, 9},    {"even", 10, 9},
        };
        for (const auto &each : cases) {
            EXPECT_EQ(261, device.set(each.name, each.wanted)) << each.name << ' ' << each.wanted;
            EXPECT_EQ(each.taken, device.option(each.name).at("cur")) << each.name << ' ' << each.wanted;
        }
        EXPECT_EQ(0, device.set("uneven", 8));
        EXPECT_EQ(0, device.set("even", 9));
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST_F(driver_profile, that_cannot_be_read_is_named_with_the_reason)
{
    const std::string missing = folder_.file("missing.json");
    const environment_variable profile("PELVIRTUAL_PROFILES", missing.c_str());
    EXPECT_EQ("cannot be read: No such file or directory", complaint(missing));
}

TEST_F(driver_profile, that_is_no_regular_file_is_named_with_the_reason)
{
    const std::string pipe = folder_.file("pipe");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    const environment_variable profile("PELVIRTUAL_PROFILES", pipe.c_str());
    EXPECT_EQ("cannot be read: it is no regular file", complaint(pipe));
}

TEST_F(driver_profile, that_is_no_json_is_named_with_line_and_column)
{
    EXPECT_NE(std::string::npos, complaint_about("{\n  \"device\": nonsense\n}").find("line 2, column 14"));
    EXPECT_NE(std::string::npos, complaint_about("").find("line 1, column 1"));
}

TEST_F(driver_profile, that_is_too_large_is_named_with_the_reason)
{
    const std::string path = write_file(folder_.file("large.json"), "{");
    std::filesystem::resize_file(path, (16 << 20) + 1);
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    EXPECT_EQ("cannot be read: it has more than 16 MiB", complaint(path));
}

TEST_F(driver_profile, with_a_key_twice_is_named_with_its_place)
{
    EXPECT_EQ("/papers: the key stands there twice", complaint_about(R"({"papers": {}, "device": {}, "papers": {}})"));
    EXPECT_EQ("/options/2/range/min: the key stands there twice",
              complaint_about(R"({"options": [{"name": "a"}, [1], {"name": "b", "range": {"min": 1, "min": 2}}]})"));
}

TEST_F(driver_profile, with_a_mistake_is_named_with_its_place)
{
    const std::string flag = R"({"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true})";
    const struct {
        std::string text;
        const char *complaint;
    } cases[] = {
        {"[]", ": an object is expected"},
        {"{}", ": \"device\" is missing"},
        {R"({"device": {"name": 1}})", "/device/name: a text is expected"},
        {R"({"device": {"name": "a b", "vendor": "v", "model": "m", "type": "t"}})",
         "/device/name: a device name has no spaces"},
        {R"({"devices": {}})", "/devices: unknown key"},
        {with_options("3"), "/options/0: an object is expected"},
        {with_options(R"({"name": "A"})"),
         "/options/0/name: an option's name is [a-z][a-z0-9-]*, at most 63 characters"},
        {with_options(R"({"name": "a", "type": "word"})"), "/options/0/type: no such type"},
        {with_options(flag + "," + flag), "/options/1: the name \"a\" is taken"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "range": [1, 2], "default": 3})"),
         "/options/0/default: the default is not an allowed value"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2,
                          "range": {"min": 2, "max": 1, "step": 1}, "default": 1})"),
         "/options/0/range: the bounds are out of order"},
        {with_options(R"({"name": "a", "type": "int", "title": 1.5})"), "/options/0/title: an integer is expected"},
        {with_options(R"({"name": "a", "type": "string", "title": 1, "desc": 2, "range": ["abcde"], "size": 8,
                          "default": "abcde"})"),
         "/options/0/size: at least 9 bytes are expected: in some language the longest word has 5"},
        {with_options(
             R"({"name": "page", "type": "string", "title": 1, "desc": 2, "range": ["单面", "双面"], "size": 13,
                          "default": "双面"})"),
         "/options/0/size: at least 14 bytes are expected: in some language the longest word has 10"},
        {with_options(R"({"name": "a", "type": "string", "title": 1, "desc": 2, "size": 65537, "default": ""})"),
         "/options/0/size: the number is out of bounds"},
        {with_options(R"({"name": "a", "type": "string", "title": 1, "desc": 2, "range": ["x", ")" +
                      std::string(65533, 'x') + R"("], "default": "x"})"),
         "/options/0/range: a word is too long: in some language it has 65533 bytes"},
        {with_options(R"({"name": "a", "type": "string", "title": 1, "desc": 2, "default": ")" +
                      std::string(65533, 'x') + R"("})"),
         "/options/0/default: the text is too long"},
        {with_options(R"({"name": "a", "type": "string", "title": 1, "desc": 2, "range": ["a\u0000b"],
                          "default": "a"})"),
         "/options/0/range/0: a text has no zero bytes"},
        {with_options(flag + R"(,{"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                                 "depend_or": ["a==true", "a=true"]})"),
         "/options/1/depend_or/1: a malformed condition"},
        {with_options(flag + R"(,{"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                                 "depend_and": ["==true"]})"),
         "/options/1/depend_and/0: the first condition names no option"},
        {with_options(R"({"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                          "depend_or": ["c==true"]})"),
         "/options/0/depend_or: a condition names \"c\", which is no option"},
        {with_options(R"({"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true, "depend_or": "c==x"},
                         {"name": "c", "type": "string", "title": 1, "desc": 2, "range": ["x"], "default": "x"})"),
         "/options/0/depend_or: \"c\" has to stand before what depends on it"},
        {with_options(R"({"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true, "means": "mode"})"),
         "/options/0/means: an option of this type cannot mean that"},
        {with_options(R"({"name": "p", "type": "string", "title": 1, "desc": 2, "range": ["A4", "A9"],
                          "default": "A4", "means": "paper"})"),
         "/options/0/range: no size is given for the paper \"A9\""},
        {with_options(flag + R"(,{"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                                 "sets": {"true": {"a": 5}}})"),
         "/options/1/sets/true/a: true or false is expected"},
        {with_options(flag + R"(,{"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                                 "sets": {"true": {"c": true}}})"),
         "/options/1/sets/true/c: no other option has this name"},
        {with_options(R"({"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                          "sets": {"true": {"b": true}}})"),
         "/options/0/sets/true/b: no other option has this name"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "range": [1, 2], "default": 1},
                         {"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true,
                          "sets": {"true": {"a": 3}}})"),
         "/options/1/sets/true/a: not an allowed value of that option"},
        {with_options(R"({"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true,
                          "range": {"min": 0, "max": 1, "step": 1}})"),
         "/options/0/range: only numbers have bounds"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1,
                          "range": {"min": 0, "max": 1, "step": 0.5}})"),
         "/options/0/range: the bounds of an \"int\" are 32-bit integers"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1,
                          "range": {"min": -2147483648, "max": 1, "step": 1}})"),
         "/options/0/range: the bounds of an \"int\" are 32-bit integers"},
        {with_options(R"({"name": "a", "type": "float", "title": 1, "desc": 2, "default": 1,
                          "range": {"min": 0, "max": 1, "step": -1}})"),
         "/options/0/range: the bounds are out of order"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1, "range": []})"),
         "/options/0/range: an empty list allows nothing"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1, "range": 5})"),
         "/options/0/range: a list is expected"},
        {with_options(R"({"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1, "size": 4})"),
         "/options/0/size: only texts have a size of their own"},
        {with_options(R"({"name": "a", "type": "button", "title": 1, "desc": 2, "default": 1})"),
         "/options/0/default: an option of this type has no value"},
        {with_options(R"({"name": "a", "type": "button", "title": 1, "desc": 2, "range": [1]})"),
         "/options/0/range/0: an option of this type has no value"},
        {with_options(R"({"name": "a", "type": "group", "title": 1, "desc": 2, "answers": 0})"),
         "/options/0/answers: a group is not set"},
        {with_options(R"({"name": "a", "type": "button", "title": 1, "desc": 2, "answers": 1})"),
         "/options/0/answers: 0, 262, 277 or 278 is expected"},
        {with_options(R"({"name": "a", "type": "button", "title": 1, "desc": 2, "fix-id": 34816})"),
         "/options/0/fix-id: the number is out of bounds"},
        {with_options(R"({"name": "a", "type": "button", "title": 1, "desc": 2, "fix-id": 65536})"),
         "/options/0/fix-id: the number is out of bounds"},
        {with_options(R"({"name": "a", "type": "button", "title": -1, "desc": 2})"),
         "/options/0/title: the number is out of bounds"},
        {with_options(flag + R"(,{"name": "b", "type": "button", "title": 1, "desc": 2,
                                 "depend_or": "a==true", "depend_and": "a==true"})"),
         "/options/1: \"depend_or\" and \"depend_and\" exclude each other"},
        {with_options(R"({"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true, "means": "invert"},
                         {"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true, "means": "invert"})"),
         "/options/1: another option means the same"},
        {with_options(R"({"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true, "means": "magic"})"),
         "/options/0/means: no such meaning"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(each.complaint, complaint_about(each.text)) << each.text;
}

TEST_F(driver_profile, keeps_names_of_options_within_63_characters)
{
    const auto named = [](const std::string &name) {
        return with_options(R"({"name": ")" + name + R"(", "type": "bool", "title": 1, "desc": 2, "default": true})");
    };
    const char *const refused = "/options/0/name: an option's name is [a-z][a-z0-9-]*, at most 63 characters";
    for (const std::string &name : {std::string("a"), "z" + std::string(62, '9'), std::string("a-z")})
        EXPECT_TRUE(is_used(named(name))) << name;
    for (const std::string &name : {std::string(), std::string(64, 'a'), std::string("-a"), std::string("1"),
                                    std::string("`a"), std::string("{"), std::string("a_b"), std::string("aZ")})
        EXPECT_EQ(refused, complaint_about(named(name))) << name;
}

TEST_F(driver_profile, with_another_source_than_a_folder_or_a_colour_is_refused)
{
    EXPECT_EQ("/feeder/source/file: unknown key", complaint_about(with_key("feeder", R"({"source": {"file": "a"}})")));
    for (const char *folder : {R"("")", R"("a\u0000b")"})
        EXPECT_EQ("/feeder/source/folder: a folder is expected",
                  complaint_about(with_key("feeder", std::string(R"({"source": {"folder": )") + folder + "}}")))
            << folder;
    for (const char *source : {R"("folder")", "{}", R"({"folder": "a", "color": "#000000"})", "1"})
        EXPECT_EQ("/feeder/source: \"document\", a folder or a colour is expected",
                  complaint_about(with_key("feeder", std::string(R"({"source": )") + source + "}")))
            << source;
}

TEST_F(driver_profile, of_worn_sheets_keeps_the_bounds_of_each_number)
{
    const struct {
        const char *place; // of the number that is out of bounds
        const char *before;
        const char *least;
        const char *most;
        const char *less; // than the least
        const char *more; // than the most
        const char *after;
    } cases[] = {
        {"/pages/seed", R"({"seed": )", "0", "2147483647", "-1", "2147483648", "}"},
        {"/pages/skew_degrees", R"({"skew_degrees": )", "0", "5", "-0.01", "5.01", "}"},
        {"/pages/holes/count", R"({"holes": {"count": )", "0", "20", "-1", "21", "}}"},
        {"/pages/blank_backs", R"({"blank_backs": )", "0", "1000000", "-1", "1000001", "}"},
        {"/pages/staples", R"({"staples": )", "0", "1000000", "-1", "1000001", "}"},
        {"/pages/shine_through", R"({"shine_through": )", "0", "1", "-0.01", "1.01", "}"},
        {"/pages/dog_ear/size_mm", R"({"dog_ear": {"size_mm": )", "1", "100", "0.99", "100.01", "}}"},
        {"/pages/dog_ear/every", R"({"dog_ear": {"size_mm": 9, "every": )", "1", "1000000", "0", "1000001", "}}"},
        {"/pages/noise", R"({"noise": )", "0", "64", "-1", "65", "}"},
        {"/pages/dust", R"({"dust": )", "0", "100000", "-1", "100001", "}"},
        {"/pages/behind", R"({"behind": )", "0", "64", "-1", "65", "}"},
    };
    for (const auto &each : cases) {
        const auto with = [&](const std::string &number) {
            return with_key("pages", each.before + number + each.after);
        };
        const std::string out_of_bounds = each.place + std::string(": the number is out of bounds");
        for (const char *number : {each.least, each.most})
            EXPECT_TRUE(is_used(with(number))) << each.place << ' ' << number;
        for (const char *number : {each.less, each.more})
            EXPECT_EQ(out_of_bounds, complaint_about(with(number))) << each.place << ' ' << number;
    }
}

TEST_F(driver_profile, keeps_numbers_that_mean_something_within_what_the_scanner_can_do)
{
    const struct {
        const char *meaning;
        const char *type;
        double least;
        double most;
    } cases[] = {
        {"resolution", "int", 25, 1200},    {"left", "float", 0, 1000},          {"top", "float", 0, 1000},
        {"right", "float", 0, 1000},        {"bottom", "float", 0, 1000},        {"page-limit", "int", 0, 1000000},
        {"brightness", "int", -100, 100},   {"contrast", "int", -100, 100},      {"gamma", "float", 0.01, 100},
        {"threshold", "int", 0, 256},       {"speckle-size", "int", 1, 1000},    {"speckle-strength", "int", 1, 20},
        {"background-range", "int", 0, 50}, {"frame-margin", "int", 0, 1000},    {"hole-range", "int", 0, 100},
        {"hole-range-left", "int", 0, 100}, {"hole-range-right", "int", 0, 100}, {"corner-size", "int", 0, 1000},
        {"skew-limit", "int", 0, 90},       {"blank-limit", "int", 0, 10000},
    };
    for (const auto &each : cases) {
        const bool is_whole = std::strcmp(each.type, "int") == 0;
        const auto with = [&](double least, double most) {
            const auto text = [&](double number) {
                return is_whole ? std::to_string(std::lround(number)) : std::to_string(number);
            };
            return with_options(R"({"name": "a", "type": ")" + std::string(each.type) + R"(", "title": 1, "desc": 2,
                "range": {"min": )" +
                                text(least) + R"(, "max": )" + text(most) + R"(, "step": 0}, "default": )" +
                                text(most) + R"(, "means": ")" + each.meaning + "\"}");
        };
        const double step = is_whole ? 1 : 0.001;
        EXPECT_TRUE(is_used(with(each.least, each.most))) << each.meaning;
        for (const std::string &beyond : {with(each.least - step, each.most), with(each.least, each.most + step)})
            EXPECT_EQ("/options/0/means: the range goes beyond what the scanner can do", complaint_about(beyond))
                << each.meaning << ' ' << beyond;
    }
}

TEST_F(driver_profile, with_what_the_scanner_cannot_do_is_named_with_its_place)
{
    const struct {
        const char *option; // its keys after name and titles
        const char *complaint;
    } cases[] = {
        {R"("type": "int", "default": 100, "means": "resolution")",
         "/options/0/means: an option that means this needs a range"},
        {R"("type": "int", "range": [24, 100], "default": 100, "means": "resolution")",
         "/options/0/means: the range goes beyond what the scanner can do"},
        {R"("type": "int", "range": {"min": 25, "max": 1201, "step": 1}, "default": 100, "means": "resolution")",
         "/options/0/means: the range goes beyond what the scanner can do"},
        {R"("type": "float", "range": {"min": 0, "max": 1000.5, "step": 0}, "default": 1, "means": "right")",
         "/options/0/means: the range goes beyond what the scanner can do"},
        {R"("type": "float", "range": {"min": -1, "max": 10, "step": 0}, "default": 1, "means": "top")",
         "/options/0/means: the range goes beyond what the scanner can do"},
        {R"("type": "float", "range": {"min": 0, "max": 5, "step": 0}, "default": 1, "means": "gamma")",
         "/options/0/means: the range goes beyond what the scanner can do"},
        {R"("type": "string", "default": "x", "means": "paper")",
         "/options/0/means: an option that means this needs a range"},
        {R"("type": "string", "range": ["One", "Two"], "default": "One", "means": "sides", "meanings": {"One": "front"}
         )",
         "/options/0/means: the word \"Two\" means nothing that the scanner can do"},
        {R"("type": "string", "range": ["One"], "default": "One", "means": "sides", "meanings": {"One": "frnt"})",
         "/options/0/means: the word \"One\" means nothing that the scanner can do"},
        {R"("type": "int", "range": [1, 2], "default": 1, "meanings": {"1": "x"})",
         "/options/0/meanings: only words have meanings"},
        {R"("type": "string", "range": ["One"], "default": "One", "meanings": {"Two": "x"})",
         "/options/0/meanings/Two: not an allowed value of the option"},
        {R"("type": "string", "size": 4, "default": "four")",
         "/options/0/default: the default is not an allowed value"},
        {R"("type": "int", "range": [1, 2], "default": 18446744073709551615)",
         "/options/0/default: the number is out of bounds"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(each.complaint, complaint_about(with_options(std::string(R"({"name": "a", "title": 1, "desc": 2, )") +
                                                               each.option + "}")))
            << each.option;
}

TEST_F(driver_profile, sets_options_along_with_allowed_values_alone)
{
    const std::string flag = R"({"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true},)";
    const struct {
        const char *option;
        const char *complaint;
    } cases[] = {
        {R"("type": "bool", "default": true, "sets": {"yes": {"a": true}})",
         "/options/1/sets/yes: not an allowed value of the option"},
        {R"("type": "string", "range": ["One"], "default": "One", "sets": {"one": {"a": true}})",
         "/options/1/sets/one: not an allowed value of the option"},
        {R"("type": "int", "range": {"min": 1, "max": 9, "step": 1}, "default": 1, "sets": {"10": {"a": true}})",
         "/options/1/sets/10: not an allowed value of the option"},
        {R"("type": "float", "range": {"min": 1, "max": 9, "step": 0}, "default": 1, "sets": {"2.5": {"a": true}})",
         "/options/1/sets/2.5: not an allowed value of the option"}, // values are written with six decimals
        {R"("type": "float", "range": {"min": 1, "max": 9, "step": 0}, "default": 1,
            "sets": {"2.500000": {"a": 1}})",
         "/options/1/sets/2.500000/a: true or false is expected"},
        {R"("type": "button", "sets": {"": {"a": true}})", "/options/1/sets/: not an allowed value of the option"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(each.complaint,
                  complaint_about(with_options(flag + R"({"name": "b", "title": 1, "desc": 2, )" + each.option + "}")))
            << each.option;
}

TEST_F(driver_profile, gives_information_items_of_their_kinds_alone)
{
    const struct {
        const char *items;
        const char *complaint;
    } cases[] = {
        {R"({"drv-ver": {"value": 5}})", "/information/drv-ver/value: a text is expected"},
        {R"({"total-cnt": {"value": "many"}})", "/information/total-cnt/value: an integer is expected"},
        {R"({"free-buf": {"value": "all"}})", "/information/free-buf/value: an integer is expected"},
        {R"({"original-image": {"value": 256}})", "/information/original-image/value: the number is out of bounds"},
        {R"({"colour": {"value": 1}})", "/information/colour: no such information item"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(each.complaint,
                  complaint_about(R"({"device": {"name": "n", "vendor": "V", "model": "M", "type": "t"}, "papers": {},
                                      "options": [], "information": )" +
                                  std::string(each.items) + "}"))
            << each.items;
}

TEST_F(driver_profile, with_two_options_that_set_each_other_is_refused)
{
    EXPECT_EQ("/options/0: \"b\" sets further options itself", complaint_about(with_options(R"(
        {"name": "a", "type": "bool", "title": 1, "desc": 2, "default": true, "sets": {"true": {"b": true}}},
        {"name": "b", "type": "bool", "title": 1, "desc": 2, "default": true, "sets": {"true": {"a": true}}})")));
}

TEST_F(driver_profile, with_options_that_switch_each_other_off_in_a_circle_still_loads)
{
    const std::string path = write_file(folder_.file("profile.json"), with_options(R"(
        {"name": "a", "type": "int", "title": 1, "desc": 2, "default": 1, "depend_and": "b==2"},
        {"name": "b", "type": "int", "title": 1, "desc": 2, "default": 1, "depend_and": "a==2"})"));
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        EXPECT_FALSE(device.is_enabled("a"));
        EXPECT_FALSE(device.is_enabled("b"));
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

} // namespace driver_test
