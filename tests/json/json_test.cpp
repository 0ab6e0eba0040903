// SPDX-License-Identifier: MIT
// The document wrapper: look-up by path, typed reads and writes, text forms, the walk over children, arrays.
#include "json.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

std::string text_at(const json &document, const char *path, bool integer = false)
{
    std::string text = "no item";
    return document.get_value_as_string(path, text, integer) ? text : "nothing";
}

std::vector<std::string> children_of(json &document)
{
    std::vector<std::string> texts;
    std::string text;
    for (bool more = document.first_child(text); more; more = document.next_child(text))
        texts.push_back(text);
    return texts;
}

using texts = std::vector<std::string>;

} // namespace

// ----- parsing -----

TEST(json, parses_text_given_to_constructor)
{
    EXPECT_NE(json(R"({"a":1})").find("a"), nullptr);
}

TEST(json, is_empty_for_a_null_text)
{
    EXPECT_EQ(json(nullptr).find(""), nullptr);
}

TEST(json, attach_text_says_whether_text_parses)
{
    struct {
        const char *text;
        bool parses;
    } const cases[] = {
        {R"({"a":1})", true}, {"[]", true},       {"7", true},    {R"("x")", true}, {"null", true},
        {"", false},          {R"({"a")", false}, {"[1,", false}, {"word", false},  {"{a:1}", false},
    };
    for (const auto &c : cases) {
        json document;
        EXPECT_EQ(document.attach_text(c.text), c.parses) << c.text;
        EXPECT_EQ(document.find("") != nullptr, c.parses) << c.text;
    }
}

TEST(json, unparsable_text_replaces_the_earlier_document_by_none)
{
    json document(R"({"a":1})");
    EXPECT_FALSE(document.attach_text("{"));
    EXPECT_EQ(document.find("a"), nullptr);
    EXPECT_EQ(document.to_string(), "");
}

TEST(json, answers_nothing_from_an_empty_document)
{
    json document;
    bool truth = true;
    int integer = 5;
    double real = 2.5;
    std::string text = "kept";
    EXPECT_FALSE(document.get_value("a", truth));
    EXPECT_FALSE(document.get_value("a", integer));
    EXPECT_FALSE(document.get_value("a", real));
    EXPECT_FALSE(document.get_value("a", text));
    EXPECT_FALSE(document.get_value_as_string("a", text, false));
    EXPECT_FALSE(document.set_value("a", 1));
    EXPECT_FALSE(document.value(integer));
    EXPECT_EQ(document.key(), "");
    EXPECT_EQ(document.to_string(), "");
    EXPECT_TRUE(truth);
    EXPECT_EQ(integer, 5);
    EXPECT_EQ(real, 2.5);
    EXPECT_EQ(text, "kept");
}

TEST(json, clear_drops_the_document)
{
    json document(R"({"a":1})");
    document.clear();
    EXPECT_EQ(document.find(""), nullptr);
    document.clear();
    EXPECT_EQ(document.to_string(), "");
}

TEST(json, key_with_a_slash_is_no_path)
{
    json document(R"({"a/b":1,"a":{"b":2}})");
    int b = 0;
    EXPECT_TRUE(document.get_value("a/b", b));
    EXPECT_EQ(b, 2);
}

TEST(json, attached_item_is_a_copy_of_its_own)
{
    json source(R"({"a":{"b":1}})");
    json copy;
    ASSERT_TRUE(copy.attach_cjson(source.find("a")));
    ASSERT_TRUE(source.set_value("a/b", 9));
    source.clear();
    int b = 0;
    EXPECT_TRUE(copy.get_value("b", b));
    EXPECT_EQ(b, 1);
}

TEST(json, attaching_null_empties_the_document)
{
    json document(R"({"a":1})");
    EXPECT_FALSE(document.attach_cjson(nullptr));
    EXPECT_EQ(document.find(""), nullptr);
}

// ----- look-up -----

TEST(json, finds_items_by_path)
{
    json document(R"({"a":{"b":1,"c-d":{"e":"deep"}},"A":2,"":3,"x":[10,20]})");
    struct {
        const char *path;
        const char *text; // "nothing" when there is none
    } const cases[] = {
        {"a/b", "1"},        {"/a/b", "1"},      {"a/b/", "1"},      {"a//b", "1"},        {"///a///b///", "1"},
        {"a/c-d/e", "deep"}, {"A", "2"},         {"a/c", "nothing"}, {"a/b/c", "nothing"}, {"b", "nothing"},
        {"a/B", "nothing"},  {"x/0", "nothing"}, {"x/1", "nothing"}, {"a b", "nothing"},   {"a/c-d/e/f", "nothing"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(text_at(document, c.path, true), c.text) << c.path;
}

TEST(json, names_are_compared_with_their_case)
{
    EXPECT_EQ(json(R"({"a":1})").find("A"), nullptr);
}

TEST(json, root_is_named_by_null_empty_and_slashes)
{
    const json document(R"({"a":1})");
    const cJSON *root = document.find(nullptr);
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->type, cJSON_Object);
    EXPECT_EQ(document.find(""), root);
    EXPECT_EQ(document.find("/"), root);
    EXPECT_EQ(document.find("//"), root);
}

TEST(json, first_of_equal_names_counts)
{
    int value = 0;
    EXPECT_TRUE(json(R"({"a":1,"a":2})").get_value("a", value));
    EXPECT_EQ(value, 1);
}

TEST(json, find_child_answers_null_without_a_match)
{
    const json document(R"({"a":{},"b":[1,2],"c":3})");
    EXPECT_EQ(json::find_child(nullptr, "a"), nullptr);
    EXPECT_EQ(json::find_child(document.find("a"), "x"), nullptr);
    EXPECT_EQ(json::find_child(document.find("b"), "x"), nullptr);
    EXPECT_EQ(json::find_child(document.find("c"), "x"), nullptr);
    EXPECT_EQ(json::find_child(document.find(""), "c"), document.find("c"));
}

// ----- typed reads -----

TEST(json, reads_a_bool_from_true_and_false_only)
{
    const json document(R"({"t":true,"f":false,"n":1,"s":"true","z":null,"o":{},"l":[]})");
    bool value = false;
    EXPECT_TRUE(document.get_value("t", value));
    EXPECT_TRUE(value);
    EXPECT_TRUE(document.get_value("f", value));
    EXPECT_FALSE(value);
    for (const char *path : {"n", "s", "z", "o", "l", "missing"}) {
        value = true;
        EXPECT_FALSE(document.get_value(path, value)) << path;
        EXPECT_TRUE(value) << path;
    }
}

TEST(json, reads_an_int_from_numbers_only)
{
    const json document(R"({"n":-7,"r":2.9,"s":"1","t":true,"z":null,"o":{},"l":[1]})");
    int value = 0;
    EXPECT_TRUE(document.get_value("n", value));
    EXPECT_EQ(value, -7);
    EXPECT_TRUE(document.get_value("r", value));
    EXPECT_EQ(value, 2);
    for (const char *path : {"s", "t", "z", "o", "l", "missing"}) {
        value = 42;
        EXPECT_FALSE(document.get_value(path, value)) << path;
        EXPECT_EQ(value, 42) << path;
    }
}

TEST(json, integers_beyond_32_bits_are_the_nearest_int)
{
    const json document(R"({"high":3000000000,"low":-3000000000})");
    int value = 0;
    EXPECT_TRUE(document.get_value("high", value));
    EXPECT_EQ(value, INT_MAX);
    EXPECT_TRUE(document.get_value("low", value));
    EXPECT_EQ(value, INT_MIN);
}

TEST(json, reads_a_double_from_numbers_only)
{
    const json document(R"({"n":2,"r":-2.5,"e":1.5e3,"s":"1","t":true,"z":null})");
    double value = 0;
    EXPECT_TRUE(document.get_value("n", value));
    EXPECT_EQ(value, 2.0);
    EXPECT_TRUE(document.get_value("r", value));
    EXPECT_EQ(value, -2.5);
    EXPECT_TRUE(document.get_value("e", value));
    EXPECT_EQ(value, 1500.0);
    for (const char *path : {"s", "t", "z", "missing"}) {
        value = 0.25;
        EXPECT_FALSE(document.get_value(path, value)) << path;
        EXPECT_EQ(value, 0.25) << path;
    }
}

TEST(json, reads_a_text_from_strings_only)
{
    const json document(R"({"s":"x y","e":"","u":"\u00e4\"\n","n":1,"t":true,"z":null,"o":{}})");
    std::string value;
    EXPECT_TRUE(document.get_value("s", value));
    EXPECT_EQ(value, "x y");
    EXPECT_TRUE(document.get_value("e", value));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(document.get_value("u", value));
    EXPECT_EQ(value, "\xC3\xA4\"\n");
    for (const char *path : {"n", "t", "z", "o", "missing"}) {
        value = "kept";
        EXPECT_FALSE(document.get_value(path, value)) << path;
        EXPECT_EQ(value, "kept") << path;
    }
}

TEST(json, reads_a_text_where_it_stands)
{
    const json document(R"({"s":"x y","e":"","n":1})");
    std::string_view text = "kept";
    EXPECT_FALSE(document.get_value("n", text));
    EXPECT_FALSE(document.get_value("missing", text));
    EXPECT_EQ(text, "kept");
    EXPECT_TRUE(document.get_value("s", text));
    EXPECT_EQ(text, "x y");
    EXPECT_EQ(text.data(), document.find("s")->valuestring);
    EXPECT_TRUE(document.get_value("e", text));
    EXPECT_EQ(text, "");
}

TEST(json, a_string_item_without_text_reads_as_empty)
{
    json document(R"({"s":"x","l":["y"]})");
    for (cJSON *item : {document.find("s"), document.find("l")->child}) {
        cJSON_free(item->valuestring);
        item->valuestring = nullptr;
    }
    std::string value = "kept";
    EXPECT_TRUE(document.get_value("s", value));
    EXPECT_EQ(value, "");
    EXPECT_EQ(text_at(document, "s"), "");
    texts out;
    EXPECT_TRUE(document.get_as_array("l", out));
    EXPECT_EQ(out, (texts{""}));
}

TEST(json, a_type_with_flag_bits_is_no_known_type)
{
    json document(R"({"n":1})");
    document.find("n")->type |= cJSON_IsReference;
    int value = 5;
    EXPECT_FALSE(document.get_value("n", value));
    EXPECT_EQ(value, 5);
    document.find("n")->type &= ~cJSON_IsReference;
}

TEST(json, reads_a_part_as_a_document_of_its_own)
{
    json source(R"({"range":{"min":1},"n":7})");
    json *part = nullptr;
    ASSERT_TRUE(source.get_value("range", part));
    const std::unique_ptr<json> owner(part);
    source.clear();
    EXPECT_EQ(text_at(*part, "min", true), "1");
    EXPECT_EQ(part->key(), "");
}

TEST(json, a_scalar_can_be_a_document_of_its_own)
{
    const json source(R"({"n":7})");
    const auto part = source.get_document("n");
    ASSERT_NE(part, nullptr);
    int value = 0;
    EXPECT_TRUE(part->value(value));
    EXPECT_EQ(value, 7);
}

TEST(json, a_missing_part_makes_no_document)
{
    const json source(R"({"n":7})");
    json *part = nullptr;
    EXPECT_FALSE(source.get_value("range", part));
    EXPECT_EQ(source.get_document("range"), nullptr);
}

// ----- text forms -----

TEST(json, a_part_can_be_read_where_it_stands)
{
    json source(R"({"range":{"min":1,"list":["a","b"]},"n":7})");
    json list = source.part("range/list");
    ASSERT_FALSE(list.is_empty());
    std::string text;
    EXPECT_TRUE(list.first_child(text));
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(list.next_child(text));
    EXPECT_EQ(text, "b");
    int value = 0;
    EXPECT_TRUE(source.part("range").get_value("min", value));
    EXPECT_EQ(value, 1);
    EXPECT_TRUE(source.part("n").value(value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(source.part("range/max").is_empty());
}

TEST(json, text_form_follows_the_type)
{
    const json document(R"({"f":false,"t":true,"z":null,"i":2,"neg":-3,"r":0.5,"s":"a\"b","e":""})");
    struct {
        const char *path, *as_real, *as_integer;
    } const cases[] = {
        {"f", "false", "false"},    {"t", "true", "true"},  {"z", "null", "null"}, {"i", "2.000000", "2"},
        {"neg", "-3.000000", "-3"}, {"r", "0.500000", "0"}, {"s", "a\"b", "a\"b"}, {"e", "", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(text_at(document, c.path, false), c.as_real) << c.path;
        EXPECT_EQ(text_at(document, c.path, true), c.as_integer) << c.path;
        EXPECT_EQ(json::get_value_as_string(document.find(c.path), false), c.as_real) << c.path;
    }
}

TEST(json, text_form_of_containers_is_their_formatted_print)
{
    const json document(R"({"l":[1,"x"],"o":{"b":true}})");
    EXPECT_EQ(text_at(document, "l"), "[1, \"x\"]");
    EXPECT_EQ(text_at(document, "o"), "{\n\t\"b\":\ttrue\n}");
}

TEST(json, text_form_of_a_missing_item_leaves_the_text_alone)
{
    std::string text = "kept";
    EXPECT_FALSE(json(R"({"a":1})").get_value_as_string("b", text, true));
    EXPECT_EQ(text, "kept");
}

TEST(json, prints_the_document_or_one_item)
{
    const json document(R"({"a":[1,2]})");
    EXPECT_EQ(document.to_string(), "{\n\t\"a\":\t[1, 2]\n}");
    EXPECT_EQ(json::to_string(document.find("a")), "[1, 2]");
    EXPECT_EQ(json::to_string(nullptr), "");
}

TEST(json, an_item_that_cannot_be_printed_prints_empty)
{
    json document(R"({"a":1})");
    document.find("a")->type = cJSON_Invalid;
    EXPECT_EQ(json::to_string(document.find("a")), "");
    EXPECT_FALSE(json().attach_cjson(document.find("a")));
    EXPECT_EQ(document.get_document("a"), nullptr);
}

TEST(json, root_of_a_parsed_text_has_no_key)
{
    EXPECT_EQ(json(R"({"a":1})").key(), "");
}

TEST(json, root_with_a_name_answers_it)
{
    json document(R"({"a":1})");
    char name[] = "resolution";
    cJSON *root = document.find("");
    root->string = name;
    EXPECT_EQ(document.key(), "resolution");
    root->string = nullptr;
}

// ----- children -----

TEST(json, walks_the_roots_children_as_texts)
{
    json list(R"(["A4", 12, 0.5, true, false, null, [1], {"k":1}])");
    EXPECT_EQ(children_of(list),
              (texts{"A4", "12.000000", "0.500000", "true", "false", "null", "[1]", "{\n\t\"k\":\t1\n}"}));
    json object(R"({"min":100,"max":200})");
    EXPECT_EQ(children_of(object), (texts{"100.000000", "200.000000"}));
}

TEST(json, a_root_without_children_has_no_first_child)
{
    for (const char *text : {"{}", "[]", "7", "\"x\""}) {
        json document(text);
        std::string child = "old";
        EXPECT_FALSE(document.first_child(child)) << text;
        EXPECT_EQ(child, "") << text;
    }
}

TEST(json, no_child_follows_the_last)
{
    json document("[1]");
    std::string child;
    EXPECT_TRUE(document.first_child(child));
    EXPECT_FALSE(document.next_child(child));
    EXPECT_EQ(child, "");
    child = "old";
    EXPECT_FALSE(document.next_child(child));
    EXPECT_EQ(child, "");
}

TEST(json, next_child_without_a_first_answers_nothing)
{
    json document("[1,2]");
    std::string child = "old";
    EXPECT_FALSE(document.next_child(child));
    EXPECT_EQ(child, "");
}

TEST(json, the_walk_can_start_over)
{
    json document("[1,2]");
    EXPECT_EQ(children_of(document), (texts{"1.000000", "2.000000"}));
    EXPECT_EQ(children_of(document), (texts{"1.000000", "2.000000"}));
}

TEST(json, a_new_document_does_not_go_on_with_the_old_walk)
{
    json document("[1,2]");
    std::string child;
    EXPECT_TRUE(document.first_child(child));
    EXPECT_TRUE(document.attach_text("[3]"));
    EXPECT_EQ(children_of(document), (texts{"3.000000"}));
}

// ----- writes -----

TEST(json, overwrites_an_item_by_each_scalar_type)
{
    for (const char *before : {"1", "\"old\"", "true", "null", "[1,2]", "{\"k\":\"v\"}"}) {
        const std::string text = std::string("{\"a\":") + before + "}";
        json document(text.c_str());
        EXPECT_TRUE(document.set_value("a", true)) << before;
        EXPECT_EQ(text_at(document, "a"), "true") << before;
        EXPECT_TRUE(document.set_value("a", false)) << before;
        EXPECT_EQ(text_at(document, "a"), "false") << before;
        EXPECT_TRUE(document.set_value("a", -5)) << before;
        EXPECT_EQ(text_at(document, "a", true), "-5") << before;
        EXPECT_EQ(text_at(document, "a", false), "-5.000000") << before;
        EXPECT_TRUE(document.set_value("a", std::string("new text"))) << before;
        EXPECT_EQ(text_at(document, "a"), "new text") << before;
        EXPECT_TRUE(document.set_value("a", std::string("x"))) << before;
        EXPECT_EQ(text_at(document, "a"), "x") << before;
    }
}

TEST(json, setting_a_double_keeps_the_integer)
{
    json document(R"({"a":7})");
    EXPECT_TRUE(document.set_value("a", 2.5));
    int integer = 0;
    double real = 0;
    EXPECT_TRUE(document.get_value("a", integer));
    EXPECT_TRUE(document.get_value("a", real));
    EXPECT_EQ(integer, 7);
    EXPECT_EQ(real, 2.5);
}

TEST(json, a_text_is_written_with_zeros_after_it)
{
    json document(R"({"a":1})");
    EXPECT_TRUE(document.set_value("a", std::string("abc")));
    const char *text = document.find("a")->valuestring;
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text, 7), std::string("abc\0\0\0\0", 7));
}

TEST(json, writes_nothing_where_there_is_no_item)
{
    json document(R"({"a":1})");
    EXPECT_FALSE(document.set_value("b", true));
    EXPECT_FALSE(document.set_value("b", 1));
    EXPECT_FALSE(document.set_value("b", 1.5));
    EXPECT_FALSE(document.set_value("b", std::string("x")));
    EXPECT_EQ(document.to_string(), "{\n\t\"a\":\t1\n}");
}

TEST(json, the_root_can_be_overwritten)
{
    json document("7");
    EXPECT_TRUE(document.set_value("", std::string("x")));
    std::string text;
    EXPECT_TRUE(document.value(text));
    EXPECT_EQ(text, "x");
}

// ----- the root as a scalar -----

TEST(json, reads_the_root_by_its_type)
{
    struct {
        const char *text;
        bool truth, number, string;
    } const cases[] = {
        {"true", true, false, false},       {"false", true, false, false}, {"7.5", false, true, false},
        {"\"x\"", false, false, true},      {"null", false, false, false}, {"[1]", false, false, false},
        {"{\"a\":1}", false, false, false},
    };
    for (const auto &c : cases) {
        const json document(c.text);
        bool truth = false;
        int integer = 0;
        double real = 0;
        std::string string;
        EXPECT_EQ(document.value(truth), c.truth) << c.text;
        EXPECT_EQ(document.value(integer), c.number) << c.text;
        EXPECT_EQ(document.value(real), c.number) << c.text;
        EXPECT_EQ(document.value(string), c.string) << c.text;
    }
}

TEST(json, the_roots_value_is_what_the_text_says)
{
    bool truth = false;
    int integer = 0;
    double real = 0;
    std::string string;
    EXPECT_TRUE(json("true").value(truth));
    EXPECT_TRUE(truth);
    EXPECT_TRUE(json("false").value(truth));
    EXPECT_FALSE(truth);
    EXPECT_TRUE(json("7.5").value(integer));
    EXPECT_EQ(integer, 7);
    EXPECT_TRUE(json("7.5").value(real));
    EXPECT_EQ(real, 7.5);
    EXPECT_TRUE(json("\"resolution>=300\"").value(string));
    EXPECT_EQ(string, "resolution>=300");
}

// ----- arrays -----

TEST(json, reads_an_array_as_texts)
{
    struct {
        const char *array;
        texts expected;
    } const cases[] = {
        {"[]", {}},
        {"[1,\"x\",true]", {"1", "x", "true"}},
        {"[0.5,-2.9,3000000000]", {"0", "-2", "2147483647"}},
        {"[null,false,\"\"]", {"null", "false", ""}},
        {"[[1,2],{\"k\":1}]", {"[1, 2]", "{\n\t\"k\":\t1\n}"}},
    };
    for (const auto &c : cases) {
        const json document((std::string("{\"a\":") + c.array + "}").c_str());
        texts out{"old"};
        EXPECT_TRUE(document.get_as_array("a", out)) << c.array;
        EXPECT_EQ(out, c.expected) << c.array;
    }
}

TEST(json, what_is_no_array_empties_the_list)
{
    const json document(R"({"o":{},"s":"x","n":1})");
    for (const char *path : {"o", "s", "n", "missing", ""}) {
        texts out{"old"};
        EXPECT_FALSE(document.get_as_array(path, out)) << path;
        EXPECT_TRUE(out.empty()) << path;
    }
}

TEST(json, an_array_may_be_the_root)
{
    texts out;
    EXPECT_TRUE(json("[1]").get_as_array("", out));
    EXPECT_EQ(out, (texts{"1"}));
}

TEST(json, an_element_that_cannot_be_printed_is_a_logic_error)
{
    json document("[true]");
    document.find("")->child->type = cJSON_Invalid;
    texts out;
    EXPECT_THROW(document.get_as_array("", out), std::logic_error);
}

// ----- hostile texts -----

TEST(json, survives_deep_nesting)
{
    const std::string deep(100000, '[');
    EXPECT_FALSE(json().attach_text(deep.c_str()));
}

TEST(json, finds_nothing_by_a_very_long_path)
{
    const std::string path(100000, 'a');
    EXPECT_EQ(json(R"({"a":1})").find(path.c_str()), nullptr);
}

// ===== parts =====

TEST(json, part_reads_numbers_as_they_print)
{
    json document(
        R"({"range":{"max":599.9999999999999,"min":0.1,"step":1e999,"low":-1e999,"deep":[[3.0000000000000004]],
        "long":1234567.12345678912,"int":2147483647,"over":4294967296,"zero":0},"max":599.9999999999999})");
    json range = document.part("range");
    double real = 0;
    int integer = 0;
    std::string text;
    EXPECT_TRUE(range.get_value("max", real));
    EXPECT_EQ(real, 600);
    EXPECT_TRUE(range.get_value("max", integer));
    EXPECT_EQ(integer, 600);
    EXPECT_TRUE(range.get_value("min", real));
    EXPECT_EQ(real, 0.1);
    for (const char *const infinite : {"step", "low"}) {
        EXPECT_FALSE(range.get_value(infinite, real)) << infinite;
        EXPECT_TRUE(range.get_value_as_string(infinite, text, false)) << infinite;
        EXPECT_EQ(text, "null") << infinite;
    }
    EXPECT_EQ(range.find("deep")->child->child->valuedouble, 3);
    EXPECT_TRUE(range.get_value("long", real));
    EXPECT_EQ(real, 1234567.12345678912); // too far from what 15 digits say
    EXPECT_TRUE(range.get_value("int", integer));
    EXPECT_EQ(integer, 2147483647);
    EXPECT_TRUE(range.get_value("over", real));
    EXPECT_EQ(real, 4294967296.0);
    EXPECT_TRUE(range.get_value("zero", integer));
    EXPECT_EQ(integer, 0);
    EXPECT_TRUE(document.get_value("max", real));
    EXPECT_EQ(real, 599.9999999999999); // outside the part
}

TEST(json, part_is_what_a_copy_is)
{
    const char *const numbers[] = {"0.1",
                                   "0.30000000000000004",
                                   "599.9999999999999",
                                   "1e300",
                                   "-0.0",
                                   "2.5e-310",
                                   "1e999",
                                   "-7.5",
                                   "123456789012345678",
                                   "0.7",
                                   "1e15",
                                   "-0",
                                   "1.1e16",
                                   "1e-5",
                                   "9007199254740993",
                                   "33.333333333333336",
                                   "66.66",
                                   "0",
                                   "2147483648"};
    for (const char *const number : numbers) {
        json document((std::string(R"({"a":[)") + number + "]}").c_str());
        const auto copy = document.get_document("a");
        ASSERT_NE(copy, nullptr);
        const json part = document.part("a");
        const cJSON *const expected = copy->find(nullptr)->child;
        const cJSON *const read = part.find(nullptr)->child;
        EXPECT_EQ(read->type, expected->type) << number;
        EXPECT_EQ(read->valueint, expected->valueint) << number;
        if (expected->type == cJSON_Number) {
            EXPECT_EQ(read->valuedouble, expected->valuedouble) << number;
            EXPECT_EQ(std::signbit(read->valuedouble), std::signbit(expected->valuedouble)) << number;
        }
    }
}
