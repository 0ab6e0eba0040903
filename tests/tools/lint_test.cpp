// SPDX-License-Identifier: MIT
// Each mistake in a description, made once in a profile that is otherwise in order, or in a driver's own texts.
#include "inspect.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace inspect_test {
namespace {

using nlohmann::json;

// Begins a description with all that one needs.
constexpr const char *mode = R"({"name": "mode", "type": "string", "title": 1022, "desc": 2022,
    "range": ["Color", "Gray"], "default": "Gray"})";

class lint : public inspect_program {
protected:
    // What is found in a profile with these options, one finding a line, and last the numbers of them.
    [[nodiscard]] outcome lint_options(const std::string &options) const
    {
        write_file("broken.json", R"({"device": {"name": "test:broken", "vendor": "V", "model": "M", "type": "T"},
            "papers": {}, "information": {}, "options": [)" +
                                      options + "]}");
        return inspect({"lint", path("broken.json")});
    }

    // An option whose title and description are in order, with these further keys.
    [[nodiscard]] static std::string option(const std::string &name, const std::string &keys)
    {
        return R"({"name": ")" + name + R"(", "title": 1022, "desc": 2022, )" + keys + "}";
    }

    [[nodiscard]] static std::string flag_with(const std::string &keys)
    {
        return option("is-flag", R"("type": "bool", "default": false, )" + keys);
    }

    // The finding is the only one.
    void expect_error(const outcome &result, const std::string &finding) const
    {
        EXPECT_EQ(result.output, finding + "\n" + path("broken.json") + ": errors: 1, warnings: 0\n");
        EXPECT_EQ(result.status, 1);
    }

    void expect_warning(const outcome &result, const std::string &finding) const
    {
        EXPECT_EQ(result.output, finding + "\n" + path("broken.json") + ": errors: 0, warnings: 1\n");
        EXPECT_EQ(result.status, 1);
    }
};

TEST_F(lint, finds_nothing_in_the_profiles_that_come_with_the_scanner)
{
    for (const char *name : {"duplex_feeder", "simplex_feeder", "flatbed_feeder", "large_format"}) {
        const std::string file = std::string(PELSANE_PROFILES) + "/" + name + ".json";
        const outcome result = inspect({"lint", file});
        EXPECT_EQ(result.output, file + ": errors: 0, warnings: 0\n");
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(lint, finds_nothing_in_the_scanners_that_come_with_the_library)
{
    set_variable("PELVIRTUAL_PROFILES", PELSANE_PROFILES);
    for (const char *name : {"duplex-feeder", "simplex-feeder", "flatbed-feeder", "large-format"}) {
        const std::string device = std::string("virtual:") + name;
        const outcome result = inspect({"lint", device});
        EXPECT_EQ(result.output, device + ": errors: 0, warnings: 0\n");
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(lint, finds_a_malformed_condition_and_counts_what_is_dropped_with_it)
{
    expect_error(
        lint_options(mode + ("," + flag_with(R"("depend_or": ["mode==Gray", "mode=Color", "mode==Color"])"))),
        "option 2, is-flag, /depend_or/1: error: \"mode=Color\": a name of a-z and \"-\" is expected, then one "
        "of == != > >= < <=: it is ignored, and the 1 after it [malformed-condition]");
}

TEST_F(lint, finds_a_range_that_does_not_end)
{
    expect_error(lint_options(option("resolution", R"("type": "int", "default": 75)") + "," +
                              flag_with(R"("depend_and": "resolution==[75,300")")),
                 "option 2, is-flag, /depend_and/0: error: \"resolution==[75,300\": a range is \"[from,to]\" after "
                 "\"==\" or \"!=\": it is ignored [malformed-condition]");
}

TEST_F(lint, finds_a_master_that_does_not_exist)
{
    expect_error(lint_options(flag_with(R"("depend_or": ["mood==Gray"])")),
                 "option 1, is-flag, /depend_or/0: error: \"mood\" is no option [unknown-master]");
}

TEST_F(lint, finds_a_first_condition_without_a_name)
{
    expect_error(lint_options(flag_with(R"("depend_or": ["==Gray"])")),
                 "option 1, is-flag, /depend_or/0: error: the first condition names no option [unknown-master]");
}

TEST_F(lint, finds_a_master_that_no_condition_can_name)
{
    expect_error(lint_options(option("mode-2", R"("type": "bool", "default": false)") + "," +
                              flag_with(R"("depend_or": ["mode-2==true"])")),
                 "option 2, is-flag, /depend_or/0: error: \"mode-2==true\": no condition can name \"mode-2\", only a-z "
                 "and \"-\" are read: it is ignored [unnameable-master]");
}

TEST_F(lint, finds_rules_without_conditions)
{
    for (const std::string rule : {R"("depend_or": 5)", R"("depend_or": [])"})
        expect_error(lint_options(flag_with(rule)), "option 1, is-flag, /depend_or: error: neither a condition nor a "
                                                    "list of them: it is ignored [malformed-condition]");
}

TEST_F(lint, finds_masters_without_a_value)
{
    expect_error(
        lint_options(option("press", R"("type": "button")") + "," + flag_with(R"("depend_or": "press==true")")),
        "option 2, is-flag, /depend_or/0: error: \"press\" is a button and has no value [unknown-master]");
}

TEST_F(lint, finds_options_that_depend_on_each_other)
{
    expect_error(lint_options(option("a", R"("type": "bool", "default": false, "depend_or": "b==true")") + "," +
                              option("b", R"("type": "bool", "default": false, "depend_or": "c==true")") + "," +
                              option("c", R"("type": "bool", "default": false, "depend_or": "a==true")")),
                 "option 1, a, /depend_or: error: nothing but itself can switch it on: a -> b -> c -> a [cycle]");
}

TEST_F(lint, finds_an_option_that_depends_on_itself)
{
    expect_error(
        lint_options(flag_with(R"("depend_and": "is-flag==true")")),
        "option 1, is-flag, /depend_and: error: nothing but itself can switch it on: is-flag -> is-flag [cycle]");
}

TEST_F(lint, lets_circles_be_that_another_option_leads_into)
{
    const outcome result =
        lint_options(option("x", R"("type": "bool", "default": false)") + "," +
                     option("a", R"("type": "bool", "default": false, "depend_or": ["x==true", "b==true"])") + "," +
                     option("b", R"("type": "bool", "default": false, "depend_or": "a==true")"));
    EXPECT_EQ(result.output, path("broken.json") + ": errors: 0, warnings: 0\n");
    EXPECT_EQ(result.status, 0);
}

TEST_F(lint, finds_a_comparison_that_never_holds)
{
    expect_warning(lint_options(mode + ("," + flag_with(R"("depend_or": "mode== Gray")"))),
                   "option 2, is-flag, /depend_or/0: warning: mode is never \" Gray\" [never-equal]");
    expect_warning(lint_options(option("gamma", R"("type": "float", "default": 1.0,
                                                   "range": {"min": 0.5, "max": 2.0, "step": 0.1})") +
                                "," + flag_with(R"("depend_or": "gamma==1.0")")),
                   "option 2, is-flag, /depend_or/0: warning: gamma is never \"1.0\" [never-equal]");
}

TEST_F(lint, finds_a_text_that_is_described_after_what_depends_on_it)
{
    expect_warning(lint_options(flag_with(R"("depend_or": "mode==Gray")") + "," + mode),
                   "option 1, is-flag, /depend_or/0: warning: mode stands after this option: its words are not "
                   "translated [late-master]");
}

TEST_F(lint, finds_two_rules_for_one_option)
{
    expect_warning(lint_options(mode + ("," + flag_with(R"("depend_or": "mode==Gray", "depend_and": "mode==Gray")"))),
                   "option 2, is-flag, /depend_and: warning: it is ignored beside \"depend_or\" [two-rules]");
}

TEST_F(lint, finds_values_outside_their_own_range)
{
    expect_error(lint_options(option("contrast", R"("type": "int", "default": 101,
                                                    "range": {"min": -100, "max": 100, "step": 1})")),
                 "option 1, contrast, /default: error: 101 is outside the option's own range [value-out-of-range]");
    expect_error(lint_options(option("resolution", R"("type": "int", "default": 200, "range": [75, 300])")),
                 "option 1, resolution, /default: error: 200 is outside the option's own range [value-out-of-range]");
    expect_error(lint_options(option("mode", R"("type": "string", "default": "Grey", "range": ["Color", "Gray"])")),
                 "option 1, mode, /default: error: Grey is outside the option's own range [value-out-of-range]");
}

TEST_F(lint, takes_listed_numbers_as_exactly_as_the_backend)
{
    const outcome result =
        lint_options(option("gamma", R"("type": "float", "default": 0.33333333333, "range": [0.33333333333, 1.0])"));
    EXPECT_EQ(result.output, path("broken.json") + ": errors: 0, warnings: 0\n");
}

TEST_F(lint, finds_bounds_that_are_out_of_order)
{
    expect_error(lint_options(option("contrast", R"("type": "int", "range": {"min": 100, "max": -100, "step": 1})")),
                 "option 1, contrast, /range: error: \"min\" is greater than \"max\" [empty-range]");
}

TEST_F(lint, finds_a_size_without_room_for_the_longest_value)
{
    expect_error(lint_options(option("mode", R"("type": "string", "size": 5, "default": "Gray",
                                                "range": ["Color", "Gray"])")),
                 "option 1, mode, /size: error: 5 bytes where 6 are needed [size-too-small]");
    expect_error(lint_options(option("is-flag", R"("type": "bool", "size": 1, "default": true)")),
                 "option 1, is-flag, /size: error: 1 bytes where 4 are needed [size-too-small]");
}

TEST_F(lint, finds_texts_that_are_longer_than_their_size)
{
    const auto texts_with = [this](const std::string &keys) {
        write_file("texts", R"("note" : {"type": "string", "title": "Note", "desc": "A note", )" + keys + "}\n");
        return inspect({"lint", path("texts")});
    };
    const std::string end = "\n" + path("texts") + ": errors: 1, warnings: 0\n";
    EXPECT_EQ(texts_with(R"("size": 4, "cur": "four", "default": "")").output,
              "option 1, note, /cur: error: 5 bytes with the NUL, and the size is 4: applications are given more than "
              "they have room for [text-too-long]" +
                  end);
    EXPECT_EQ(texts_with(R"("size": 4, "cur": "", "default": "双面")").output,
              "option 1, note, /default: error: 7 bytes with the NUL, and the size is 4: applications are given more "
              "than they have room for [text-too-long]" +
                  end);
    EXPECT_EQ(texts_with(R"("size": 5, "cur": "four", "default": "four")").status, 0);
    // As it is delivered: what would be a word's number elsewhere is not translated here.
    EXPECT_EQ(
        texts_with(R"("size": 13, "cur": "1012.00000000", "default": "")").output,
        "option 1, note, /cur: error: 14 bytes with the NUL, and the size is 13: applications are given more than "
        "they have room for [text-too-long]" +
            end);
    EXPECT_EQ(texts_with(R"("size": -4, "cur": "", "default": "")").output,
              "option 1, note, /size: error: -4 bytes where 1 are needed [size-too-small]" + end);
}

TEST_F(lint, finds_types_that_yield_no_descriptor)
{
    expect_error(lint_options(option("resolution", R"("type": "integer", "default": 75)")),
                 "option 1, resolution: error: \"integer\" is no type: the option is not shown [no-descriptor]");
    expect_error(lint_options(option("resolution", R"("default": 75)")),
                 "option 1, resolution: error: there is no \"type\": the option is not shown [no-descriptor]");
}

TEST_F(lint, finds_a_float_without_a_range)
{
    expect_warning(lint_options(option("gamma", R"("type": "float", "default": 1.5)")),
                   "option 1, gamma: warning: a \"float\" without a range is shown as a whole number, without its "
                   "fraction [float-without-range]");
}

TEST_F(lint, finds_names_that_are_taken)
{
    expect_error(lint_options(flag_with(R"("auto": true)") + "," + flag_with(R"("auto": true)")),
                 "option 2, is-flag: error: option 1 has this name, too [name-clash]");
}

TEST_F(lint, finds_names_that_the_backend_takes)
{
    const auto button = [](const std::string &name) { return option(name, R"("type": "button")"); };
    expect_error(lint_options(button("duplex") + "," + button("page")),
                 "option 1, duplex: error: the backend adds an option of this name to \"page\" [name-clash]");
    for (const std::string name : {"page-width", "page-height"})
        expect_error(lint_options(button("paper") + "," + button(name)),
                     "option 2, " + name +
                         ": error: the backend adds an option of this name to \"paper\" [name-clash]");
    EXPECT_EQ(lint_options(button("duplex") + "," + button("paper")).status, 0);
}

TEST_F(lint, finds_fixed_identifiers_that_are_taken)
{
    expect_error(lint_options(mode + ("," + flag_with(R"("fix-id": 34819)"))),
                 "option 2, is-flag, /fix-id: error: option 1, mode, has the fixed identifier 34819, too [id-clash]");
}

TEST_F(lint, finds_names_that_are_too_long)
{
    const std::string longest(63, 'n');
    expect_error(
        lint_options(option(longest, R"("type": "button")") + "," + option(longest + "n", R"("type": "button")")),
        "option 2, " + longest + "n: error: the name has 64 bytes, and 63 are the most [long-name]");
}

TEST_F(lint, finds_titles_and_descriptions_that_are_missing)
{
    expect_warning(lint_options(R"({"name": "is-flag", "type": "bool", "title": 1022, "default": false})"),
                   "option 1, is-flag, /desc: warning: it is missing [no-description]");
    expect_warning(lint_options(R"({"name": "is-flag", "type": "bool", "title": 999999, "desc": 2022})"),
                   "option 1, is-flag, /title: warning: the language library has no word 999999 [no-title]");
}

TEST_F(lint, reads_a_drivers_own_texts)
{
    write_file("texts", "\"mode\" : {\"type\": \"string\", \"title\": \"Mode\", \"desc\": \"Colours\", \"size\": 8,\n");
    EXPECT_EQ(inspect({"lint", path("texts")}).output,
              "option 1, mode: error: the text is no JSON: the option is not shown [no-descriptor]\n" + path("texts") +
                  ": errors: 1, warnings: 0\n");
    write_file("texts", "\"is-flag\" : {\"type\": \"bool\", \"title\": \"Flag\", \"desc\": \"A flag\", \"cur\": true}\n"
                        "\n"
                        "\"contrast\" : {\"type\": \"int\", \"title\": \"Contrast\", \"desc\": \"More\", \"size\": 4, "
                        "\"range\": [0, 5], \"cur\": 6}\n");
    EXPECT_EQ(inspect({"lint", path("texts")}).output,
              "option 1, is-flag, /size: error: a \"bool\" without a size: applications take it for empty [no-size]\n"
              "option 2, contrast, /cur: error: 6 is outside the option's own range [value-out-of-range]\n" +
                  path("texts") + ": errors: 2, warnings: 0\n");
}

TEST_F(lint, finds_texts_that_a_scanner_garbles)
{
    set_variable("PELVIRTUAL_FAULTS", "garbage(gamma) as broken");
    const outcome result = inspect({"lint", "test:small"});
    EXPECT_EQ(result.output, "option 9, gamma: error: the text is no JSON: the option is not shown [no-descriptor]\n"
                             "test:small: errors: 1, warnings: 0\n");
    EXPECT_EQ(result.status, 1);
}

TEST_F(lint, keeps_control_characters_from_the_terminal)
{
    write_file("texts", "\"is\x1b[31m\" : {\"type\": \"red\\u001b[0m\"}\n");
    EXPECT_EQ(inspect({"lint", path("texts")}).output,
              "option 1, is [31m: error: \"red [0m\" is no type: the option is not shown [no-descriptor]\n" +
                  path("texts") + ": errors: 1, warnings: 0\n");
}

TEST_F(lint, says_the_same_to_scripts)
{
    write_file("texts", "\"is-flag\" : {\"type\": \"bool\", \"title\": \"Flag\", \"desc\": \"A flag\"}\n");
    const outcome result = inspect({"lint", "--json", path("texts")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(json::parse(result.output),
              json({{"subject", path("texts")},
                    {"findings",
                     {{{"number", 1},
                       {"option", "is-flag"},
                       {"place", "/size"},
                       {"severity", "error"},
                       {"rule", "no-size"},
                       {"reason", "a \"bool\" without a size: applications take it for empty"}}}}}));
}

TEST_F(lint, refuses_a_file_of_another_kind)
{
    write_file("page", "P6 1 1 255");
    expect_failure(inspect({"lint", path("page")}), 2, path("page") + ": neither a profile nor texts of options");
    write_file("deep", R"({"options": [{"name": "a", "x": )" + std::string(100000, '['));
    expect_failure(inspect({"lint", path("deep")}), 2, path("deep") + ": nested more than 1000 deep");
    expect_failure(inspect({"lint", path("")}), 2, path("") + ": Is a directory");
    expect_failure(inspect({"lint", path("missing.json")}), 3, "there is no scanner \"" + path("missing.json") + "\"");
}

} // namespace
} // namespace inspect_test
