// SPDX-License-Identifier: MIT
// The readers of current and default values behind control_option: blocks, sizes, types, log lines.
#include "guarded_memory.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;
using block = local_utility::memory_ptr<void>;

class value_readers : public testing::Test {
protected:
    void SetUp() override { scripted::reset(); }
    void TearDown() override { kx_sane_middleware::clear(); }

    void open_with(const std::string &description, const std::string &name = "opt")
    {
        scripted::set_option(1, name, description);
        middleware_ = kx_sane_middleware::instance();
        ASSERT_EQ(middleware_->open_device("virtual:1", &handle_), SANE_STATUS_GOOD);
        scanner_ = kx_sane_middleware::sane_handle_to_scanner(handle_);
        scripted::forget_record();
    }

    static const void *first() { return option_key::from_number(1); }

    kx_sane_middleware *middleware_ = nullptr;
    void *handle_ = nullptr;
    void *scanner_ = nullptr;
};

SANE_Word word_in(const block &memory)
{
    SANE_Word word = 0;
    std::memcpy(&word, memory.get(), sizeof(word));
    return word;
}

} // namespace

// ----- current values -----

TEST_F(value_readers, current_values_have_sane_types)
{
    struct {
        const char *description;
        SANE_Value_Type type;
    } const cases[] = {
        {R"({"type":"bool"})", SANE_TYPE_BOOL},     {R"({"type":"int"})", SANE_TYPE_INT},
        {R"({"type":"float"})", SANE_TYPE_FIXED},   {R"({"type":"string"})", SANE_TYPE_STRING},
        {R"({"type":"matrix"})", SANE_TYPE_STRING},
    };
    open_with(R"({"type":"int"})");
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", c.description);
        SANE_Value_Type type = SANE_TYPE_GROUP;
        const guarded_memory value(c.type == SANE_TYPE_STRING ? 1 : 4); // an empty text is its terminator
        EXPECT_TRUE(middleware_->get_cur_value(handle_, first(), value.data(), &type)) << c.description;
        EXPECT_EQ(type, c.type) << c.description;
        EXPECT_TRUE(middleware_->get_cur_value(handle_, first(), value.data(), nullptr)) << c.description;
    }
}

TEST_F(value_readers, a_current_value_may_come_in_a_block_of_its_own)
{
    open_with(R"({"type":"string","size":6,"title":"T","cur":"abc"})");
    SANE_Value_Type type = SANE_TYPE_GROUP;
    const block value = middleware_->get_cur_value(handle_, first(), &type);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(value.get()), 6), std::string("abc\0\0\0", 6));
    EXPECT_EQ(type, SANE_TYPE_STRING);
    EXPECT_EQ(scripted::log_lines(), (texts{"Debug: <--Get option(1 - T) value: abc"}));
}

TEST_F(value_readers, a_word_may_come_in_a_block_of_its_own)
{
    open_with(R"({"type":"float","title":"T","cur":1.5})");
    const block value = middleware_->get_cur_value(handle_, first(), nullptr);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(word_in(value), 98304);
    EXPECT_EQ(scripted::log_lines(), (texts{"Debug: <--Get option(1 - T) value: 1.500000"}));
}

TEST_F(value_readers, an_information_item_may_come_in_a_block_of_its_own)
{
    open_with(R"({"type":"int"})");
    scripted::set_information("dev-sn", std::string("SN1\0", 4));
    SANE_Value_Type type = SANE_TYPE_GROUP;
    const block value = middleware_->get_cur_value(handle_, option_key::from_number(34902), &type);
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(static_cast<const char *>(value.get()), "SN1");
    EXPECT_EQ(type, SANE_TYPE_GROUP);
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(value_readers, without_a_value_there_is_no_block)
{
    open_with(R"({"type":"int"})");
    EXPECT_EQ(middleware_->get_cur_value(handle_, option_key::from_number(2), nullptr), nullptr);
    EXPECT_EQ(middleware_->get_cur_value(handle_, option_key::from_number(34902), nullptr), nullptr);
}

TEST_F(value_readers, an_unknown_handle_has_no_values)
{
    open_with(R"({"type":"int","default":7})");
    char value[8] = "kept";
    int stranger = 0;
    for (void *handle : {static_cast<void *>(nullptr), static_cast<void *>(&stranger)}) {
        EXPECT_FALSE(middleware_->get_cur_value(handle, first(), value, nullptr));
        EXPECT_EQ(middleware_->get_cur_value(handle, first(), nullptr), nullptr);
        EXPECT_EQ(middleware_->get_def_value(handle, first(), nullptr, false), nullptr);
    }
    EXPECT_STREQ(value, "kept");
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(value_readers, a_read_refreshes_the_cache)
{
    open_with(R"({"type":"int","cur":1})");
    scripted::set_option(1, "opt", R"({"type":"int","cur":2})");
    const guarded_memory value(4);
    EXPECT_TRUE(middleware_->get_cur_value(handle_, first(), value.data(), nullptr));
    _dev_inst *device = nullptr;
    middleware_->find_openning_device(handle_, false, &device);
    ASSERT_EQ(device->cur_vals_.size(), 1U);
    EXPECT_EQ(device->cur_vals_[0].name, "opt");
    EXPECT_EQ(device->cur_vals_[0].val, "2");
}

TEST_F(value_readers, a_huge_size_is_a_failed_read_or_a_long_one)
{
    open_with(R"({"type":"string","size":2147483647,"cur":"abc"})");
    const block value = middleware_->get_cur_value(handle_, first(), nullptr);
    if (value != nullptr)
        EXPECT_STREQ(static_cast<const char *>(value.get()), "abc");
    else
        EXPECT_TRUE(scripted::log_lines().empty());
}

// ----- default values -----

TEST_F(value_readers, defaults_tell_their_bytes_and_log_on_demand)
{
    struct {
        const char *description;
        int bytes;
        const char *log;
    } const cases[] = {
        {R"({"type":"bool","title":"T","default":true})", 4, "Debug: option 1(T) default value is: true"},
        {R"({"type":"bool","title":"T"})", 4, "Debug: option 1(T) default value is: false"},
        {R"({"type":"int","title":"T","default":-5})", 4, "Debug: option 1(T) default value is: -5"},
        {R"({"type":"float","title":"T","default":2.25})", 4, "Debug: option 1(T) default value is: 2.250000"},
        {R"({"type":"float","title":"T","default":1e9})", 4, "Debug: option 1(T) default value is: 1000000000.000000"},
        {R"({"type":"string","title":"T","size":30,"default":"A4"})", 3, "Debug: option 1(T) default value is: A4"},
        {R"({"type":"string","size":2,"default":"abcdef"})", 7, "Debug: option 1() default value is: abcdef"},
        {R"({"type":"string"})", 1, "Debug: option 1() default value is: "},
    };
    open_with(R"({"type":"int"})");
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", c.description);
        int bytes = -1;
        scripted::forget_record();
        EXPECT_NE(middleware_->get_def_value(handle_, first(), &bytes, true), nullptr) << c.description;
        EXPECT_EQ(bytes, c.bytes) << c.description;
        EXPECT_EQ(scripted::log_lines(), (texts{c.log})) << c.description;
        scripted::forget_record();
        EXPECT_NE(middleware_->get_def_value(handle_, first(), nullptr, false), nullptr) << c.description;
        EXPECT_TRUE(scripted::log_lines().empty()) << c.description;
    }
}

TEST_F(value_readers, a_bool_default_is_a_whole_word)
{
    open_with(R"({"type":"bool","default":true})");
    EXPECT_EQ(word_in(middleware_->get_def_value(handle_, first(), nullptr, false)), 1);
}

TEST_F(value_readers, a_string_default_has_four_bytes_to_spare)
{
    open_with(R"({"type":"string","size":2,"default":"abcdef"})");
    const block value = middleware_->get_def_value(handle_, first(), nullptr, false);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(value.get()), 10), std::string("abcdef\0\0\0\0", 10));
}

TEST_F(value_readers, a_string_default_fills_its_options_size)
{
    open_with(R"({"type":"string","size":8,"default":"ab"})");
    const block value = middleware_->get_def_value(handle_, first(), nullptr, false);
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::string(static_cast<const char *>(value.get()), 12), "ab" + std::string(10, '\0'));
}

TEST_F(value_readers, automatic_values_are_allowed_unless_the_driver_forbids)
{
    struct {
        const char *description;
        bool can_auto;
    } const cases[] = {
        {R"({"type":"int"})", true},
        {R"({"type":"int","auto":true})", true},
        {R"({"type":"int","auto":false})", false},
        {R"({"type":"int","auto":0})", true},
        {R"({"type":"matrix","auto":false})", false},
    };
    open_with(R"({"type":"int"})");
    for (const auto &c : cases) {
        scripted::set_option(1, "opt", c.description);
        bool can_auto = !c.can_auto;
        static_cast<void>(middleware_->get_default_value(scanner_, first(), nullptr, false, &can_auto));
        EXPECT_EQ(can_auto, c.can_auto) << c.description;
    }
}

TEST_F(value_readers, without_a_default_nothing_is_told)
{
    open_with(R"({"type":"int"})");
    int bytes = -1;
    bool can_auto = false;
    EXPECT_EQ(middleware_->get_default_value(scanner_, option_key::from_number(2), &bytes, true, &can_auto), nullptr);
    EXPECT_EQ(bytes, -1);
    EXPECT_FALSE(can_auto);
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(value_readers, a_type_without_values_is_logged_always)
{
    open_with(R"({"type":"button","title":"Press"})");
    for (const bool log : {false, true}) {
        scripted::forget_record();
        EXPECT_EQ(middleware_->get_def_value(handle_, first(), nullptr, log), nullptr);
        EXPECT_EQ(scripted::log_lines(), (texts{"Debug: option 1(Press) is 'button' and no value action."}));
    }
}

TEST_F(value_readers, a_well_known_options_default_is_not_found_by_its_own_number)
{
    // the table holds driver options only, so the mapper is asked for number -1
    open_with(R"({"type":"string","size":44,"default":"A4"})", "paper");
    EXPECT_EQ(middleware_->get_def_value(handle_, option_key::from_number(2), nullptr, false), nullptr);
}
