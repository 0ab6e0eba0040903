// SPDX-License-Identifier: MIT
// What guards others has to notice a single byte itself.
#include "guarded_memory.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <cstdint>

namespace {

void write_at(const guarded_memory &memory, long place)
{
    static_cast<volatile char *>(memory.data())[place] = 'x';
}

char read_at(const guarded_memory &memory, long place)
{
    return static_cast<volatile const char *>(memory.data())[place];
}

} // namespace

TEST(guarded_memory, has_all_of_its_bytes)
{
    for (const long size : {1L, 3L, 4L, 64L, 4096L, 4097L, 100000L}) {
        const guarded_memory memory(size, 'f');
        EXPECT_EQ(memory.bytes(), std::string(static_cast<std::size_t>(size), 'f')) << size;
        write_at(memory, 0);
        write_at(memory, size - 1);
    }
}

TEST(guarded_memory_death_test, ends_the_process_at_the_first_byte_behind_it)
{
    for (const long size : {0L, 1L, 4L, 64L, 4096L, 4097L}) {
        const guarded_memory memory(size);
        EXPECT_DEATH(write_at(memory, size), "") << size;
        EXPECT_DEATH(read_at(memory, size), "") << size;
    }
}

TEST(guarded_memory_death_test, ends_the_process_at_the_page_in_front)
{
    const guarded_memory memory(4096);
    EXPECT_DEATH(write_at(memory, -1), "");
    EXPECT_DEATH(read_at(memory, -1), "");
}

TEST(guarded_memory, of_no_size_has_no_byte)
{
    for (const long size : {0L, -1L, -2147483648L}) {
        const guarded_memory memory(size);
        EXPECT_EQ(memory.size(), 0U) << size;
        EXPECT_NE(memory.data(), nullptr) << size;
        EXPECT_FALSE(memory.is_terminated()) << size;
    }
}

TEST(guarded_memory, is_aligned_for_words)
{
    for (const long size : {4L, 8L, 12L, 20L})
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(guarded_memory(size).data()) % alignof(SANE_Word), 0U) << size;
}

TEST(guarded_memory, holds_a_string_with_its_terminator)
{
    EXPECT_EQ(guarded_memory::of_text("abc", 6).bytes(), std::string("abc\0\0\0", 6));
    EXPECT_EQ(guarded_memory::of_text("abc", 4).bytes(), std::string("abc\0", 4));
    EXPECT_EQ(guarded_memory::of_text("abc", 3).bytes(), std::string("ab\0", 3));
    EXPECT_EQ(guarded_memory::of_text("abc", 1).bytes(), std::string(1, '\0'));
    EXPECT_EQ(guarded_memory::of_text("abc", 0).bytes(), "");
    EXPECT_EQ(guarded_memory::of_text("abc").bytes(), std::string("abc\0", 4));
    EXPECT_EQ(guarded_memory::of_text("abc").text(), "abc");
}

TEST(guarded_memory, tells_whether_a_string_ends_in_it)
{
    EXPECT_TRUE(guarded_memory::of_text("abc").is_terminated());
    EXPECT_FALSE(guarded_memory(4, 'x').is_terminated());
}

TEST(guarded_memory, holds_a_word)
{
    EXPECT_EQ(guarded_memory::of_word(-7).word(), -7);
    EXPECT_EQ(guarded_memory::of_word(300).size(), 4U);
}
