// SPDX-License-Identifier: MIT
// Reloads of the option table: descriptors that applications hold keep their addresses and show the new content.
#include "option_device.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace {

class option_reload : public option_device {
protected:
    SANE_Int identifier_of(SANE_Int number)
    {
        SANE_Int id = -7;
        return control(number, 101, &id) == SANE_STATUS_GOOD ? id : 0;
    }
};

} // namespace

TEST_F(option_reload, keeps_descriptor_address_across_reload)
{
    scripted::set_option(1, "keep", R"({"type":"string","size":8,"title":"old","range":["a","b"]})");
    open_device();
    const auto *option = descriptor(1);
    for (int i = 0; i < 3; ++i) {
        scripted::set_option(1, "keep",
                             R"({"type":"int","size":4,"title":"new","enable":false,"range":{"min":1,"max":)" +
                                 std::to_string(i) + "}}");
        scripted::change_language();
        EXPECT_EQ(descriptor(1), option);
        EXPECT_STREQ(option->name, "keep");
        EXPECT_STREQ(option->title, "new");
        EXPECT_EQ(option->type, SANE_TYPE_INT);
        EXPECT_EQ(option->size, 4);
        EXPECT_EQ(option->cap, 53);
        ASSERT_EQ(option->constraint_type, SANE_CONSTRAINT_RANGE);
        EXPECT_EQ(option->constraint.range->max, i);
    }
}

TEST_F(option_reload, a_reload_asks_for_the_count_and_every_option)
{
    scripted::set_option(1, "one", R"({"type":"int"})");
    scripted::set_option(2, "two", R"({"type":"int"})");
    open_device();
    scripted::forget_record();
    EXPECT_EQ(scripted::change_language(), 1);
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,0,null,0,null)",
                                        "kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,2,buffer,1024,id)"}));
}

TEST_F(option_reload, a_language_change_reloads_every_device)
{
    scripted::set_option(1, "one", R"({"type":"int","title":57})");
    open_device();
    SANE_Handle second = nullptr;
    ASSERT_EQ(sane_pelsane_open("virtual:1", &second), SANE_STATUS_GOOD);
    scripted::set_translation(57, "Papier");
    scripted::change_language();
    EXPECT_STREQ(descriptor(1)->title, "Papier");
    EXPECT_STREQ(sane_pelsane_get_option_descriptor(second, 1)->title, "Papier");
}

TEST_F(option_reload, options_keep_their_addresses_by_name_when_numbers_move)
{
    scripted::set_option(1, "one", R"({"type":"int"})");
    scripted::set_option(2, "two", R"({"type":"bool"})");
    open_device();
    const auto *one = descriptor(1);
    const auto *two = descriptor(2);
    scripted::set_option(1, "two", R"({"type":"bool"})");
    scripted::set_option(2, "one", R"({"type":"int"})");
    scripted::change_language();
    EXPECT_EQ(descriptor(1), two);
    EXPECT_EQ(descriptor(2), one);
    EXPECT_STREQ(one->name, "one");
    EXPECT_EQ(one->type, SANE_TYPE_INT);
    EXPECT_STREQ(two->name, "two");
    EXPECT_EQ(two->type, SANE_TYPE_BOOL);
}

TEST_F(option_reload, two_options_of_one_name_keep_one_address_each)
{
    scripted::set_option(1, "same", R"({"type":"int"})");
    scripted::set_option(2, "same", R"({"type":"bool"})");
    open_device();
    const auto *first = descriptor(1);
    const auto *second = descriptor(2);
    ASSERT_NE(first, second);
    for (int i = 0; i < 2; ++i) {
        scripted::change_language();
        EXPECT_EQ(descriptor(1), first);
        EXPECT_EQ(descriptor(2), second);
        EXPECT_EQ(first->type, SANE_TYPE_INT);
        EXPECT_EQ(second->type, SANE_TYPE_BOOL);
    }
}

TEST_F(option_reload, options_of_one_name_keep_their_addresses_when_numbers_move)
{
    scripted::set_option(1, "other", R"({"type":"string","size":8})");
    scripted::set_option(2, "same", R"({"type":"int"})");
    scripted::set_option(3, "same", R"({"type":"bool"})");
    scripted::set_option(4, "same", R"({"type":"button"})");
    open_device();
    const auto *other = descriptor(1);
    const auto *first = descriptor(2);
    const auto *second = descriptor(3);
    const auto *third = descriptor(4);
    scripted::set_option(1, "same", R"({"type":"int"})");
    scripted::set_option(2, "same", R"({"type":"bool"})");
    scripted::set_option(3, "same", R"({"type":"button"})");
    scripted::set_option(4, "other", R"({"type":"string","size":8})");
    scripted::change_language();
    EXPECT_EQ(descriptor(1), first);
    EXPECT_EQ(descriptor(2), second);
    EXPECT_EQ(descriptor(3), third);
    EXPECT_EQ(descriptor(4), other);
    EXPECT_EQ(first->type, SANE_TYPE_INT);
    EXPECT_EQ(second->type, SANE_TYPE_BOOL);
    EXPECT_EQ(third->type, SANE_TYPE_BUTTON);
    EXPECT_EQ(other->type, SANE_TYPE_STRING);
}

TEST_F(option_reload, of_two_options_of_one_name_the_one_that_stays_keeps_its_address)
{
    scripted::set_option(1, "same", R"({"type":"int"})");
    scripted::set_option(2, "same", R"({"type":"bool","title":"Second"})");
    open_listening_device();
    const auto *first = descriptor(1);
    const auto *second = descriptor(2);
    scripted::remove_option(2);
    for (int i = 0; i < 2; ++i) {
        scripted::change_language();
        EXPECT_EQ(descriptor(1), first);
        EXPECT_EQ(first->type, SANE_TYPE_INT);
        EXPECT_EQ(descriptor(2), nullptr);
        EXPECT_STREQ(second->title, "Second");
    }
    scripted::set_option(2, "same", R"({"type":"bool","title":"Back"})");
    scripted::change_language();
    EXPECT_EQ(descriptor(1), first);
    EXPECT_EQ(descriptor(2), second);
    EXPECT_STREQ(second->title, "Back");
}

TEST_F(option_reload, a_vanished_options_value_is_forgotten)
{
    const std::string slave = R"({"type":"int","size":4,"depend_or":["master==1"]})";
    scripted::set_option(1, "slave", slave);
    scripted::set_option(2, "master", R"({"type":"int","size":4,"cur":1})");
    open_listening_device();
    EXPECT_TRUE(is_active("slave"));
    scripted::remove_option(2);
    scripted::change_language();
    EXPECT_FALSE(is_active("slave"));
    EXPECT_EQ(times_logged("Warn: option master's current value is not found, other options depend it maybe in wrong "
                           "status."),
              1);
}

TEST_F(option_reload, a_vanished_option_stays_readable_while_the_device_is_open)
{
    scripted::set_option(1, "stays", R"({"type":"int"})");
    scripted::set_option(2, "goes", R"({"type":"string","size":4,"title":"Gone","range":["x"]})");
    open_listening_device();
    const auto *gone = descriptor(2);
    scripted::remove_option(2);
    for (int i = 0; i < 3; ++i)
        scripted::change_language();
    EXPECT_EQ(descriptor(2), nullptr);
    EXPECT_EQ(descriptor("goes"), nullptr);
    EXPECT_STREQ(gone->name, "goes");
    EXPECT_STREQ(gone->title, "Gone");
    EXPECT_STREQ(gone->constraint.string_list[0], "x");
}

TEST_F(option_reload, an_option_that_comes_back_has_its_old_address)
{
    scripted::set_option(1, "stays", R"({"type":"int"})");
    scripted::set_option(2, "goes", R"({"type":"int"})");
    open_device();
    const auto *option = descriptor(2);
    for (int i = 0; i < 3; ++i) {
        scripted::remove_option(2);
        scripted::change_language();
        scripted::change_language();
        scripted::set_option(2, "goes", R"({"type":"bool","title":"back"})");
        scripted::change_language();
        EXPECT_EQ(descriptor(2), option);
        EXPECT_STREQ(option->title, "back");
        EXPECT_EQ(option->type, SANE_TYPE_BOOL);
    }
}

TEST_F(option_reload, an_option_asked_for_by_name_comes_back_at_its_old_address)
{
    scripted::set_option(1, "stays", R"({"type":"int"})");
    scripted::set_option(2, "goes", R"({"type":"int"})");
    open_device();
    const auto *option = descriptor(2);
    scripted::remove_option(2);
    scripted::change_language();
    scripted::set_option(2, "goes", R"({"type":"bool"})");
    EXPECT_EQ(descriptor("goes"), option);
    EXPECT_EQ(option->type, SANE_TYPE_BOOL);
}

TEST_F(option_reload, options_may_all_vanish_and_come_back)
{
    scripted::set_option(1, "one", R"({"type":"int"})");
    open_device();
    const auto *option = descriptor(1);
    scripted::set_option_count(1);
    scripted::change_language();
    scripted::set_option_count(2);
    scripted::change_language();
    EXPECT_EQ(descriptor(1), option);
}

TEST_F(option_reload, a_step_that_registers_nothing_leaves_the_others_alone)
{
    scripted::set_option(1, "one", R"({"type":"int"})");
    scripted::set_option(2, "two", R"({"type":"bool"})");
    scripted::set_option(3, "three", R"({"type":"string"})");
    open_listening_device();
    const auto *one = descriptor(1);
    const auto *three = descriptor(3);
    scripted::set_option_text(2, "two", "\"two\" : nonsense");
    scripted::change_language();
    EXPECT_EQ(descriptor(1), one);
    EXPECT_EQ(descriptor(3), three);
    EXPECT_STREQ(one->name, "one");
    EXPECT_EQ(one->type, SANE_TYPE_INT);
    EXPECT_STREQ(three->name, "three");
    EXPECT_EQ(three->type, SANE_TYPE_STRING);
}

TEST_F(option_reload, a_first_step_that_registers_nothing_does_no_harm)
{
    scripted::set_option(1, "one", R"({"type":"int"})");
    scripted::set_option(2, "two", R"({"type":"bool"})");
    open_listening_device();
    const auto *two = descriptor(2);
    scripted::remove_option(1);
    scripted::change_language();
    EXPECT_EQ(descriptor(2), two);
    EXPECT_EQ(descriptor(1), nullptr);
}

TEST_F(option_reload, identifiers_outlive_a_reload)
{
    scripted::set_option(1, "mode", R"({"type":"int","size":4})");
    open_device();
    scripted::change_language();
    EXPECT_EQ(identifier_of(1), 34819);
    EXPECT_EQ(descriptor(34819), descriptor(1));
}

TEST_F(option_reload, a_reload_decides_dependent_options_afresh)
{
    scripted::set_option(1, "slave", R"({"type":"int","size":4,"depend_and":["master==true"]})");
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":false})");
    open_device();
    EXPECT_FALSE(is_active("slave"));
    scripted::set_option(2, "master", R"({"type":"bool","size":4,"cur":true})");
    scripted::change_language();
    EXPECT_TRUE(is_active("slave"));
    EXPECT_TRUE(scripted::notices().empty());
}

TEST_F(option_reload, a_dependent_option_may_name_an_unknown_master)
{
    scripted::set_option(1, "slave", R"({"type":"int","size":4,"depend_or":["nobody==true"]})");
    open_device();
    EXPECT_FALSE(is_active("slave"));
    EXPECT_EQ(times_logged(
                  "Warn: option nobody's current value is not found, other options depend it maybe in wrong status."),
              1);
}

TEST_F(option_reload, many_reloads_leave_the_table_as_it_is)
{
    for (int i = 1; i <= 20; ++i)
        scripted::set_option(i, "opt-" + std::to_string(i), R"({"type":"string","size":8,"range":["a","bc"]})");
    open_device();
    std::vector<const SANE_Option_Descriptor *> before;
    for (int i = 1; i <= 20; ++i)
        before.push_back(descriptor(i));
    for (int i = 0; i < 200; ++i)
        scripted::change_language();
    for (int i = 1; i <= 20; ++i)
        EXPECT_EQ(descriptor(i), before[static_cast<std::size_t>(i) - 1]);
    EXPECT_EQ(std::set<const void *>(before.begin(), before.end()).size(), 20U);
}
