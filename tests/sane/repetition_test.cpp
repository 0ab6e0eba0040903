// SPDX-License-Identifier: MIT
// What is done ten thousand times leaves memory and descriptors where they were.
#include "backend_test.h"
#include "pauses.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <filesystem>
#include <functional>
#include <iterator>
#include <malloc.h>

namespace {

class repetition : public backend_test {};

constexpr int times = 10000;
constexpr int warm_up = 200;
constexpr long spare_bytes = 4096; // growth that does not depend on how often something was done

long used_bytes()
{
    return static_cast<long>(mallinfo2().uordblks);
}

long open_descriptors()
{
    const std::filesystem::directory_iterator entries("/proc/self/fd");
    return std::distance(begin(entries), end(entries));
}

void repeat(int count, const std::function<void()> &work)
{
    for (int i = 0; i < count; ++i) {
        work();
        scripted::forget_record();
        pauses::forget();
    }
}

void expect_no_growth(const std::function<void()> &work)
{
    repeat(warm_up, work);
    const long descriptors = open_descriptors();
    const long bytes = used_bytes();
    repeat(times, work);
    EXPECT_LT(used_bytes() - bytes, spare_bytes);
    EXPECT_EQ(descriptors, open_descriptors());
}

void script_options()
{
    scripted::set_option(1, "paper",
                         R"({"type": "string", "title": 57, "desc": "Paper", "size": 44, "range": ["A4", "A5"],
                             "default": "A4", "cur": "A4"})");
    scripted::set_option(2, "resolution",
                         R"({"type": "int", "size": 4, "range": {"min": 100, "max": 600}, "cur": 200,
                             "depend_or": ["paper==A4"]})");
}

} // namespace

TEST_F(repetition, init_and_exit)
{
    expect_no_growth([] {
        sane_pelsane_init(nullptr, nullptr);
        sane_pelsane_exit();
    });
}

TEST_F(repetition, open_and_close)
{
    init();
    script_options();
    expect_no_growth([] {
        SANE_Handle handle = nullptr;
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
        ASSERT_NE(nullptr, sane_pelsane_get_option_descriptor(handle, 2));
        sane_pelsane_close(handle);
    });
}

TEST_F(repetition, open_and_exit)
{
    script_options();
    expect_no_growth([] {
        SANE_Handle handle = nullptr;
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
        ASSERT_NE(nullptr, sane_pelsane_get_option_descriptor(handle, 0));
        sane_pelsane_exit();
    });
}

TEST_F(repetition, listing)
{
    init();
    scripted::set_devices({{}, {}, {}});
    expect_no_growth([] {
        const SANE_Device **list = nullptr;
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    });
}

TEST_F(repetition, failing_calls)
{
    init();
    scripted::answer("kx_scanner_open", 269);
    scripted::answer("kx_scanner_enum", 258, scripted::always, 3);
    expect_no_growth([] {
        SANE_Handle handle = nullptr;
        const SANE_Device **list = nullptr;
        ASSERT_EQ(269, sane_pelsane_open("virtual:1", &handle));
        ASSERT_EQ(SANE_STATUS_NO_MEM, sane_pelsane_get_devices(&list, SANE_FALSE));
    });
}

TEST_F(repetition, language_changes)
{
    init();
    script_options();
    open();
    expect_no_growth([] { scripted::change_language(); });
}
