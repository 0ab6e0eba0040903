// SPDX-License-Identifier: MIT
// The cache of current values as texts, and what sets out from a value that changed.
#include "depend_expression.h"
#include "json.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <string>
#include <vector>

namespace {

using middleware = kx_sane_middleware;
using texts = std::vector<std::string>;

class value_cache : public testing::Test {
protected:
    void SetUp() override { scripted::reset(); }
    void TearDown() override { kx_sane_middleware::clear(); }

    void open()
    {
        ASSERT_EQ(middleware::instance()->open_device("virtual:1", &handle_), SANE_STATUS_GOOD);
        scanner_ = middleware::sane_handle_to_scanner(handle_);
        middleware::instance()->find_openning_device(handle_, false, &device_);
        scripted::forget_record();
    }

    std::string cached(const std::string &name) const
    {
        for (const _cur_val &value : device_->cur_vals_)
            if (value.name == name)
                return value.type + " " + value.val;
        return "nothing";
    }

    static bool refresh(_dev_inst &device, const char *description)
    {
        json document(description);
        return middleware::refresh_current_value(&device, "opt", &document);
    }

    void *handle_ = nullptr;
    void *scanner_ = nullptr;
    _dev_inst *device_ = nullptr;
};

} // namespace

TEST_F(value_cache, a_new_entry_has_type_and_text)
{
    scripted::set_translation(15, "fifteen");
    struct {
        const char *description, *type, *text;
    } const cases[] = {
        {R"({"type":"int","cur":300})", "int", "300"},
        {R"({"type":"int","cur":2.9})", "int", "2"},
        {R"({"type":"float","cur":1.5})", "float", "1.500000"},
        {R"({"type":"float","cur":3})", "float", "3.000000"},
        {R"({"type":"bool","cur":true})", "bool", "true"},
        {R"({"type":"bool","cur":false})", "bool", "false"},
        {R"({"type":"string","cur":"A4"})", "string", "A4"},
        {R"({"type":"string","cur":"15.000000"})", "string", "fifteen"},
        {R"({"type":"string","cur":15})", "string", "fifteen"},
        {R"({"type":"string","cur":""})", "string", ""},
        {R"({"type":"int","cur":"15.0"})", "int", "15.0"},
        {R"({"type":"matrix","cur":15})", "matrix", "15.000000"},
    };
    for (const auto &c : cases) {
        _dev_inst device;
        EXPECT_FALSE(refresh(device, c.description)) << c.description;
        ASSERT_EQ(device.cur_vals_.size(), 1U) << c.description;
        EXPECT_EQ(device.cur_vals_[0].name, "opt") << c.description;
        EXPECT_EQ(device.cur_vals_[0].type, c.type) << c.description;
        EXPECT_EQ(device.cur_vals_[0].val, c.text) << c.description;
    }
}

TEST_F(value_cache, an_entry_tells_whether_its_text_changed)
{
    _dev_inst device;
    refresh(device, R"({"type":"int","cur":1})");
    EXPECT_FALSE(refresh(device, R"({"type":"int","cur":1})"));
    EXPECT_TRUE(refresh(device, R"({"type":"int","cur":2})"));
    EXPECT_EQ(device.cur_vals_.size(), 1U);
    EXPECT_EQ(device.cur_vals_[0].val, "2");
}

TEST_F(value_cache, an_entry_keeps_its_text_when_there_is_no_value)
{
    scripted::set_translation(15, "fifteen");
    struct {
        const char *before, *without, *text;
    } const cases[] = {
        {R"({"type":"int","cur":1})", R"({"type":"int"})", "1"},
        {R"({"type":"bool","cur":true})", R"({"type":"bool"})", "true"},
        {R"({"type":"float","cur":1.5})", R"({"type":"float"})", "1.500000"},
        {R"({"type":"string","cur":15})", R"({"type":"string"})", "fifteen"},
    };
    for (const auto &c : cases) {
        _dev_inst device;
        refresh(device, c.before);
        EXPECT_FALSE(refresh(device, c.without)) << c.without;
        EXPECT_EQ(device.cur_vals_[0].val, c.text) << c.without;
    }
}

TEST_F(value_cache, a_new_entry_without_a_value_is_empty)
{
    _dev_inst device;
    EXPECT_FALSE(refresh(device, R"({"type":"int"})"));
    ASSERT_EQ(device.cur_vals_.size(), 1U);
    EXPECT_EQ(device.cur_vals_[0].val, "");
}

TEST_F(value_cache, an_entry_keeps_its_first_type)
{
    _dev_inst device;
    refresh(device, R"({"type":"int","cur":1})");
    EXPECT_FALSE(refresh(device, R"({"type":"float","cur":1})"));
    EXPECT_EQ(device.cur_vals_[0].type, "int");
    EXPECT_EQ(device.cur_vals_[0].val, "1");
}

TEST_F(value_cache, a_string_entry_is_translated_when_it_is_refreshed)
{
    scripted::set_translation(15, "fifteen");
    _dev_inst device;
    refresh(device, R"({"type":"string","cur":"A4"})");
    EXPECT_TRUE(refresh(device, R"({"type":"string","cur":15})"));
    EXPECT_EQ(device.cur_vals_[0].val, "fifteen");
    EXPECT_FALSE(refresh(device, R"({"type":"string","cur":"15.0"})"));
}

TEST_F(value_cache, a_text_overwrites_an_existing_entry_only)
{
    _dev_inst device;
    refresh(device, R"({"type":"int","cur":1})");
    EXPECT_FALSE(middleware::refresh_current_value(&device, "opt", "2"));
    EXPECT_EQ(device.cur_vals_[0].val, "2");
    EXPECT_TRUE(middleware::refresh_current_value(&device, "opt", "2"));
    EXPECT_FALSE(middleware::refresh_current_value(&device, "missing", "2"));
    EXPECT_EQ(device.cur_vals_.size(), 1U);
}

TEST_F(value_cache, opening_caches_every_options_value)
{
    scripted::set_option(1, "number", R"({"type":"int","cur":5})");
    scripted::set_option(2, "text", R"({"type":"string","cur":"abc"})");
    open();
    EXPECT_EQ(cached("number"), "int 5");
    EXPECT_EQ(cached("text"), "string abc");
}

TEST_F(value_cache, a_reload_lists_what_changed)
{
    scripted::set_option(1, "same", R"({"type":"int","cur":5})");
    scripted::set_option(2, "other", R"({"type":"int","cur":5})");
    scripted::set_option(3, "third", R"({"type":"bool","cur":true})");
    open();
    scripted::set_option(2, "other", R"({"type":"int","cur":6})");
    scripted::set_option(3, "third", R"({"type":"bool","cur":false})");
    scripted::set_option(4, "fresh", R"({"type":"int","cur":1})");
    texts changed{"old"};
    middleware::instance()->reload_current_value(scanner_, &changed);
    EXPECT_EQ(changed, (texts{"other", "third"}));
    EXPECT_EQ(cached("other"), "int 6");
    EXPECT_EQ(cached("third"), "bool false");
    EXPECT_EQ(cached("fresh"), "int 1");
    middleware::instance()->reload_current_value(scanner_, nullptr);
}

TEST_F(value_cache, a_reload_asks_for_the_count_and_every_option)
{
    scripted::set_option(1, "a", R"({"type":"int","cur":5})");
    scripted::set_option(2, "b", R"({"type":"int","cur":5})");
    open();
    middleware::instance()->reload_current_value(scanner_, nullptr);
    const texts calls = scripted::calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[0], "kx_scanner_get_parameter(0x100000002,0,null,0,null)");
    EXPECT_EQ(calls[1].rfind("kx_scanner_get_parameter(0x100000002,1,buffer,1024", 0), 0U);
    EXPECT_EQ(calls[2].rfind("kx_scanner_get_parameter(0x100000002,2,buffer,1024", 0), 0U);
}

TEST_F(value_cache, a_reload_skips_what_it_cannot_read)
{
    scripted::set_option(1, "a", R"({"type":"int","cur":5})");
    scripted::set_option(2, "b", R"({"type":"int","cur":5})");
    scripted::set_option(3, "c", R"({"type":"int","cur":5})");
    scripted::set_option(4, "d", R"({"type":"int","cur":5})");
    open();
    scripted::set_option_text(1, "a", "\"a\" : {");
    scripted::set_option(2, "b", R"({"cur":6})");
    scripted::remove_option(3);
    scripted::set_option(4, "d", R"({"type":"int","cur":6})");
    texts changed;
    middleware::instance()->reload_current_value(scanner_, &changed);
    EXPECT_EQ(changed, (texts{"d"}));
    EXPECT_EQ(cached("a"), "int 5");
    EXPECT_EQ(cached("b"), "int 5");
    EXPECT_EQ(cached("c"), "int 5");
}

TEST_F(value_cache, a_reload_stops_at_a_count_below_two)
{
    scripted::set_option(1, "a", R"({"type":"int","cur":5})");
    open();
    for (const long count : {1L, 0L, -1L, LONG_MIN}) {
        scripted::set_option_count(count);
        scripted::forget_record();
        texts changed{"old"};
        middleware::instance()->reload_current_value(scanner_, &changed);
        EXPECT_TRUE(changed.empty()) << count;
        EXPECT_EQ(scripted::calls().size(), 1U) << count;
    }
}

TEST_F(value_cache, a_value_of_nobodys_master_is_cached_all_the_same)
{
    scripted::set_option(1, "lonely", R"({"type":"int","cur":5})");
    open();
    EXPECT_EQ(middleware::instance()->something_after_do(device_, "lonely", "6"), 0);
    EXPECT_EQ(cached("lonely"), "int 6");
    EXPECT_EQ(middleware::instance()->something_after_do(device_, "unheard-of", "6"), 0);
    EXPECT_EQ(cached("unheard-of"), "nothing");
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(value_cache, a_slave_without_a_descriptor_changes_in_its_record_only)
{
    scripted::set_option(1, "master", R"({"type":"int","size":4,"cur":1})");
    scripted::set_option(2, "after", R"({"type":"int","size":4,"cur":1,"depend_and":["ghost==1"]})");
    open();
    _slave_option ghost;
    ghost.name = "ghost";
    ghost.enable_now = true;
    ghost.is_enable = middleware::is_enable_and;
    _master_option condition;
    condition.name = "master";
    condition.limit_l = "1";
    condition.compare_val = middleware::compare_val_equal;
    ghost.master.push_back(condition);
    device_->slaves_.push_back(ghost);
    device_->masters_.emplace_back("master");
    EXPECT_EQ(middleware::instance()->something_after_do(device_, "master", "2"), 0);
    EXPECT_FALSE(device_->slaves_.back().enable_now);
    EXPECT_TRUE(scripted::notices().empty());
}

TEST_F(value_cache, a_configuration_change_propagates_from_what_changed)
{
    scripted::set_option(1, "master", R"({"type":"bool","size":4,"cur":true})");
    scripted::set_option(2, "slave", R"({"type":"int","size":4,"cur":1,"depend_and":["master==true"]})");
    scripted::set_option(3, "still", R"({"type":"int","size":4,"cur":1,"depend_and":["slave==1"]})");
    open();
    scripted::set_option(1, "master", R"({"type":"bool","size":4,"cur":false})");
    middleware::instance()->on_SCANNER_ERR_CONFIGURATION_CHANGED(device_);
    const auto notices = scripted::notices();
    ASSERT_EQ(notices.size(), 2U);
    EXPECT_EQ(notices[0].name, "slave");
    EXPECT_EQ(notices[0].enabled, 0);
    EXPECT_EQ(notices[1].name, "still");
    scripted::forget_record();
    middleware::instance()->on_SCANNER_ERR_CONFIGURATION_CHANGED(device_);
    EXPECT_TRUE(scripted::notices().empty());
}
