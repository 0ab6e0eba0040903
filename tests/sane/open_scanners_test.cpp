// SPDX-License-Identifier: MIT
// The handles that a cancel may look up at any time: places are given again, and more devices than fit a page are open.
#include "open_scanners.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

void *handle(std::uintptr_t number)
{
    return reinterpret_cast<void *>(number << 32);
}

} // namespace

TEST(open_scanners, null_is_never_open)
{
    EXPECT_FALSE(open_scanners::contains(nullptr));
    open_scanners::add(handle(1));
    EXPECT_FALSE(open_scanners::contains(nullptr));
    open_scanners::remove(handle(1));
}

TEST(open_scanners, hold_what_was_added_and_not_removed)
{
    open_scanners::add(handle(1));
    open_scanners::add(handle(2));
    open_scanners::remove(handle(1));
    EXPECT_FALSE(open_scanners::contains(handle(1)));
    EXPECT_TRUE(open_scanners::contains(handle(2)));
    open_scanners::add(handle(3));
    EXPECT_TRUE(open_scanners::contains(handle(3)));
    open_scanners::remove(handle(2));
    open_scanners::remove(handle(3));
    EXPECT_FALSE(open_scanners::contains(handle(3)));
}

TEST(open_scanners, handle_that_was_added_twice_stays_until_its_second_removal)
{
    open_scanners::add(handle(1));
    open_scanners::add(handle(1));
    open_scanners::remove(handle(1));
    EXPECT_TRUE(open_scanners::contains(handle(1)));
    open_scanners::remove(handle(1));
    EXPECT_FALSE(open_scanners::contains(handle(1)));
    open_scanners::remove(handle(1)); // one too many
}

TEST(open_scanners, any_number_of_handles_is_held)
{
    constexpr std::uintptr_t count = 40;
    for (std::uintptr_t i = 1; i <= count; ++i)
        open_scanners::add(handle(i));
    for (std::uintptr_t i = 1; i <= count; ++i)
        EXPECT_TRUE(open_scanners::contains(handle(i))) << i;
    for (std::uintptr_t i = 1; i <= count; i += 2)
        open_scanners::remove(handle(i));
    for (std::uintptr_t i = 1; i <= count; ++i)
        EXPECT_EQ(i % 2 == 0, open_scanners::contains(handle(i))) << i;
    for (std::uintptr_t i = 2; i <= count; i += 2)
        open_scanners::remove(handle(i));
}

TEST(open_scanners, asked_again_say_what_is_open_now)
{
    EXPECT_FALSE(open_scanners::contains_still(nullptr));
    for (std::uintptr_t i = 1; i <= 20; ++i)
        open_scanners::add(handle(i));
    for (const std::uintptr_t i : {20, 20, 1, 17, 17})
        EXPECT_TRUE(open_scanners::contains_still(handle(i))) << i;
    open_scanners::remove(handle(17));
    EXPECT_FALSE(open_scanners::contains_still(handle(17)));
    EXPECT_FALSE(open_scanners::contains_still(nullptr)); // its place is free
    open_scanners::add(handle(21));
    EXPECT_FALSE(open_scanners::contains_still(handle(17)));
    EXPECT_TRUE(open_scanners::contains_still(handle(21)));
    for (std::uintptr_t i = 1; i <= 21; ++i)
        open_scanners::remove(handle(i));
    EXPECT_FALSE(open_scanners::contains_still(handle(21)));
}
