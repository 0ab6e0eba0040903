// SPDX-License-Identifier: MIT
// What an application sees of an option: every key of the driver's description, in descriptors.
#include "backend_test.h"
#include "option_device.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace {

class descriptor_of_option : public option_device {
protected:
    // The descriptor of one option in a device of its own.
    const SANE_Option_Descriptor *of(const std::string &description, const std::string &name = "opt")
    {
        sane_pelsane_exit();
        scripted::set_option(1, name, description);
        open_device();
        return descriptor(1);
    }

    static texts strings_of(const SANE_Option_Descriptor *option)
    {
        texts values;
        if (option->constraint_type == SANE_CONSTRAINT_STRING_LIST)
            for (const SANE_String_Const *text = option->constraint.string_list; *text != nullptr; ++text)
                values.emplace_back(*text);
        return values;
    }

    static std::vector<SANE_Word> words_of(const SANE_Option_Descriptor *option)
    {
        if (option->constraint_type != SANE_CONSTRAINT_WORD_LIST)
            return {};
        const SANE_Word *list = option->constraint.word_list;
        return std::vector<SANE_Word>(list + 1, list + 1 + list[0]);
    }
};

using words = std::vector<SANE_Word>;

} // namespace

// ----- type -----

TEST_F(descriptor_of_option, type_words_give_sane_types)
{
    struct {
        const char *word;
        SANE_Value_Type type;
    } const cases[] = {
        {"bool", SANE_TYPE_BOOL},     {"int", SANE_TYPE_INT},       {"float", SANE_TYPE_INT},
        {"string", SANE_TYPE_STRING}, {"button", SANE_TYPE_BUTTON}, {"group", SANE_TYPE_GROUP},
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":")") + c.word + R"(","title":"T","desc":"D"})");
        ASSERT_NE(option, nullptr) << c.word;
        EXPECT_EQ(option->type, c.type) << c.word;
        EXPECT_STREQ(option->name, "opt") << c.word;
        EXPECT_STREQ(option->title, "T") << c.word;
        EXPECT_STREQ(option->desc, "D") << c.word;
        EXPECT_EQ(option->unit, SANE_UNIT_NONE) << c.word;
        EXPECT_EQ(option->size, 0) << c.word;
        EXPECT_EQ(option->cap, 21) << c.word;
        EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE) << c.word;
    }
}

TEST_F(descriptor_of_option, without_a_known_type_there_is_none)
{
    for (const char *description :
         {"{}", R"({"title":"T"})", R"({"type":"word"})", R"({"type":"Int"})", R"({"type":""})", R"({"type":1})",
          R"({"type":null})", "[]", "7", "\"int\"", "{\"type\":\"int\"", ""})
        EXPECT_EQ(of(description), nullptr) << description;
}

TEST_F(descriptor_of_option, names_may_be_long)
{
    const std::string name(2000, 'n');
    const auto *option = of(R"({"type":"int"})", name);
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->name, name);
}

// ----- title and description -----

TEST_F(descriptor_of_option, texts_are_strings_or_word_ids)
{
    scripted::set_translation(57, "Paper");
    scripted::set_translation(0, "Nothing");
    scripted::set_translation(-2, "Below");
    struct {
        const char *json, *text;
    } const cases[] = {
        {R"("Size of paper")", "Size of paper"},
        {R"("")", ""},
        {"57", "Paper"},
        {"0", "Nothing"},
        {"-2", "Below"},
        {"-1", ""},
        {"57.9", "Paper"},
        {R"("57")", "57"},
        {R"("57.000000")", "57.000000"},
        {"true", ""},
        {"null", ""},
        {"[57]", ""},
        {R"({"a":"b"})", ""},
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":"int","title":)") + c.json + R"(,"desc":)" + c.json + "}");
        ASSERT_NE(option, nullptr) << c.json;
        EXPECT_STREQ(option->title, c.text) << c.json;
        EXPECT_STREQ(option->desc, c.text) << c.json;
    }
}

TEST_F(descriptor_of_option, missing_texts_are_empty)
{
    const auto *option = of(R"({"type":"int"})");
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->title, "");
    EXPECT_STREQ(option->desc, "");
}

TEST_F(descriptor_of_option, word_ids_of_texts_are_looked_up_with_a_status)
{
    ASSERT_NE(of(R"({"type":"int","title":57,"desc":58})"), nullptr);
    EXPECT_EQ(scripted::calls_of("lang_load_string"),
              (texts{"lang_load_string(57,status,0)", "lang_load_string(58,status,0)"}));
}

TEST_F(descriptor_of_option, a_language_library_without_an_answer_leaves_texts_empty)
{
    scripted::set_translation(57, std::nullopt);
    const auto *option = of(R"({"type":"int","title":57})");
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->title, "");
}

// ----- strings -----

TEST_F(descriptor_of_option, a_string_range_is_a_string_list_in_order)
{
    const auto *option = of(R"({"type":"string","size":44,"range":["A4","B5","A5"]})");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_STRING_LIST);
    EXPECT_EQ(strings_of(option), (texts{"A4", "B5", "A5"}));
    EXPECT_EQ(option->size, 44);
}

TEST_F(descriptor_of_option, a_string_range_may_be_any_container)
{
    const auto *option = of(R"({"type":"string","size":9,"range":{"x":"A4","y":true,"z":null}})");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(strings_of(option), (texts{"A4", "true", "null"}));
}

TEST_F(descriptor_of_option, word_ids_in_a_string_range_are_translated)
{
    scripted::set_translation(57, "Landscape");
    const auto *option = of(R"({"type":"string","size":2,"range":["57.0",57,"57","57.5",0.5]})");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(strings_of(option), (texts{"Landscape", "Landscape", "57", "57.5", "0.500000"}));
    EXPECT_EQ(option->size, 16); // nine bytes and four, rounded up to a multiple of four
}

TEST_F(descriptor_of_option, a_string_list_is_one_block_of_slots)
{
    const auto *option = of(R"({"type":"string","size":9,"range":["","abc","abcd","16开","x"]})");
    ASSERT_NE(option, nullptr);
    ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_STRING_LIST);
    const SANE_String_Const *list = option->constraint.string_list;
    const char *slots = reinterpret_cast<const char *>(list + 6);
    EXPECT_EQ(list[0] - slots, 0);
    EXPECT_EQ(list[1] - slots, 4);
    EXPECT_EQ(list[2] - slots, 8);
    EXPECT_EQ(list[3] - slots, 16);
    EXPECT_EQ(list[4] - slots, 24);
    EXPECT_EQ(list[5], nullptr);
}

TEST_F(descriptor_of_option, a_string_option_without_values_has_no_constraint)
{
    for (const char *description : {R"({"type":"string","size":20})", R"({"type":"string","size":20,"range":[]})",
                                    R"({"type":"string","size":20,"range":{}})"}) {
        const auto *option = of(description);
        ASSERT_NE(option, nullptr) << description;
        EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE) << description;
        EXPECT_EQ(option->size, 20) << description;
    }
}

// ----- integers -----

TEST_F(descriptor_of_option, integer_bounds_are_a_range)
{
    struct {
        const char *range;
        SANE_Range expected;
        const char *log;
    } const cases[] = {
        {R"({"min":100,"max":600,"step":50})", {100, 600, 50}, "Debug: opt range: [100, +50, 600]"},
        {R"({"min":100,"max":600})", {100, 600, 1}, "Debug: opt range: [100, +1, 600]"},
        {R"({"min":100})", {100, 0, 1}, "Debug: opt range: [100, +1, 0]"},
        {R"({"min":-5,"max":5,"step":0})", {-5, 5, 0}, "Debug: opt range: [-5, +0, 5]"},
        {R"({"min":2147483647,"max":-2147483648,"step":-1})",
         {INT_MAX, INT_MIN, -1},
         "Debug: opt range: [2147483647, +-1, -2147483648]"},
        {R"({"min":1.9,"max":2.9})", {1, 2, 1}, "Debug: opt range: [1, +1, 2]"},
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":"int","size":4,"range":)") + c.range + "}");
        ASSERT_NE(option, nullptr) << c.range;
        ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE) << c.range;
        EXPECT_EQ(option->type, SANE_TYPE_INT) << c.range;
        EXPECT_EQ(option->size, 4) << c.range;
        EXPECT_EQ(option->constraint.range->min, c.expected.min) << c.range;
        EXPECT_EQ(option->constraint.range->max, c.expected.max) << c.range;
        EXPECT_EQ(option->constraint.range->quant, c.expected.quant) << c.range;
        EXPECT_EQ(times_logged(c.log), 1) << c.range;
    }
}

TEST_F(descriptor_of_option, integer_lists_are_word_lists)
{
    struct {
        const char *range;
        words expected;
    } const cases[] = {
        {"[100,200,300]", {100, 200, 300}},
        {R"(["150"," 7","-3","12abc","x",""])", {150, 7, -3, 12, 0, 0}},
        {"[2.9,true,null]", {2, 0, 0}},
        {R"({"max":100,"step":5})", {100, 5}}, // without a lower bound these are mere values
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":"int","size":4,"range":)") + c.range + "}");
        ASSERT_NE(option, nullptr) << c.range;
        EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_WORD_LIST) << c.range;
        EXPECT_EQ(words_of(option), c.expected) << c.range;
        EXPECT_EQ(option->type, SANE_TYPE_INT) << c.range;
        EXPECT_TRUE(scripted::log_lines().empty()) << c.range;
    }
}

TEST_F(descriptor_of_option, an_empty_number_list_is_no_constraint)
{
    struct {
        const char *type;
        SANE_Value_Type expected;
    } const cases[] = {{"int", SANE_TYPE_INT}, {"float", SANE_TYPE_FIXED}};
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":")") + c.type + R"(","size":4,"range":[]})");
        ASSERT_NE(option, nullptr) << c.type;
        EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE) << c.type;
        EXPECT_EQ(option->type, c.expected) << c.type;
    }
}

// ----- reals -----

TEST_F(descriptor_of_option, real_bounds_are_a_fixed_point_range)
{
    struct {
        const char *range;
        SANE_Range expected;
        const char *log;
    } const cases[] = {
        {R"({"min":0.0,"max":5.0})", {0, 327680, 32768}, "Debug: opt range: (0.000000, +0.500000, 5.000000)"},
        {R"({"min":0.5,"max":2,"step":0.25})",
         {32768, 131072, 16384},
         "Debug: opt range: (0.500000, +0.250000, 2.000000)"},
        {R"({"min":10})", {655360, 0, -65536}, "Debug: opt range: (10.000000, +-1.000000, 0.000000)"},
        {R"({"min":-1.5,"max":1.5,"step":0})",
         {-98304, 98304, 0},
         "Debug: opt range: (-1.500000, +0.000000, 1.500000)"},
        {R"({"min":-1e9,"max":1e9,"step":1})",
         {INT_MIN, INT_MAX, 65536},
         "Debug: opt range: (-1000000000.000000, +1.000000, 1000000000.000000)"},
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":"float","size":4,"range":)") + c.range + "}");
        ASSERT_NE(option, nullptr) << c.range;
        ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE) << c.range;
        EXPECT_EQ(option->type, SANE_TYPE_FIXED) << c.range;
        EXPECT_EQ(option->constraint.range->min, c.expected.min) << c.range;
        EXPECT_EQ(option->constraint.range->max, c.expected.max) << c.range;
        EXPECT_EQ(option->constraint.range->quant, c.expected.quant) << c.range;
        EXPECT_EQ(times_logged(c.log), 1) << c.range;
    }
}

TEST_F(descriptor_of_option, real_lists_are_fixed_point_word_lists)
{
    const auto *option = of(R"({"type":"float","size":4,"range":[0.5,1,"1.5","-2.25mm","x",1e9]})");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->type, SANE_TYPE_FIXED);
    EXPECT_EQ(words_of(option), (words{32768, 65536, 98304, -147456, 0, INT_MAX}));
}

TEST_F(descriptor_of_option, a_real_option_without_range_is_an_integer)
{
    const auto *option = of(R"({"type":"float","size":4,"cur":1.5})");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->type, SANE_TYPE_INT);
    EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE);
    EXPECT_EQ(option->size, 4);
}

// ----- size -----

TEST_F(descriptor_of_option, size_is_what_the_driver_says)
{
    struct {
        const char *description;
        SANE_Int size;
    } const cases[] = {
        {R"({"type":"bool"})", 0},
        {R"({"type":"bool","size":4})", 4},
        {R"({"type":"int","size":16,"range":{"min":1,"max":2}})", 16},
        {R"({"type":"int","range":[1,2]})", 0},
        {R"({"type":"string","size":64,"range":["abcdef"]})", 64},
        {R"({"type":"string","size":6,"range":["abcdef"]})", 6},
        {R"({"type":"string"})", 0},
        {R"({"type":"string","size":"8"})", 0},
        {R"({"type":"string","size":2147483647,"range":["abcdef"]})", INT_MAX},
    };
    for (const auto &c : cases) {
        const auto *option = of(c.description);
        ASSERT_NE(option, nullptr) << c.description;
        EXPECT_EQ(option->size, c.size) << c.description;
        for (const std::string &line : scripted::log_lines())
            EXPECT_EQ(line.find("Resize"), std::string::npos) << line;
    }
}

TEST_F(descriptor_of_option, size_grows_to_hold_the_longest_value)
{
    struct {
        const char *description;
        SANE_Int size;
        const char *log;
    } const cases[] = {
        {R"({"type":"string","size":4,"range":["abc","abcdef","ab"]})", 12, "Debug: Resize size of 'opt' from 4 to 12"},
        {R"({"type":"string","size":3,"range":["abcd"]})", 8, "Debug: Resize size of 'opt' from 3 to 8"},
        {R"({"type":"string","range":["a"]})", 8, "Debug: Resize size of 'opt' from 0 to 8"},
        {R"({"type":"string","size":5,"range":["abcdefgh"]})", 12, "Debug: Resize size of 'opt' from 5 to 12"},
        {R"({"type":"int","size":-1})", 4, "Debug: Resize size of 'opt' from -1 to 4"},
        {R"({"type":"button","size":-2147483648})", 4, "Debug: Resize size of 'opt' from -2147483648 to 4"},
    };
    for (const auto &c : cases) {
        const auto *option = of(c.description);
        ASSERT_NE(option, nullptr) << c.description;
        EXPECT_EQ(option->size, c.size) << c.description;
        EXPECT_EQ(times_logged(c.log), 1) << c.description;
    }
}

// ----- capabilities and unit -----

TEST_F(descriptor_of_option, keys_change_capabilities)
{
    struct {
        const char *keys;
        SANE_Int cap;
    } const cases[] = {
        {R"("auto":true)", 21},
        {R"("auto":false)", 5},
        {R"("auto":"false")", 21},
        {R"("readonly":true)", 20},
        {R"("readonly":false)", 21},
        {R"("readonly":1)", 21},
        {R"("readonly":true,"auto":false)", 4},
        {R"("cat":"advanced")", 85},
        {R"("cat":"Advanced")", 21},
        {R"("cat":"base")", 21},
        {R"("enable":false)", 53},
        {R"("enable":true)", 21},
        {R"("enable":0)", 21},
        {R"("readonly":true,"auto":false,"cat":"advanced","enable":false)", 100},
        {R"("mystery":[1,2,{"x":null}])", 21},
    };
    for (const auto &c : cases) {
        const auto *option = of(std::string(R"({"type":"bool","size":4,)") + c.keys + "}");
        ASSERT_NE(option, nullptr) << c.keys;
        EXPECT_EQ(option->cap, c.cap) << c.keys;
    }
}

TEST_F(descriptor_of_option, the_name_alone_gives_the_unit)
{
    struct {
        const char *name;
        SANE_Unit unit;
    } const cases[] = {
        {"resolution", SANE_UNIT_DPI}, {"tl-x", SANE_UNIT_MM},    {"br-x", SANE_UNIT_MM},
        {"tl-y", SANE_UNIT_MM},        {"br-y", SANE_UNIT_MM},    {"Resolution", SANE_UNIT_NONE},
        {"tl-z", SANE_UNIT_NONE},      {"paper", SANE_UNIT_NONE}, {"resolution ", SANE_UNIT_NONE},
    };
    for (const auto &c : cases)
        for (const char *type : {"string", "int", "bool"}) {
            const auto *option = of(std::string(R"({"type":")") + type + R"(","size":8})", c.name);
            ASSERT_NE(option, nullptr) << c.name;
            EXPECT_EQ(option->unit, c.unit) << c.name << ' ' << type;
        }
}
