// SPDX-License-Identifier: MIT
// Each allocation of a call fails once: the call answers "no memory" or does without, and nothing is left behind.
#include "inner_sane.h"
#include "pauses.h"
#include "scripted.h"
#include "short_memory.h"

#include <gtest/gtest.h>

#include <functional>

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
    expect_all_or_fewer_options(fail_each_allocation<short_memory::failing_new>(open_and_close));
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
