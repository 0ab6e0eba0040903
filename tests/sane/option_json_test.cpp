// SPDX-License-Identifier: MIT
// Fetching an option's text from the driver: the buffer protocol, and the name split off.
#include "local_utility.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;

class option_json : public testing::Test {
protected:
    void SetUp() override { scripted::reset(); }
    void TearDown() override
    {
        scripted::reset();
        local_utility::free_memory(buffer_);
    }

    std::string fetch(std::intptr_t option = 1)
    {
        return kx_sane_middleware::get_option_json(scanner_, reinterpret_cast<const void *>(option), &name_, &id_,
                                                   nullptr, nullptr);
    }

    std::string fetch_through_buffer()
    {
        return kx_sane_middleware::get_option_json(scanner_, reinterpret_cast<const void *>(1), &name_, &id_, &buffer_,
                                                   &size_);
    }

    // The driver's answers in turn: a code, the length that it tells, and how much it writes.
    struct answer {
        int code;
        long length;
        std::string written;
    };
    static void script(const std::vector<answer> &answers)
    {
        scripted::on().get_parameter = [answers, at = std::make_shared<std::size_t>(0)](void *, const void *,
                                                                                        void *data, long *length,
                                                                                        int *) -> std::optional<int> {
            const answer &now = answers.at((*at)++);
            std::memcpy(data, now.written.data(), now.written.size());
            *length = now.length;
            return now.code;
        };
    }

    void *scanner_ = reinterpret_cast<void *>(0x100000002);
    std::string name_ = "untouched";
    int id_ = -7;
    char *buffer_ = nullptr;
    long size_ = 0;
};

} // namespace

TEST_F(option_json, splits_the_name_off)
{
    struct {
        const char *text, *name, *rest;
    } const cases[] = {
        {R"("mode":{"type":"string"})", "mode", R"({"type":"string"})"},
        {"\"mode\" : {\"type\":\"string\"} ", "mode", "{\"type\":\"string\"} "},
        {" \t\"mode\"\t:\t {}", "mode", "{}"},
        {"\n\t\"mode\"\r\n :\n\n {}", "mode", "{}"},
        {"\r\n{}", "", "{}"},
        {R"({"type":"string"})", "", R"({"type":"string"})"},
        {R"(  {"type":"string"})", "", R"({"type":"string"})"},
        {R"("mode" {"a":1})", "mode", R"({"a":1})"},
        {R"("":{})", "", "{}"},
        {R"("a\"b":{})", "a\\", "b\":{}"},
        {R"("mode)", "mode", ""},
        {R"("mode")", "mode", ""},
        {R"("mode":)", "mode", ""},
        {R"("mode"::{})", "mode", ":{}"},
        {"\"Mode 1\" : {}", "Mode 1", "{}"},
        {"\"", "", ""},
        {"   ", "", ""},
    };
    for (const auto &c : cases) {
        scripted::set_option_text(1, "x", c.text);
        name_ = "untouched";
        EXPECT_EQ(fetch(), c.rest) << c.text;
        EXPECT_EQ(name_, c.name) << c.text;
    }
}

TEST_F(option_json, asks_with_the_key_as_given)
{
    scripted::set_option(1, "mode", "{}");
    EXPECT_EQ(fetch(1), "{}");
    EXPECT_EQ(fetch(34819), "{}");
    const char *name = "mode";
    EXPECT_EQ(fetch(reinterpret_cast<std::intptr_t>(name)), "{}");
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,34819,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,mode,buffer,1024,id)"}));
}

TEST_F(option_json, passes_the_drivers_number_on)
{
    scripted::set_option(3, "mode", "{}");
    const char *name = "mode";
    fetch(reinterpret_cast<std::intptr_t>(name));
    EXPECT_EQ(id_, 3);
}

TEST_F(option_json, works_without_any_out_parameter)
{
    scripted::set_option(1, "mode", "{}");
    EXPECT_EQ(kx_sane_middleware::get_option_json(scanner_, reinterpret_cast<const void *>(1), nullptr, nullptr,
                                                  nullptr, nullptr),
              "{}");
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,1024,null)"}));
}

TEST_F(option_json, is_empty_when_the_driver_refuses)
{
    for (const int code : {256, 259, 261, 262, 269, 278, -1, 0xDE00}) {
        scripted::reset();
        scripted::set_option(1, "mode", "{}");
        scripted::answer("kx_scanner_get_parameter", code);
        EXPECT_EQ(fetch(), "") << code;
        EXPECT_EQ(name_, "untouched") << code;
        EXPECT_EQ(scripted::calls().size(), 1U) << code;
    }
}

TEST_F(option_json, asks_again_with_the_length_that_the_driver_needs)
{
    const std::string description = R"({"desc":")" + std::string(3000 - 20, 'd') + "\"}";
    const std::string text = "\"mode\" : " + description;
    scripted::set_option_text(1, "mode", text);
    EXPECT_EQ(fetch(), description);
    EXPECT_EQ(scripted::calls(),
              (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
                     "kx_scanner_get_parameter(0x100000002,1,buffer," + std::to_string(text.size()) + ",id)"}));
}

TEST_F(option_json, asks_no_third_time)
{
    script({{258, 3000, ""}, {258, 4000, ""}});
    EXPECT_EQ(fetch_through_buffer(), "");
    EXPECT_EQ(name_, "untouched");
    EXPECT_EQ(scripted::calls().size(), 2U);
    EXPECT_NE(buffer_, nullptr);
}

TEST_F(option_json, reports_the_buffer_after_a_retry_with_two_bytes_more)
{
    script({{258, 3000, ""}, {0, 2, "{}"}});
    EXPECT_EQ(fetch_through_buffer(), "{}");
    ASSERT_NE(buffer_, nullptr);
    EXPECT_EQ(size_, 3002);
    EXPECT_GE(malloc_usable_size(buffer_), 3004U); // the text, a terminator, a multiple of four
}

TEST_F(option_json, hands_a_new_buffer_over)
{
    script({{0, 2, "{}"}});
    EXPECT_EQ(fetch_through_buffer(), "{}");
    ASSERT_NE(buffer_, nullptr);
    EXPECT_EQ(std::string(buffer_, 3), std::string("{}\0", 3));
    EXPECT_EQ(size_, 1024);
    EXPECT_GE(malloc_usable_size(buffer_), 1028U);
}

TEST_F(option_json, hands_a_new_buffer_over_on_failure_too)
{
    scripted::answer("kx_scanner_get_parameter", 256);
    EXPECT_EQ(fetch_through_buffer(), "");
    EXPECT_NE(buffer_, nullptr);
    EXPECT_EQ(size_, 1024);
}

TEST_F(option_json, uses_the_buffer_lent_with_its_size)
{
    scripted::set_option(1, "mode", "{}");
    const auto lent = local_utility::acquire<char>(2052, "test");
    char *buffer = lent.get();
    long size = 2048;
    EXPECT_EQ(
        kx_sane_middleware::get_option_json(scanner_, reinterpret_cast<const void *>(1), &name_, &id_, &buffer, &size),
        "{}");
    EXPECT_EQ(buffer, lent.get());
    EXPECT_EQ(size, 2048);
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,2048,id)"}));
}

TEST_F(option_json, a_size_without_buffer_is_the_size_of_a_new_one)
{
    scripted::set_option(1, "mode", "{}");
    size_ = 50;
    EXPECT_EQ(fetch_through_buffer(), "{}");
    EXPECT_NE(buffer_, nullptr);
    EXPECT_EQ(size_, 50);
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,50,id)"}));
}

TEST_F(option_json, a_buffer_goes_from_fetch_to_fetch_and_grows_once)
{
    const std::string text = "\"mode\" : {\"desc\":\"" + std::string(2000 - 20, 'd') + "\"}"; // 2000 bytes
    ASSERT_EQ(text.size(), 2000U);
    scripted::set_option_text(1, "mode", text);
    fetch_through_buffer();
    char *grown = buffer_;
    fetch_through_buffer();
    EXPECT_EQ(buffer_, grown);
    EXPECT_EQ(size_, 2002);
    EXPECT_EQ(scripted::calls(), (texts{"kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
                                        "kx_scanner_get_parameter(0x100000002,1,buffer,2000,id)",
                                        "kx_scanner_get_parameter(0x100000002,1,buffer,2002,id)"}));
}

TEST_F(option_json, a_shorter_text_does_not_show_the_longer_one_before)
{
    script({{0, 10, "0123456789"}, {0, 3, "abc"}});
    EXPECT_EQ(fetch_through_buffer(), "0123456789");
    EXPECT_EQ(fetch_through_buffer(), "abc");
}

TEST_F(option_json, a_text_that_fills_its_buffer_is_read_to_its_end)
{
    const std::string text(1024, 'x');
    script({{0, 1024, text}});
    EXPECT_EQ(fetch(), text);
}

TEST_F(option_json, a_length_beyond_the_buffer_is_cut_to_it)
{
    for (const long length : {1025L, 5000L, static_cast<long>(INT_MAX), LONG_MAX}) {
        const std::string text(1024, 'x');
        script({{0, length, text}});
        EXPECT_EQ(fetch(), text) << length;
    }
}

TEST_F(option_json, a_negative_length_is_a_failure)
{
    for (const long length : {-1L, static_cast<long>(INT_MIN), LONG_MIN}) {
        script({{0, length, "{}"}});
        EXPECT_EQ(fetch(), "") << length;
        EXPECT_EQ(name_, "untouched") << length;
    }
}

TEST_F(option_json, a_length_of_nothing_is_an_empty_text)
{
    script({{0, 0, "\"mode\":{}"}});
    EXPECT_EQ(fetch(), "");
    EXPECT_EQ(name_, "");
}

TEST_F(option_json, an_impossible_need_is_a_failure)
{
    for (const long length : {-1L, LONG_MIN, LONG_MAX, LONG_MAX - 7}) {
        script({{258, length, ""}, {256, 0, ""}});
        EXPECT_EQ(fetch(), "") << length;
        EXPECT_EQ(name_, "untouched") << length;
    }
}

TEST_F(option_json, a_need_that_did_not_grow_is_tried_once_more)
{
    script({{258, 10, ""}, {0, 2, "{}"}});
    EXPECT_EQ(fetch_through_buffer(), "{}");
    EXPECT_EQ(size_, 12);
}

TEST_F(option_json, a_need_of_nothing_is_tried_once_more)
{
    script({{258, 0, ""}, {0, 0, ""}});
    EXPECT_EQ(fetch_through_buffer(), "");
    EXPECT_EQ(size_, 2);
    EXPECT_EQ(name_, "");
    EXPECT_EQ(scripted::calls().size(), 2U);
}
