// SPDX-License-Identifier: MIT
// The grammar of a dependency condition, the eight comparisons, lists of conditions with their masters.
#include "depend_expression.h"
#include "json.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <string>
#include <vector>

namespace {

using middleware = kx_sane_middleware;
using texts = std::vector<std::string>;

struct parsed_condition {
    const char *text;
    const char *name;
    value_comparison compare;
    const char *l, *r;
};

void expect_condition(const _master_option &condition, const parsed_condition &expected)
{
    EXPECT_EQ(condition.name, expected.name) << expected.text;
    EXPECT_EQ(condition.compare_val, expected.compare) << expected.text;
    EXPECT_EQ(condition.limit_l, expected.l) << expected.text;
    EXPECT_EQ(condition.limit_r, expected.r) << expected.text;
}

class depend_list : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        middleware::instance();
        scripted::forget_record();
    }
    void TearDown() override { middleware::clear(); }

    bool parse(const char *expression)
    {
        json document(expression);
        return middleware::instance()->parse_depends(scanner_, &document, slave_, masters_);
    }

    texts names() const
    {
        texts found;
        for (const _master_option &condition : slave_.master)
            found.push_back(condition.name);
        return found;
    }

    void *scanner_ = reinterpret_cast<void *>(0x100000002);
    _slave_option slave_;
    texts masters_;
};

} // namespace

// ----- one condition -----

TEST(depend_condition, is_name_operator_and_operand)
{
    const parsed_condition cases[] = {
        {"resolution>=300", "resolution", middleware::compare_val_not_less, "300", ""},
        {"resolution>300", "resolution", middleware::compare_val_great, "300", ""},
        {"resolution<=300", "resolution", middleware::compare_val_not_great, "300", ""},
        {"resolution<300", "resolution", middleware::compare_val_less, "300", ""},
        {"is-erase-bkg==true", "is-erase-bkg", middleware::compare_val_equal, "true", ""},
        {"mode!=Gray", "mode", middleware::compare_val_not_equal, "Gray", ""},
        {"resolution==[100,600]", "resolution", middleware::compare_val_between, "100", "600"},
        {"resolution!=[100,600]", "resolution", middleware::compare_val_not_between, "100", "600"},
        {"==false", "", middleware::compare_val_equal, "false", ""},
        {"mode==", "mode", middleware::compare_val_equal, "", ""},
        {"mode==a b", "mode", middleware::compare_val_equal, "a b", ""},
        {"mode===x", "mode", middleware::compare_val_equal, "=x", ""},
        {"mode==\"x\"", "mode", middleware::compare_val_equal, "\"x\"", ""},
        {"mode>==5", "mode", middleware::compare_val_not_less, "=5", ""},
        {"mode>[1,2]", "mode", middleware::compare_val_great, "[1,2]", ""},
        {"mode>=[1,2]", "mode", middleware::compare_val_not_less, "[1,2]", ""},
        {"mode<>5", "mode", middleware::compare_val_less, ">5", ""},
        {"-==x", "-", middleware::compare_val_equal, "x", ""},
    };
    for (const auto &c : cases) {
        _master_option condition;
        EXPECT_TRUE(middleware::parse_master_option(c.text, condition)) << c.text;
        expect_condition(condition, c);
    }
}

TEST(depend_condition, blanks_and_tabs_may_stand_around_the_name_only)
{
    const parsed_condition cases[] = {
        {" \tmode \t==Gray", "mode", middleware::compare_val_equal, "Gray", ""},
        {"  ==x", "", middleware::compare_val_equal, "x", ""},
        {"mode== Gray ", "mode", middleware::compare_val_equal, " Gray ", ""},
        {"mode> 5", "mode", middleware::compare_val_great, " 5", ""},
        {"mode== [1,2]", "mode", middleware::compare_val_equal, " [1,2]", ""}, // the bracket must follow at once
        {"mode==[ 1 , 2 ] rest", "mode", middleware::compare_val_between, "1 ", " 2 "},
    };
    for (const auto &c : cases) {
        _master_option condition;
        EXPECT_TRUE(middleware::parse_master_option(c.text, condition)) << c.text;
        expect_condition(condition, c);
    }
}

TEST(depend_condition, without_an_operator_is_malformed)
{
    for (const char *text : {"",        " ",         "mode",      "mode ",     "mode=",  "mode=x",     "mode=>5",
                             "mode=<5", "mode!",     "mode!x",    "mode~5",    "mode:5", "option2==1", "Mode==1",
                             "is_x==1", "\nmode==1", "mode\n==1", "mode = =1", "a b==1", "300",        "[1,2]"}) {
        _master_option condition;
        EXPECT_FALSE(middleware::parse_master_option(text, condition)) << '"' << text << '"';
    }
}

TEST(depend_condition, without_a_whole_range_is_malformed)
{
    for (const char *text : {"a==[", "a==[1", "a==[1,2", "a==[12]", "a==[]", "a!=[1,2", "a!=[12]", "a==[12],3"}) {
        _master_option condition;
        EXPECT_FALSE(middleware::parse_master_option(text, condition)) << text;
    }
}

TEST(depend_condition, keeps_an_earlier_name_when_it_has_none)
{
    _master_option condition;
    condition.name = "earlier";
    condition.limit_l = "old";
    condition.limit_r = "old";
    EXPECT_TRUE(middleware::parse_master_option("==x", condition));
    EXPECT_EQ(condition.name, "earlier");
    EXPECT_EQ(condition.limit_l, "x");
    EXPECT_EQ(condition.limit_r, "");
}

TEST(depend_condition, begins_by_emptying_the_limits)
{
    _master_option condition;
    condition.limit_l = "old";
    condition.limit_r = "old";
    condition.compare_val = middleware::compare_val_less;
    EXPECT_FALSE(middleware::parse_master_option("", condition));
    EXPECT_EQ(condition.limit_l, "");
    EXPECT_EQ(condition.limit_r, "");
    EXPECT_EQ(condition.compare_val, static_cast<value_comparison>(middleware::compare_val_equal));
}

// ----- comparisons -----

TEST(depend_comparison, equality_is_of_bytes)
{
    struct {
        const char *cur, *l;
        bool equal;
    } const cases[] = {
        {"1", "1", true}, {"1", "1.0", false}, {"true", "true", true}, {"true", "True", false}, {"", "", true},
        {"a", "", false}, {"", "a", false},    {"a", "a ", false},     {"300", "300", true},    {"双面", "双面", true},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(middleware::compare_val_equal(c.cur, c.l, "ignored"), c.equal) << c.cur << ' ' << c.l;
        EXPECT_EQ(middleware::compare_val_not_equal(c.cur, c.l, "ignored"), !c.equal) << c.cur << ' ' << c.l;
    }
}

TEST(depend_comparison, order_is_of_numbers)
{
    struct {
        const char *cur, *l;
        bool great, less;
    } const cases[] = {
        {"300", "200", true, false},  {"300", "300", false, false},
        {"200", "300", false, true},  {"300.000000", "300", false, false},
        {"9", "10", false, true},     {"-1", "1", false, true},
        {"  7", "5", true, false},    {"5mm", "4 mm", true, false},
        {"x", "0", false, false},     {"", "-1", true, false},
        {"x", "y", false, false},     {"1e3", "999", true, false},
        {"0.5", "0.25", true, false}, {"nan", "1", false, false},
        {"1", "nan", false, false},   {"inf", "1e300", true, false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(middleware::compare_val_great(c.cur, c.l, ""), c.great) << c.cur << ' ' << c.l;
        EXPECT_EQ(middleware::compare_val_not_great(c.cur, c.l, ""), !c.great) << c.cur << ' ' << c.l;
        EXPECT_EQ(middleware::compare_val_less(c.cur, c.l, ""), c.less) << c.cur << ' ' << c.l;
        EXPECT_EQ(middleware::compare_val_not_less(c.cur, c.l, ""), !c.less) << c.cur << ' ' << c.l;
    }
}

TEST(depend_comparison, between_excludes_both_limits)
{
    struct {
        const char *cur, *l, *r;
        bool between;
    } const cases[] = {
        {"300", "100", "600", true},  {"100", "100", "600", false},  {"600", "100", "600", false},
        {"99", "100", "600", false},  {"601", "100", "600", false},  {"100.5", "100", "600", true},
        {"300", "600", "100", false}, {"300", "100 ", " 600", true}, {"nan", "100", "600", false},
        {"1", "", "2", true},         {"1", "0", "", false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(middleware::compare_val_between(c.cur, c.l, c.r), c.between) << c.cur << ' ' << c.l << ' ' << c.r;
        EXPECT_EQ(middleware::compare_val_not_between(c.cur, c.l, c.r), !c.between)
            << c.cur << ' ' << c.l << ' ' << c.r;
    }
}

// ----- lists -----

TEST_F(depend_list, holds_its_conditions_in_order)
{
    EXPECT_TRUE(parse(R"(["mode==Gray","resolution==[100,600]","is-split!=true"])"));
    ASSERT_EQ(slave_.master.size(), 3U);
    expect_condition(slave_.master[0], {"", "mode", middleware::compare_val_equal, "Gray", ""});
    expect_condition(slave_.master[1], {"", "resolution", middleware::compare_val_between, "100", "600"});
    expect_condition(slave_.master[2], {"", "is-split", middleware::compare_val_not_equal, "true", ""});
    EXPECT_EQ(masters_, (texts{"is-split", "mode", "resolution"}));
}

TEST_F(depend_list, may_be_a_single_text)
{
    EXPECT_TRUE(parse(R"("mode==Gray")"));
    EXPECT_EQ(names(), (texts{"mode"}));
    EXPECT_EQ(masters_, (texts{"mode"}));
}

TEST_F(depend_list, may_be_any_container)
{
    EXPECT_TRUE(parse(R"({"x":"mode==Gray","y":"==Color"})"));
    EXPECT_EQ(names(), (texts{"mode", "mode"}));
}

TEST_F(depend_list, without_conditions_fails)
{
    for (const char *expression : {"[]", "{}", "7", "true", "null", R"("")", R"(["mode"])", R"([""])", "[7]"}) {
        EXPECT_FALSE(parse(expression)) << expression;
        EXPECT_TRUE(masters_.empty()) << expression;
    }
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(depend_list, a_nameless_condition_tests_the_master_before)
{
    EXPECT_TRUE(parse(R"(["mode==Gray","==Color","resolution>1","<5"," <= 9"])"));
    EXPECT_EQ(names(), (texts{"mode", "mode", "resolution", "resolution", "resolution"}));
    EXPECT_EQ(masters_, (texts{"mode", "resolution"}));
}

TEST_F(depend_list, a_nameless_first_condition_keeps_an_empty_name)
{
    EXPECT_TRUE(parse(R"(["==Gray","mode==x"])"));
    EXPECT_EQ(names(), (texts{"", "mode"}));
    EXPECT_EQ(masters_, (texts{"", "mode"}));
}

TEST_F(depend_list, ends_at_the_first_malformed_condition)
{
    EXPECT_TRUE(parse(R"(["mode==Gray","option2==1","resolution>1"])"));
    EXPECT_EQ(names(), (texts{"mode"}));
    EXPECT_EQ(masters_, (texts{"mode"}));
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(depend_list, adds_to_the_conditions_of_a_slave)
{
    EXPECT_TRUE(parse(R"(["mode==Gray"])"));
    EXPECT_TRUE(parse("[]"));
    EXPECT_TRUE(parse(R"(["paper==A4"])"));
    EXPECT_EQ(names(), (texts{"mode", "paper"}));
}

TEST_F(depend_list, masters_stay_sorted_without_duplicates)
{
    masters_ = {"b", "z"};
    EXPECT_TRUE(parse(R"(["z==1","a==1","m==1","b==1","a==2","-==1"])"));
    EXPECT_EQ(masters_, (texts{"-", "a", "b", "m", "z"}));
    EXPECT_EQ(slave_.master.size(), 6U);
}

TEST_F(depend_list, string_masters_compare_in_the_users_language)
{
    scripted::set_option(1, "paper", R"({"type":"string","size":20})");
    scripted::set_option(2, "resolution", R"({"type":"int","size":4})");
    void *handle = nullptr;
    ASSERT_EQ(middleware::instance()->open_device("virtual:1", &handle), SANE_STATUS_GOOD);
    scanner_ = middleware::sane_handle_to_scanner(handle);
    scripted::set_translation("A4横向", "A4 landscape");
    scripted::set_translation("300", "three hundred");
    scripted::set_translation("1", "one");
    scripted::set_translation("2", "two");
    EXPECT_TRUE(parse(R"(["paper==A4横向","resolution==300","stranger==300","paper==[1,2]"])"));
    ASSERT_EQ(slave_.master.size(), 4U);
    EXPECT_EQ(slave_.master[0].limit_l, "A4 landscape");
    EXPECT_EQ(slave_.master[1].limit_l, "300");
    EXPECT_EQ(slave_.master[2].limit_l, "300");
    EXPECT_EQ(slave_.master[3].limit_l, "one");
    EXPECT_EQ(slave_.master[3].limit_r, "2");
    EXPECT_EQ(scripted::calls_of("from_default_language"),
              (texts{"from_default_language(A4横向,null)", "from_default_language(1,null)"}));
}
