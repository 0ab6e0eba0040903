// SPDX-License-Identifier: MIT
// Fixed-point words, values as texts for the log, the two ways to deliver a value, zero-filled memory.
#include "local_utility.h"
#include "sane_kx_mdw.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

namespace {

using middleware = kx_sane_middleware;

std::string word_text(SANE_Value_Type type, SANE_Word word)
{
    return middleware::option_value_2_string(type, &word);
}

} // namespace

TEST(value_codec, a_double_becomes_fixed_point_truncated_toward_zero)
{
    struct {
        double value;
        SANE_Fixed fixed;
    } const cases[] = {
        {0, 0},
        {1.0, 65536},
        {-1.0, -65536},
        {0.5, 32768},
        {1.5, 98304},
        {-0.00001, 0},
        {2.99999999, 196607},
        {-2.99999999, -196607},
        {0.99999 / 65536, 0},
        {1.99999 / 65536, 1},
        {-1.5 / 65536, -1},
        {-0.99999 / 65536, 0},
        {32767.0, 2147418112},
        {-32768.0, INT_MIN},
        {32767.99999, 2147483647},
    };
    for (const auto &c : cases)
        EXPECT_EQ(middleware::double_2_sane_fixed(c.value), c.fixed) << c.value;
}

TEST(value_codec, a_double_beyond_fixed_point_saturates)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {32768.0, 40000.0, 1e300, infinity})
        EXPECT_EQ(middleware::double_2_sane_fixed(value), INT_MAX) << value;
    for (const double value : {-32768.00001, -40000.0, -1e300, -infinity})
        EXPECT_EQ(middleware::double_2_sane_fixed(value), INT_MIN) << value;
}

TEST(value_codec, what_is_no_number_is_zero_in_fixed_point)
{
    EXPECT_EQ(middleware::double_2_sane_fixed(std::nan("")), 0);
}

TEST(value_codec, fixed_point_becomes_a_double_exactly)
{
    struct {
        int fixed;
        double value;
    } const cases[] = {
        {0, 0},
        {65536, 1.0},
        {-65536, -1.0},
        {98304, 1.5},
        {1, 1.52587890625e-5},
        {-1, -1.52587890625e-5},
        {INT_MAX, 32767.9999847412109375},
        {INT_MIN, -32768.0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(middleware::sane_fixed_2_double(c.fixed), c.value) << c.fixed;
}

TEST(value_codec, fixed_point_survives_the_way_there_and_back)
{
    for (const int fixed : {0, 1, -1, 32767, 65535, 98304, -98305, INT_MAX, INT_MIN})
        EXPECT_EQ(middleware::double_2_sane_fixed(middleware::sane_fixed_2_double(fixed)), fixed);
}

TEST(value_codec, renders_a_word_by_its_type)
{
    struct {
        SANE_Value_Type type;
        SANE_Word word;
        const char *text;
    } const cases[] = {
        {SANE_TYPE_BOOL, 0, "false"},
        {SANE_TYPE_BOOL, 1, "true"},
        {SANE_TYPE_BOOL, 2, "true"},
        {SANE_TYPE_BOOL, -1, "true"},
        {SANE_TYPE_BOOL, 256, "true"},
        {SANE_TYPE_INT, 0, "0"},
        {SANE_TYPE_INT, 300, "300"},
        {SANE_TYPE_INT, -7, "-7"},
        {SANE_TYPE_INT, INT_MIN, "-2147483648"},
        {SANE_TYPE_FIXED, 98304, "1.500000"},
        {SANE_TYPE_FIXED, 65536, "1.000000"},
        {SANE_TYPE_FIXED, -65536, "-1.000000"},
        {SANE_TYPE_FIXED, 1, "0.000015"},
        {SANE_TYPE_FIXED, INT_MIN, "-32768.000000"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(word_text(c.type, c.word), c.text) << c.type << ' ' << c.word;
}

TEST(value_codec, renders_a_string_as_it_is)
{
    EXPECT_EQ(middleware::option_value_2_string(SANE_TYPE_STRING, "A4"), "A4");
    EXPECT_EQ(middleware::option_value_2_string(SANE_TYPE_STRING, ""), "");
    const std::string long_text(1000, 'x');
    EXPECT_EQ(middleware::option_value_2_string(SANE_TYPE_STRING, long_text.c_str()), long_text);
}

TEST(value_codec, renders_what_has_no_value_by_a_word)
{
    EXPECT_EQ(middleware::option_value_2_string(SANE_TYPE_BUTTON, nullptr), "Button");
    EXPECT_EQ(middleware::option_value_2_string(SANE_TYPE_GROUP, nullptr), "Group");
    EXPECT_EQ(middleware::option_value_2_string(static_cast<SANE_Value_Type>(7), nullptr), "unknown");
}

TEST(value_codec, set_value_to_var_copies_the_bytes_given)
{
    char target[] = "------";
    char value[] = {'a', '\0', 'b', 'c'};
    middleware::set_value_to_var(value, 3, target);
    EXPECT_EQ(std::string(target, 6), std::string("a\0b---", 6));
}

TEST(value_codec, set_value_to_var_of_no_bytes_writes_nothing)
{
    char target[] = "--";
    char value[] = "ab";
    middleware::set_value_to_var(value, 0, target);
    EXPECT_STREQ(target, "--");
}

TEST(value_codec, set_value_to_new_hands_over_a_block)
{
    void *block = nullptr;
    char value[] = "abc";
    middleware::set_value_to_new(value, 4, &block);
    const local_utility::memory_ptr<void> owner(block);
    ASSERT_NE(block, nullptr);
    EXPECT_NE(block, value);
    EXPECT_STREQ(static_cast<const char *>(block), "abc");
}

TEST(value_codec, set_value_to_new_of_no_bytes_still_allocates)
{
    void *block = nullptr;
    char value[] = "";
    middleware::set_value_to_new(value, 0, &block);
    const local_utility::memory_ptr<void> owner(block);
    EXPECT_NE(block, nullptr);
}

TEST(value_codec, the_setters_are_told_apart_by_their_address)
{
    EXPECT_NE(&middleware::set_value_to_var, &middleware::set_value_to_new);
}

TEST(value_codec, acquired_memory_is_zero)
{
    for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, std::size_t{100000}}) {
        const auto block = local_utility::acquire<unsigned char>(size, "test");
        ASSERT_NE(block, nullptr);
        std::size_t set = 0;
        for (std::size_t i = 0; i < size; ++i)
            set += block.get()[i] != 0;
        EXPECT_EQ(set, 0U) << size;
    }
}

TEST(value_codec, memory_that_cannot_be_had_is_null)
{
    EXPECT_EQ(local_utility::acquire<char>(static_cast<std::size_t>(PTRDIFF_MAX) - 1, "test"), nullptr);
}
