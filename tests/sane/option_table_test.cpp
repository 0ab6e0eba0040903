// SPDX-License-Identifier: MIT
// The table of a device's options: filling it, numbers, names, identifiers, option 0.
#include "option_device.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>

namespace {

class option_table : public option_device {
protected:
    SANE_Int identifier_of(SANE_Int number)
    {
        SANE_Int id = -7;
        return control(number, 101, &id) == SANE_STATUS_GOOD ? id : 0;
    }
};

} // namespace

// ----- option 0 -----

TEST_F(option_table, option_0_is_the_option_count)
{
    open_device();
    scripted::forget_record();
    const auto *option = descriptor(0);
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->name, "option-count");
    EXPECT_STREQ(option->title, "");
    EXPECT_STREQ(option->desc, "Number of options");
    EXPECT_EQ(option->type, SANE_TYPE_INT);
    EXPECT_EQ(option->unit, SANE_UNIT_NONE);
    EXPECT_EQ(option->size, 4);
    EXPECT_EQ(option->cap, SANE_CAP_SOFT_DETECT);
    EXPECT_EQ(option->constraint_type, SANE_CONSTRAINT_NONE);
    EXPECT_EQ(scripted::record(), (texts{"Debug: get_option_descriptor(0)"}));
}

TEST_F(option_table, option_0_is_one_descriptor_for_all_devices)
{
    open_device();
    const auto *first = descriptor(0);
    SANE_Handle second = nullptr;
    ASSERT_EQ(sane_pelsane_open("virtual:1", &second), SANE_STATUS_GOOD);
    EXPECT_EQ(descriptor(0), first);
    EXPECT_EQ(sane_pelsane_get_option_descriptor(second, 0), first);
    EXPECT_EQ(sane_pelsane_get_option_descriptor_ex(second, nullptr), first);
}

// ----- filling -----

TEST_F(option_table, opening_fetches_every_option_through_one_buffer)
{
    for (int i = 1; i <= 4; ++i)
        scripted::set_option(i, "opt-" + std::to_string(i), R"({"type":"int","size":4})");
    open_listening_device();
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_open(virtual:1,0,null,null,null)",
                                        "kx_scanner_get_parameter(0x100000002,0,null,0,null)",
                                        "kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,2,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,3,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,4,buffer,1024,id)"}));
}

TEST_F(option_table, the_buffer_grows_where_a_text_needs_it)
{
    scripted::set_option(1, "small", R"({"type":"int"})");
    const std::string text = "\"large\":{\"type\":\"int\",\"desc\":\"" + std::string(3000 - 32, 'd') + "\"}";
    ASSERT_EQ(text.size(), 3000U);
    scripted::set_option_text(2, "large", text);
    scripted::set_option(3, "after", R"({"type":"int"})");
    open_listening_device();
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter(0x100000002,2"),
              (texts{"kx_scanner_get_parameter(0x100000002,2,buffer,1024,id)",
                     "kx_scanner_get_parameter(0x100000002,2,buffer,3000,id)"}));
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter(0x100000002,3"),
              (texts{"kx_scanner_get_parameter(0x100000002,3,buffer,3002,id)"}));
}

TEST_F(option_table, a_count_of_one_has_no_options)
{
    for (const long count : {1L, 0L, -1L, LONG_MIN}) {
        scripted::set_option(1, "opt", R"({"type":"int"})");
        scripted::set_option_count(count);
        open_device();
        EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter(0x100000002,1").empty()) << count;
        EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter(0x200000004,1").empty()) << count;
        sane_pelsane_exit();
    }
}

TEST_F(option_table, a_count_of_five_fetches_four_options)
{
    scripted::set_option_count(5);
    open_listening_device();
    EXPECT_EQ(scripted::calls_of("kx_scanner_get_parameter").size(), 5U); // the count, and 1 to 4
    EXPECT_EQ(scripted::calls().back(), "kx_scanner_get_parameter(0x100000002,4,buffer,1024,id)");
}

TEST_F(option_table, an_absurd_count_never_makes_an_address_of_a_number)
{
    for (const long count : {static_cast<long>(INT_MAX), LONG_MAX}) {
        scripted::reset();
        scripted::set_option(1, "opt", R"({"type":"int"})");
        scripted::set_option_count(count);
        std::intptr_t highest = 0;
        scripted::on().get_parameter = [&highest](void *, const void *key, void *data, long *, int *) {
            highest = std::max(highest, reinterpret_cast<std::intptr_t>(key));
            return data != nullptr && reinterpret_cast<std::intptr_t>(key) > 1 ? std::optional<int>(256) : std::nullopt;
        };
        open_device();
        EXPECT_NE(descriptor(1), nullptr) << count;
        EXPECT_LE(highest, 65535) << count;
        scripted::on().get_parameter = nullptr;
        sane_pelsane_exit();
    }
}

TEST_F(option_table, a_count_that_the_driver_refuses_has_no_options)
{
    scripted::set_option(1, "opt", R"({"type":"int"})");
    scripted::on().get_parameter = [](void *, const void *key, void *, long *, int *) {
        return key == nullptr ? std::optional<int>(269) : std::nullopt;
    };
    open_device();
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter(0x100000002,1").empty());
}

TEST_F(option_table, options_that_cannot_be_had_are_left_out)
{
    scripted::set_option(1, "first", R"({"type":"int"})");
    scripted::set_option_text(2, "broken", "\"broken\" : {");
    scripted::set_option(3, "typeless", "{}");
    scripted::set_option(5, "last", R"({"type":"bool"})"); // 4 is missing
    open_listening_device();
    scripted::remove_option(2);
    scripted::remove_option(3);
    EXPECT_STREQ(descriptor(1)->name, "first");
    EXPECT_EQ(descriptor(2), nullptr);
    EXPECT_EQ(descriptor(3), nullptr);
    EXPECT_EQ(descriptor(4), nullptr);
    EXPECT_STREQ(descriptor(5)->name, "last");
    EXPECT_TRUE(scripted::log_lines().empty());
}

// ----- looking up -----

TEST_F(option_table, finds_options_by_number_name_and_identifier)
{
    scripted::set_option(1, "other", R"({"type":"int"})");
    scripted::set_option(2, "tl-x", R"({"type":"int"})");
    open_device();
    scripted::forget_record();
    const auto *option = descriptor(2);
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->name, "tl-x");
    EXPECT_EQ(descriptor("tl-x"), option);
    EXPECT_EQ(descriptor(34833), option);
    EXPECT_EQ(sane_pelsane_get_option_descriptor_ex(handle_, key_of(2)), option);
    EXPECT_EQ(sane_pelsane_get_option_descriptor_ex(handle_, key_of(34833)), option);
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(option_table, a_stored_option_is_not_fetched_again)
{
    open_with("opt", R"({"type":"int"})");
    EXPECT_EQ(descriptor(1), descriptor("opt"));
    EXPECT_TRUE(scripted::calls().empty());
}

TEST_F(option_table, the_first_of_two_equal_names_is_found)
{
    scripted::set_option(1, "same", R"({"type":"int"})");
    scripted::set_option(2, "same", R"({"type":"bool"})");
    open_device();
    ASSERT_NE(descriptor("same"), nullptr);
    EXPECT_EQ(descriptor("same"), descriptor(1));
    EXPECT_NE(descriptor(2), descriptor(1));
}

TEST_F(option_table, what_is_not_in_the_table_is_fetched_and_registered)
{
    open_with("opt", R"({"type":"int"})");
    scripted::set_option(7, "late", R"({"type":"bool"})");
    const auto *option = descriptor(7);
    ASSERT_NE(option, nullptr);
    EXPECT_STREQ(option->name, "late");
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,7,buffer,1024,id)"}));
    EXPECT_EQ(descriptor(7), option);
    EXPECT_EQ(descriptor("late"), option);
    EXPECT_EQ(scripted::calls().size(), 1U);
}

TEST_F(option_table, an_option_fetched_by_name_has_the_drivers_number)
{
    open_with("opt", R"({"type":"int"})");
    scripted::set_option(7, "late", R"({"type":"bool"})");
    const auto *option = descriptor("late");
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(descriptor(7), option);
}

TEST_F(option_table, a_late_option_leaves_its_number_to_the_well_known_one_when_it_is_set)
{
    open_with("paper", R"({"type":"string","size":44})");
    ASSERT_STREQ(descriptor(2)->name, "page-width");
    scripted::set_option(2, "late", R"({"type":"int","size":4,"title":"Late"})");
    ASSERT_STREQ(descriptor(2)->name, "late");
    EXPECT_EQ(set_word(2, 297), SANE_STATUS_GOOD);
    EXPECT_EQ(scripted::calls_of("kx_scanner_set_parameter"),
              (texts{"kx_scanner_set_parameter(0x100000002,1,\"A5横向\",44)"}));
    EXPECT_EQ(times_logged("Info: -->Set option(2 - Late) value: 297"), 1);
}

TEST_F(option_table, numbers_end_where_identifiers_begin)
{
    open_with("edge", R"({"type":"int","fix-id":34816})");
    scripted::set_option(34815, "last", R"({"type":"bool"})");
    const auto *last = descriptor(34815);
    ASSERT_NE(last, nullptr);
    EXPECT_STREQ(last->name, "last");
    EXPECT_EQ(descriptor(34815), last);
    EXPECT_EQ(descriptor(34816), descriptor(1));
    EXPECT_EQ(scripted::calls().size(), 1U); // none of them is fetched twice
}

TEST_F(option_table, keys_that_name_nothing_answer_null)
{
    open_with("opt", R"({"type":"int"})");
    for (const SANE_Int number : {-1, -2, INT_MIN, 65536, INT_MAX})
        EXPECT_EQ(descriptor(number), nullptr) << number;
    for (const std::intptr_t key : {std::intptr_t{-1}, std::intptr_t{-65536}, INTPTR_MIN})
        EXPECT_EQ(sane_pelsane_get_option_descriptor_ex(handle_, key_of(key)), nullptr) << key;
    EXPECT_TRUE(scripted::calls().empty());
}

TEST_F(option_table, unknown_options_answer_null)
{
    open_with("opt", R"({"type":"int"})");
    EXPECT_EQ(descriptor(2), nullptr);
    EXPECT_EQ(descriptor("nothing"), nullptr);
    EXPECT_EQ(descriptor(34817), nullptr);
    EXPECT_EQ(descriptor(65535), nullptr);
    EXPECT_TRUE(scripted::log_lines().empty());
}

TEST_F(option_table, an_unknown_handle_has_no_descriptors)
{
    open_with("opt", R"({"type":"int"})");
    const auto stranger = handle_of(0x500000001);
    for (const SANE_Handle handle : {SANE_Handle{nullptr}, stranger})
        for (const SANE_Int number : {0, 1})
            EXPECT_EQ(sane_pelsane_get_option_descriptor(handle, number), nullptr) << number;
    EXPECT_TRUE(scripted::calls().empty());
}

// ----- well-known identifiers -----

TEST_F(option_table, well_known_names_have_identifiers)
{
    struct {
        const char *name;
        int id;
    } const names[] = {
        {"is-multiout", 34817},
        {"multiout-type", 34818},
        {"mode", 34819},
        {"filter", 34820},
        {"is-rid-multiout-red", 34821},
        {"is-rid-answer-sheet-red", 34822},
        {"is-erase-bkg", 34823},
        {"bkg-color-range", 34824},
        {"sharpen", 34825},
        {"is-rid-morr", 34826},
        {"is-rid-grid", 34827},
        {"is-err-extension", 34828},
        {"is-noise-optimize", 34829},
        {"noise-size", 34830},
        {"paper", 34831},
        {"is-custom-area", 34832},
        {"tl-x", 34833},
        {"br-x", 34834},
        {"tl-y", 34835},
        {"br-y", 34836},
        {"is-size-check", 34837},
        {"page", 34838},
        {"blank-sensitivity", 34839},
        {"resolution", 34840},
        {"image-quality", 34841},
        {"is-exchange", 34842},
        {"is-split", 34843},
        {"is-anti-skew", 34844},
        {"is-custom-gamma", 34845},
        {"brightness", 34846},
        {"contrast", 34847},
        {"gamma", 34848},
        {"is-erase-black-frame", 34849},
        {"is-dark-sample", 34850},
        {"threshold", 34851},
        {"anti-noise-level", 34852},
        {"margin", 34853},
        {"bkg-fill-mode", 34854},
        {"is-anti-permeate", 34855},
        {"permeate-level", 34856},
        {"is-rid-hole", 34857},
        {"search-hole-range", 34858},
        {"is-fill-color", 34859},
        {"is-ultrosonic", 34860},
        {"is-staple", 34861},
        {"scan-mode", 34862},
        {"scan-count", 34863},
        {"direction", 34864},
        {"is-rotate-bkg-180", 34865},
        {"is-check-dog-ear", 34866},
        {"dog-ear-size", 34867},
        {"is-check-askew", 34868},
        {"askew-range", 34869},
        {"binary-threshold", 34870},
        {"is-photo-mode", 34871},
        {"double-feed", 34872},
        {"is-wait-scan", 34873},
        {"feed-strength", 34874},
        {"time-to-sleep", 34875},
        {"is-auto-strength", 34876},
        {"feed-strength-value", 34877},
        {"reverse-bw", 34878},
        {"is-rid-hole-l", 34879},
        {"search-hole-range-l", 34880},
        {"is-rid-hole-r", 34881},
        {"search-hole-range-r", 34882},
        {"is-rid-hole-t", 34883},
        {"search-hole-range-t", 34884},
        {"is-rid-hole-b", 34885},
        {"search-hole-range-b", 34886},
        {"fold-type", 34887},
        {"color-correction", 34888},
        {"language", 34908},
        {"initial-boot-time", 34918},
        {"discardblank", 34919},
        {"is-lens-dirty", 34920},
        {"token", 34921},
    };
    SANE_Int number = 0;
    for (const auto &option : names)
        scripted::set_option(++number, option.name, R"({"type":"int","size":4})");
    open_device();
    number = 0;
    for (const auto &option : names) {
        EXPECT_EQ(identifier_of(++number), option.id) << option.name;
        EXPECT_EQ(descriptor(option.id), descriptor(number)) << option.name;
    }
}

TEST_F(option_table, names_are_known_by_their_exact_spelling_only)
{
    const char *const names[] = {"Mode", "mode ", "is-ultrasonic", "tl_x", "papers", ""};
    SANE_Int number = 0;
    for (const char *name : names)
        scripted::set_option(++number, name, R"({"type":"int","size":4})");
    open_device();
    for (SANE_Int i = 1; i <= number; ++i)
        EXPECT_EQ(identifier_of(i), 0) << names[i - 1];
}

TEST_F(option_table, the_drivers_own_identifier_comes_before_the_names)
{
    scripted::set_option(1, "tl-x", R"({"type":"int","size":4,"fix-id":40000})");
    scripted::set_option(2, "special", R"({"type":"int","size":4,"fix-id":34833})");
    open_device();
    EXPECT_EQ(identifier_of(1), 40000);
    EXPECT_EQ(identifier_of(2), 34833);
    EXPECT_EQ(descriptor(40000), descriptor(1));
    EXPECT_EQ(descriptor(34833), descriptor(2));
}

TEST_F(option_table, an_identifier_that_is_no_integer_does_not_count)
{
    scripted::set_option(1, "tl-x", R"({"type":"int","size":4,"fix-id":"40000"})");
    open_device();
    EXPECT_EQ(identifier_of(1), 34833);
}

TEST_F(option_table, two_options_may_share_an_identifier)
{
    scripted::set_option(1, "mode", R"({"type":"int","size":4})");
    scripted::set_option(2, "mode", R"({"type":"int","size":4})");
    open_device();
    EXPECT_EQ(identifier_of(1), 34819);
    EXPECT_EQ(identifier_of(2), 34819);
    EXPECT_EQ(descriptor(34819), descriptor(1));
}

TEST_F(option_table, the_later_of_two_language_options_is_the_language_option)
{
    scripted::set_option(1, "language", R"({"type":"int","size":4})");
    scripted::set_option(2, "language", R"({"type":"int","size":4})");
    open_device();
    scripted::answer("kx_scanner_set_parameter", 262);
    scripted::forget_record();
    set_word(2, 1);
    EXPECT_TRUE(scripted::calls_of("kx_scanner_get_parameter").empty()); // changing the language reloads by itself
    set_word(1, 1);
    EXPECT_FALSE(scripted::calls_of("kx_scanner_get_parameter").empty());
}
