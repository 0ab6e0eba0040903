// SPDX-License-Identifier: MIT
// Options that become active and inactive as others change: at open, after a set, in chains and cycles; what the driver
// and the application are told.
#include "backend_test.h"
#include "option_device.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstring>
#include <string>

namespace {

class depend_propagation : public option_device {
protected:
    // Numbers count upward from 1.
    void add(const std::string &name, const std::string &keys)
    {
        const bool is_text = keys.find(R"("string")") != std::string::npos;
        scripted::set_option(++last_, name, R"({"size":)" + std::string(is_text ? "16," : "4,") + keys + "}");
    }

    void add_flag(const std::string &name, bool cur, const std::string &more = "")
    {
        add(name, std::string(R"("type":"bool","cur":)") + (cur ? "true" : "false") + more);
    }

    void open_all()
    {
        open_device();
        scripted::forget_record();
    }

    // Sets a bool option and answers the info word.
    SANE_Int set_flag(const char *name, bool value)
    {
        SANE_Word word = value ? 1 : 0;
        SANE_Int info = -1;
        EXPECT_EQ(control(name, SANE_ACTION_SET_VALUE, &word, &info), SANE_STATUS_GOOD);
        return info;
    }

    // The notices so far as "name=state", in order.
    static texts told()
    {
        texts all;
        for (const auto &notice : scripted::notices())
            all.push_back(notice.name + "=" + std::to_string(notice.enabled));
        scripted::forget_record();
        return all;
    }

    SANE_Int last_ = 0;
};

} // namespace

// ----- at open -----

TEST_F(depend_propagation, options_start_as_their_conditions_say)
{
    struct {
        const char *depend;
        bool active;
    } const cases[] = {
        {R"("depend_or":["yes==true","no==true"])", true},
        {R"("depend_or":["no==true"])", false},
        {R"("depend_and":["yes==true","no==true"])", false},
        {R"("depend_and":["yes==true","no==false"])", true},
        {R"("depend_and":"number==[100,600]")", true},
        {R"("depend_and":"number==[300,600]")", false},
        {R"("depend_and":"number>=300")", true},
        {R"("depend_and":"real<1.75")", true},
        {R"("depend_and":"real==1.5")", false}, // texts are compared, and a real prints six decimals
        {R"("depend_and":"real==1.500000")", true},
        {R"("depend_or":["no==true"],"depend_and":["yes==true"])", false},
        {R"("depend_or":[],"depend_and":["no==true"])", true},
        {R"("depend_or":["malformed"])", true},
        {R"("depend_and":["yes==true","malformed","no==true"])", true},
        {R"("enable":false,"depend_and":["yes==true"])", true},
        {R"("enable":false)", false},
        {R"("depend_and":["text==abc"])", true},
        {R"("depend_and":["text== abc"])", false},
        {R"("depend_or":["number==1","==300"])", true},
        {R"("depend_and":7)", true},
    };
    add_flag("yes", true);
    add_flag("no", false);
    add("number", R"("type":"int","cur":300)");
    add("real", R"("type":"float","cur":1.5)");
    add("text", R"("type":"string","cur":"abc")");
    for (const auto &c : cases) {
        scripted::set_option(6, "slave", std::string(R"({"type":"int",)") + c.depend + "}");
        open_all();
        EXPECT_EQ(is_active("slave"), c.active) << c.depend;
        sane_pelsane_exit();
    }
}

TEST_F(depend_propagation, the_driver_is_told_nothing_at_open)
{
    add_flag("master", false);
    add_flag("slave", false, R"(,"depend_and":["master==true"])");
    open_device();
    EXPECT_FALSE(is_active("slave"));
    EXPECT_TRUE(scripted::notices().empty());
}

TEST_F(depend_propagation, conditions_on_texts_are_in_the_drivers_language)
{
    scripted::set_translation("双面", "Duplex");
    scripted::set_translation(57, "Duplex");
    add("sides", R"("type":"string","cur":57)");
    add_flag("slave", false, R"(,"depend_and":["sides==双面"])");
    open_device();
    EXPECT_TRUE(is_active("slave"));
}

TEST_F(depend_propagation, an_option_described_later_is_as_its_enable_key_says_until_a_master_is_set)
{
    struct {
        const char *keys;
        bool active;
        texts told; // when the master is set to true
    } const cases[] = {
        {R"("enable":false,"depend_and":["master==true"])", false, {"late=1"}},
        {R"("depend_and":["master==true"])", true, {}},
        {R"("depend_and":["master==false"])", true, {"late=0"}},
        {R"("enable":false,"depend_and":["master==false"])", false, {}},
    };
    add_flag("master", true);
    for (const auto &c : cases) {
        scripted::remove_option(2);
        open_all();
        scripted::set_option(2, "late", std::string(R"({"type":"int","size":4,)") + c.keys + "}");
        EXPECT_EQ(is_active("late"), c.active) << c.keys;
        EXPECT_EQ(set_flag("master", true), c.told.empty() ? 0 : SANE_INFO_RELOAD_OPTIONS) << c.keys;
        EXPECT_EQ(told(), c.told) << c.keys;
        sane_pelsane_exit();
    }
}

// ----- after a set -----

TEST_F(depend_propagation, a_set_switches_what_depends_on_it)
{
    add_flag("master", false);
    add_flag("slave", true, R"(,"depend_and":["master==true"])");
    open_all();
    EXPECT_EQ(set_flag("master", true), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_TRUE(is_active("slave"));
    EXPECT_EQ(told(), (texts{"slave=1"}));
    EXPECT_EQ(set_flag("master", false), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_FALSE(is_active("slave"));
    EXPECT_EQ(told(), (texts{"slave=0"}));
}

TEST_F(depend_propagation, a_set_of_nobodys_master_tells_nothing)
{
    add_flag("lonely", false);
    add_flag("master", false);
    add_flag("slave", true, R"(,"depend_and":["master==true"])");
    open_all();
    EXPECT_EQ(set_flag("lonely", true), 0);
    EXPECT_TRUE(told().empty());
}

TEST_F(depend_propagation, a_set_that_changes_no_state_tells_nothing)
{
    add("master", R"("type":"int","cur":300)");
    add_flag("slave", true, R"(,"depend_and":["master>100"])");
    open_all();
    SANE_Int info = -1;
    EXPECT_EQ(set_word(1, 400, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, 0);
    EXPECT_TRUE(told().empty());
    EXPECT_EQ(set_word(1, 50, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(told(), (texts{"slave=0"}));
}

TEST_F(depend_propagation, a_chain_is_followed_to_its_end)
{
    add_flag("p", true);
    add_flag("q", true, R"(,"depend_and":["p==true"])");
    add_flag("r", true, R"(,"depend_and":["q==true"])");
    open_all();
    EXPECT_TRUE(is_active("r"));
    EXPECT_EQ(set_flag("p", false), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_FALSE(is_active("q"));
    EXPECT_FALSE(is_active("r")); // q still holds true, but is inactive
    EXPECT_EQ(told(), (texts{"q=0", "r=0"}));
    EXPECT_EQ(set_flag("p", true), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(told(), (texts{"q=1", "r=1"}));
}

TEST_F(depend_propagation, an_or_slave_needs_an_active_master)
{
    add_flag("p", true);
    add_flag("q", true, R"(,"depend_and":["p==true"])");
    add_flag("r", true, R"(,"depend_or":["q==true","never==true"])");
    add_flag("never", false);
    open_all();
    EXPECT_TRUE(is_active("r"));
    set_flag("p", false);
    EXPECT_FALSE(is_active("r"));
}

TEST_F(depend_propagation, the_walk_is_breadth_first_in_the_order_of_description)
{
    add_flag("deep", true, R"(,"depend_and":["first==true"])");
    add_flag("second", true, R"(,"depend_and":["root==true"])");
    add_flag("root", true);
    add_flag("first", true, R"(,"depend_and":["root==true"])");
    add_flag("deeper", true, R"(,"depend_and":["second==true"])");
    open_all();
    set_flag("root", false);
    EXPECT_EQ(told(), (texts{"second=0", "first=0", "deeper=0", "deep=0"}));
}

TEST_F(depend_propagation, options_that_depend_on_each_other_do_not_loop)
{
    add_flag("a", true, R"(,"depend_and":["b==true"])");
    add_flag("b", true, R"(,"depend_and":["a==true"])");
    open_all();
    EXPECT_EQ(set_flag("a", false), SANE_INFO_RELOAD_OPTIONS);
    // a itself is decided again from b, which is inactive now
    EXPECT_EQ(told(), (texts{"b=0", "a=0"}));
    EXPECT_FALSE(is_active("a"));
    EXPECT_FALSE(is_active("b"));
}

TEST_F(depend_propagation, an_option_that_depends_on_itself_is_left_alone)
{
    add_flag("self", true, R"(,"depend_and":["self==true"])");
    open_all();
    EXPECT_EQ(set_flag("self", false), 0);
    EXPECT_TRUE(is_active("self"));
    EXPECT_TRUE(told().empty());
}

TEST_F(depend_propagation, a_slave_may_be_decided_more_than_once)
{
    add_flag("root", true);
    add_flag("slave", true, R"(,"depend_or":["root==true","middle==true"])");
    add_flag("middle", true, R"(,"depend_and":["root==false"])");
    open_all();
    EXPECT_FALSE(is_active("middle"));
    EXPECT_TRUE(is_active("slave"));
    EXPECT_EQ(set_flag("root", false), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(told(), (texts{"slave=0", "middle=1", "slave=1"}));
    EXPECT_TRUE(is_active("slave"));
}

// ----- the notice -----

TEST_F(depend_propagation, the_notice_carries_the_masters_values)
{
    add_flag("flag", false);
    add("number", R"("type":"int","cur":-300)");
    add("real", R"("type":"float","cur":1.5)");
    add("text", R"("type":"string","cur":"abc")");
    add_flag("slave", true, R"(,"depend_and":["flag==true","number!=5","real>0","flag!=x","text==abc","missing==1"])");
    open_all();
    set_flag("flag", true);
    auto notices = scripted::notices();
    ASSERT_EQ(notices.size(), 1U);
    EXPECT_EQ(notices[0].handle, handle_of(0x100000002));
    EXPECT_EQ(notices[0].name, "slave");
    EXPECT_EQ(notices[0].enabled, 1);
    ASSERT_EQ(notices[0].masters.size(), 4U);
    const auto &flag = notices[0].masters[0];
    EXPECT_EQ(flag.name, "flag");
    EXPECT_EQ(flag.data, (scripted::bytes{1, 0, 0, 0, 0, 0, 0, 0}));
    const auto &number = notices[0].masters[1];
    EXPECT_EQ(number.name, "number");
    EXPECT_EQ(number.data, (scripted::bytes{0xD4, 0xFE, 0xFF, 0xFF, 0, 0, 0, 0}));
    const auto &real = notices[0].masters[2];
    EXPECT_EQ(real.name, "real");
    EXPECT_EQ(real.data, (scripted::bytes{0, 0, 0, 0, 0, 0, 0xF8, 0x3F}));
    EXPECT_EQ(notices[0].masters[3].name, "text");
    EXPECT_EQ(notices[0].masters[3].text, "abc");
}

TEST_F(depend_propagation, the_notice_is_one_control_call_without_a_length)
{
    add_flag("master", true);
    add_flag("slave", true, R"(,"depend_and":["master==true"])");
    open_all();
    set_flag("master", false);
    EXPECT_EQ(scripted::calls_of("kx_scanner_control"),
              (texts{"kx_scanner_control(0x100000002,0x10000001,data,null)"}));
    ASSERT_EQ(scripted::notices().size(), 1U);
    EXPECT_EQ(scripted::notices()[0].masters[0].data[0], 0);
}

TEST_F(depend_propagation, the_drivers_answer_to_a_notice_does_not_matter)
{
    add_flag("master", true);
    add_flag("slave", true, R"(,"depend_and":["master==true"])");
    open_all();
    for (const int code : {256, 262, 0xDE00}) {
        scripted::answer("kx_scanner_control", code, 1);
        EXPECT_EQ(set_flag("master", false), SANE_INFO_RELOAD_OPTIONS) << code;
        EXPECT_FALSE(is_active("slave")) << code;
        set_flag("master", true);
    }
}

TEST_F(depend_propagation, long_names_are_cut_in_the_notice)
{
    const std::string master(100, 'm'), slave(100, 's');
    add(master, R"("type":"int","cur":1)");
    add(slave, R"("type":"int","depend_and":[")" + master + R"(==1"])");
    open_all();
    set_word(1, 2);
    ASSERT_EQ(scripted::notices().size(), 1U);
    EXPECT_EQ(scripted::notices()[0].name, std::string(63, 's'));
    ASSERT_EQ(scripted::notices()[0].masters.size(), 1U);
    EXPECT_EQ(scripted::notices()[0].masters[0].name, std::string(63, 'm'));
    EXPECT_EQ(scripted::notices()[0].masters[0].data, (scripted::bytes{2, 0, 0, 0, 0, 0, 0, 0}));
}

// ----- which value counts -----

TEST_F(depend_propagation, the_value_in_force_counts_not_the_one_asked_for)
{
    add("master", R"("type":"int","cur":300)");
    add_flag("slave", true, R"(,"depend_and":["master==200"])");
    open_all();
    const SANE_Word applied = 200;
    scripted::bytes rewritten(4);
    std::memcpy(rewritten.data(), &applied, 4);
    scripted::answer_write("master", 261, rewritten);
    SANE_Int info = -1;
    EXPECT_EQ(set_word(1, 190, &info), SANE_STATUS_GOOD);
    EXPECT_EQ(info, SANE_INFO_RELOAD_OPTIONS | SANE_INFO_INEXACT);
    EXPECT_TRUE(is_active("slave"));
}

TEST_F(depend_propagation, a_refused_set_changes_nothing)
{
    add_flag("master", true);
    add_flag("slave", true, R"(,"depend_and":["master==true"])");
    open_all();
    for (const int code : {256, 259, 269, 0xDE02}) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Word word = 0;
        control("master", SANE_ACTION_SET_VALUE, &word);
        EXPECT_TRUE(is_active("slave")) << code;
    }
    EXPECT_TRUE(told().empty());
}

TEST_F(depend_propagation, many_options_are_switched_at_once)
{
    add_flag("master", true);
    for (int i = 0; i < 300; ++i)
        add_flag("slave-" + std::string(1, static_cast<char>('a' + i % 26)) +
                     std::string(static_cast<std::size_t>(i), 'x'),
                 true, R"(,"depend_and":["master==true"])");
    open_all();
    EXPECT_EQ(set_flag("master", false), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(scripted::notices().size(), 300U);
}

TEST_F(depend_propagation, what_depends_on_an_option_that_changes_twice_is_decided_once)
{
    add_flag("first", false);
    add_flag("middle", true, R"(,"depend_and":["first==true","last==true"])"); // on, and off when "last" is inactive
    add_flag("last", true, R"(,"depend_and":["first==false"])");
    add_flag("behind", true, R"(,"depend_and":["middle==true"])");
    open_all();
    EXPECT_EQ(set_flag("first", true), SANE_INFO_RELOAD_OPTIONS);
    EXPECT_EQ(told(), (texts{"middle=1", "last=0", "behind=1", "middle=0"}));
    EXPECT_FALSE(is_active("middle"));
    EXPECT_TRUE(is_active("behind")); // "middle" has been in the work list
}
