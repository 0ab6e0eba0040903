// SPDX-License-Identifier: MIT
// The numbers that decide what happened to a sheet: the same seed gives the same pages on every machine.
#include "page_wear.h"

#include <gtest/gtest.h>

#include <cstdint>

// What every implementation of the generator gives for this seed.
TEST(wear_numbers, are_those_of_splitmix64)
{
    virtual_scanner::wear_numbers numbers(1234567);
    for (const std::uint64_t expected : {6457827717110365317U, 3203168211198807973U, 9817491932198370423U,
                                         4593380528125082431U, 16408922859458223821U})
        EXPECT_EQ(expected, numbers.next());
}
