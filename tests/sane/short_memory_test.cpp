// SPDX-License-Identifier: MIT
// Each allocation of a call fails once: the call answers "no memory" or does without, and nothing is left behind.
#include "inner_sane.h"
#include "open_scanners.h"
#include "sane_kx_mdw.h"
#include "scripted.h"
#include "short_memory.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace {

using texts = std::vector<std::string>;

constexpr int more_than_enough = 2000;

class short_of_memory : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        scripted::set_option(1, "paper", R"({"type": "string", "title": "Paper", "desc": "", "size": 44,
                                             "range": ["A4", "A5"], "default": "A4", "cur": "A4"})");
        scripted::set_option(2, "resolution", R"({"type": "int", "title": "dpi", "desc": "", "size": 4,
                                                  "range": {"min": 100, "max": 600}, "cur": 200,
                                                  "depend_or": ["paper==A4"]})");
        scripted::set_option(3, "gamma", R"({"type": "float", "size": 4, "range": [1.0, 1.8, 2.2], "cur": 1.8})");
    }
    void TearDown() override { inner_sane_exit(); }
};

// Runs `work` with the first, second, ... allocation failing, until it makes no more.
template <typename Failing> int fail_each_allocation(const std::function<void()> &work)
{
    for (int nth = 0; nth < more_than_enough; ++nth) {
        const Failing failing(nth);
        work();
        if (!failing.has_failed())
            return nth;
    }
    return more_than_enough;
}

void ignore_signal(int) {}

const void *key_of(std::size_t number)
{
    return reinterpret_cast<const void *>(number);
}

SANE_Handle open_device()
{
    SANE_Handle handle = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, inner_sane_init(nullptr));
    EXPECT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle));
    scripted::forget_record();
    return handle;
}

void open_and_close()
{
    SANE_Handle handle = nullptr;
    const SANE_Status status = inner_sane_open("virtual:1", &handle);
    EXPECT_TRUE(status == SANE_STATUS_GOOD || status == SANE_STATUS_NO_MEM) << status;
    if (status == SANE_STATUS_GOOD)
        inner_sane_close(handle);
    EXPECT_EQ(std::vector<void *>(), scripted::open_handles());
}

void expect_all_or_fewer_options(int allocations)
{
    EXPECT_LT(0, allocations);
    EXPECT_GT(more_than_enough, allocations);
    SANE_Handle handle = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle));
    for (std::size_t number = 0; number <= 3; ++number)
        EXPECT_NE(nullptr, inner_sane_get_option_descriptor(handle, reinterpret_cast<const void *>(number))) << number;
}

} // namespace

TEST_F(short_of_memory, init_answers_no_memory)
{
    const short_memory::failing_new failing(0);
    SANE_Int version = 0;
    EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_init(&version));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(0, version);
}

TEST_F(short_of_memory, init_works_again_when_there_is_memory)
{
    {
        const short_memory::failing_new failing(0);
        inner_sane_init(nullptr);
    }
    EXPECT_EQ(SANE_STATUS_GOOD, inner_sane_init(nullptr));
}

TEST_F(short_of_memory, failed_init_leaves_the_hosts_signal_handler_in_place)
{
    const auto before = std::signal(SIGUSR1, ignore_signal);
    const short_memory::failing_new failing(0); // the object
    EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_init(nullptr));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(ignore_signal, std::signal(SIGUSR1, ignore_signal));
    EXPECT_EQ(texts(), scripted::record());
    std::signal(SIGUSR1, before);
}

TEST_F(short_of_memory, listing_without_a_buffer_answers_no_memory)
{
    inner_sane_init(nullptr);
    const SANE_Device *marker = nullptr;
    const SANE_Device **list = &marker;
    const short_memory::failing_calloc failing(0);
    EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_get_devices(&list, SANE_FALSE));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(&marker, list);
}

TEST_F(short_of_memory, driver_that_lists_into_no_buffer_is_not_asked_to)
{
    inner_sane_init(nullptr);
    scripted::forget_record();
    scripted::answer("kx_scanner_enum", 258, 1, 1);
    scripted::answer("kx_scanner_enum", 0);
    const SANE_Device **list = nullptr;
    const short_memory::failing_calloc failing(0);
    EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_get_devices(&list, SANE_FALSE));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(texts({"kx_scanner_enum(null,0,0)"}), scripted::calls());
}

TEST_F(short_of_memory, listing_without_a_block_is_a_null_list)
{
    inner_sane_init(nullptr);
    const SANE_Device *marker = nullptr;
    const SANE_Device **list = &marker;
    const short_memory::failing_calloc failing(1);
    EXPECT_EQ(SANE_STATUS_GOOD, inner_sane_get_devices(&list, SANE_FALSE));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(nullptr, list);
}

TEST_F(short_of_memory, open_without_a_record_closes_the_device_again)
{
    inner_sane_init(nullptr);
    scripted::forget_record();
    SANE_Handle handle = nullptr;
    {
        const short_memory::failing_new failing(0);
        EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_open("virtual:1", &handle));
        EXPECT_TRUE(failing.has_failed());
    }
    EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_close(0x100000002,1)"}),
              scripted::calls());
}

TEST_F(short_of_memory, open_leaves_no_device_behind_whichever_object_fails)
{
    inner_sane_init(nullptr);
    const int allocations = fail_each_allocation<short_memory::failing_new>(open_and_close);
    for (std::uintptr_t i = 1; i < more_than_enough; ++i)
        EXPECT_FALSE(open_scanners::contains(reinterpret_cast<void *>(i << 32 | 2 * i))) << i;
    expect_all_or_fewer_options(allocations);
}

TEST_F(short_of_memory, open_leaves_no_device_behind_whichever_block_fails)
{
    inner_sane_init(nullptr);
    expect_all_or_fewer_options(fail_each_allocation<short_memory::failing_calloc>(open_and_close));
}

TEST_F(short_of_memory, cancel_needs_none)
{
    inner_sane_init(nullptr);
    SANE_Handle handle = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle));
    const short_memory::failing_new objects(0);
    const short_memory::failing_calloc blocks(0);
    inner_sane_cancel(handle);
    EXPECT_FALSE(objects.has_failed());
    EXPECT_FALSE(blocks.has_failed());
}

TEST_F(short_of_memory, option_count_descriptor_is_null_and_comes_later)
{
    inner_sane_init(nullptr);
    SANE_Handle handle = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle));
    {
        const short_memory::failing_calloc failing(0);
        EXPECT_EQ(nullptr, inner_sane_get_option_descriptor(handle, nullptr));
    }
    EXPECT_NE(nullptr, inner_sane_get_option_descriptor(handle, nullptr));
}

TEST_F(short_of_memory, language_change_survives_each_failure)
{
    inner_sane_init(nullptr);
    SANE_Handle handle = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, inner_sane_open("virtual:1", &handle));
    const SANE_Option_Descriptor *const paper =
        inner_sane_get_option_descriptor(handle, reinterpret_cast<const void *>(1));
    const auto change = [] { scripted::change_language(); };
    EXPECT_GT(more_than_enough, fail_each_allocation<short_memory::failing_new>(change));
    EXPECT_GT(more_than_enough, fail_each_allocation<short_memory::failing_calloc>(change));
    scripted::change_language();
    EXPECT_EQ(paper, inner_sane_get_option_descriptor(handle, reinterpret_cast<const void *>(1)));
    EXPECT_STREQ("paper", paper->name);
}

TEST_F(short_of_memory, option_that_cannot_be_described_is_not_registered)
{
    const SANE_Handle handle = open_device();
    const char *const descriptions[] = {
        R"({"type": "string", "size": 8, "range": ["a", "b"]})",
        R"({"type": "int", "range": {"min": 1, "max": 2}})",
        R"({"type": "int", "range": [1, 2]})",
        R"({"type": "float", "range": [1.5, 2]})",
    };
    std::size_t number = 10;
    for (const char *const description : descriptions) {
        ++number;
        scripted::set_option(static_cast<int>(number), "late-" + std::to_string(number), description);
        for (int nth = 0; nth < 6; ++nth) { // the text's buffer, the record, its three texts, its constraint
            const short_memory::failing_calloc failing(nth);
            EXPECT_EQ(nullptr, inner_sane_get_option_descriptor(handle, key_of(number))) << description << nth;
            EXPECT_TRUE(failing.has_failed()) << description << nth;
        }
        EXPECT_NE(nullptr, inner_sane_get_option_descriptor(handle, key_of(number))) << description;
    }
}

TEST_F(short_of_memory, value_that_cannot_be_fetched_is_a_failed_read)
{
    const SANE_Handle handle = open_device();
    SANE_Word word = 99;
    SANE_Int info = 77;
    const short_memory::failing_calloc failing(0);
    EXPECT_EQ(SANE_STATUS_IO_ERROR, inner_sane_control_option(handle, key_of(2), SANE_ACTION_GET_VALUE, &word, &info));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(99, word);
    EXPECT_EQ(0, info);
}

TEST_F(short_of_memory, value_that_cannot_be_delivered_is_a_failed_read)
{
    const SANE_Handle handle = open_device();
    kx_sane_middleware &middleware = *kx_sane_middleware::instance();
    void *const scanner = kx_sane_middleware::sane_handle_to_scanner(handle);
    const short_memory::failing_calloc failing(1); // behind the fetched text's buffer
    void *value = nullptr;
    EXPECT_FALSE(
        middleware.get_current_value(scanner, key_of(2), kx_sane_middleware::set_value_to_new, &value, nullptr));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_EQ(nullptr, value);
    EXPECT_EQ(texts(), scripted::log_lines());
}

TEST_F(short_of_memory, default_without_a_block_is_unsupported)
{
    const SANE_Handle handle = open_device();
    for (const int nth : {0, 1}) {
        SANE_Word word = 99;
        const short_memory::failing_calloc failing(nth);
        EXPECT_EQ(SANE_STATUS_UNSUPPORTED,
                  kx_sane_middleware::instance()->set_option(handle, key_of(2), 100, &word, nullptr));
        EXPECT_TRUE(failing.has_failed()) << nth;
        EXPECT_EQ(99, word) << nth;
    }
}

TEST_F(short_of_memory, automatic_value_without_a_block_is_not_written)
{
    const SANE_Handle handle = open_device();
    const SANE_Status expected[] = {SANE_STATUS_UNSUPPORTED, SANE_STATUS_UNSUPPORTED, SANE_STATUS_NO_MEM};
    for (int nth = 0; nth < 3; ++nth) {
        const short_memory::failing_calloc failing(nth);
        EXPECT_EQ(expected[nth], inner_sane_control_option(handle, key_of(1), SANE_ACTION_SET_AUTO, nullptr, nullptr));
        EXPECT_TRUE(failing.has_failed()) << nth;
    }
    EXPECT_TRUE(scripted::writes().empty());
}

TEST_F(short_of_memory, notice_that_cannot_be_built_is_not_sent)
{
    const SANE_Handle handle = open_device();
    const SANE_Option_Descriptor *const dependent = inner_sane_get_option_descriptor(handle, key_of(2));
    ASSERT_EQ(0, dependent->cap & SANE_CAP_INACTIVE);
    for (const int nth : {0, 1}) { // the notice, the value in it
        char other[44] = "A5";
        char needed[44] = "A4";
        SANE_Int info = 77;
        {
            const short_memory::failing_calloc failing(nth);
            EXPECT_EQ(SANE_STATUS_GOOD,
                      inner_sane_control_option(handle, key_of(1), SANE_ACTION_SET_VALUE, other, &info));
            EXPECT_TRUE(failing.has_failed()) << nth;
        }
        EXPECT_EQ(SANE_INFO_RELOAD_OPTIONS, info) << nth;
        EXPECT_NE(0, dependent->cap & SANE_CAP_INACTIVE) << nth;
        EXPECT_TRUE(scripted::calls_of("kx_scanner_control").empty()) << nth;
        inner_sane_control_option(handle, key_of(1), SANE_ACTION_SET_VALUE, needed, nullptr);
        EXPECT_EQ(1U, scripted::notices().size()) << nth;
        scripted::forget_record();
    }
}

TEST_F(short_of_memory, well_known_option_without_a_text_is_not_written)
{
    const SANE_Handle handle = open_device();
    SANE_Word width = 210;
    const short_memory::failing_calloc failing(0);
    EXPECT_EQ(SANE_STATUS_NO_MEM, inner_sane_control_option(handle, key_of(4), SANE_ACTION_SET_VALUE, &width, nullptr));
    EXPECT_TRUE(failing.has_failed());
    EXPECT_TRUE(scripted::writes().empty());
}
