// SPDX-License-Identifier: MIT
// Leptonica says why it fails by printing. Its messages are taken for the log where they are collected, and go to
// standard error everywhere else: the application may use Leptonica too.
//
// It copes with a want of memory for an image's points and not for the small records around them, which it writes to
// unseen. So points are only given as long as there is room for many records more; where memory ends, it ends there.
// Tested by driver_feed_test and driver_memory_test.
#include "pix.h"

#include <algorithm>
#include <bitset>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <sys/mman.h>

namespace virtual_scanner {

namespace {

thread_local collected_messages *collecting = nullptr;

void take_message(const char *text)
{
    if (collecting != nullptr)
        collecting->add(text);
    else
        std::fputs(text, stderr);
}

thread_local bool is_spare_in_use = false;

constexpr std::size_t spare = std::size_t{16} << 20;

// Not by malloc, which would from then on keep blocks of this size to itself.
bool has_spare_memory(std::size_t wanted = spare)
{
    void *const room = mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (room == MAP_FAILED)
        return false;
    munmap(room, wanted);
    return true;
}

// For every image there is in the process, so that blocks come from malloc and go by free, as without it. Looking costs
// system calls, so not every small image is worth one.
void *allocate_points(std::size_t size)
{
    constexpr std::size_t records = 256; // that go with an image
    constexpr std::size_t worth_a_look = std::size_t{16} << 10;
    thread_local std::size_t given = 0;
    void *const points = std::malloc(size);
    given += size + records;
    if (given < worth_a_look || is_spare_in_use)
        return points;
    given = 0;
    if (has_spare_memory())
        return points;
    std::free(points);
    return nullptr;
}

// Takes Leptonica's messages and gives it memory for as long as the library is loaded.
class leptonica_user {
public:
    leptonica_user()
    {
        leptSetStderrHandler(take_message);
        setPixMemoryManager(allocate_points, std::free);
    }
    ~leptonica_user()
    {
        leptSetStderrHandler(nullptr);
        setPixMemoryManager(std::malloc, std::free);
    }
    leptonica_user(const leptonica_user &) = delete;
    leptonica_user &operator=(const leptonica_user &) = delete;
};

const leptonica_user user;

l_uint32 *row_of(Pix *image, int y)
{
    return pixGetData(image) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(image);
}

} // namespace

collected_messages::collected_messages() : outer_(collecting)
{
    collecting = this;
}

collected_messages::~collected_messages()
{
    collecting = outer_;
}

void collected_messages::add(const char *text) noexcept
{
    const std::string_view line = std::string_view(text).substr(0, std::string_view(text).find('\n'));
    const bool is_error = line.substr(0, 5) == "Error";
    if (text_[0] != '\0' && (!is_error || has_error_))
        return;
    has_error_ = is_error;
    const std::size_t length = std::min(line.size(), text_.size() - 1);
    *std::copy_n(line.begin(), length, text_.begin()) = '\0';
}

std::string collected_messages::reason() const
{
    return text_[0] == '\0' ? "it is no image that can be used" : text_.data();
}

void expect_no_error()
{
    if (collecting != nullptr && collecting->has_error_)
        throw pix_error();
}

void expect_spare_memory(std::size_t wanted)
{
    if (!has_spare_memory(wanted + spare))
        throw std::bad_alloc();
}

spare_memory_use::spare_memory_use() noexcept
{
    is_spare_in_use = true;
}

spare_memory_use::~spare_memory_use()
{
    is_spare_in_use = false;
}

void fill_rectangle(Pix *image, int x, int y, int width, int height, l_uint32 value)
{
    const int right = std::min(x + width, pixGetWidth(image));
    const int bottom = std::min(y + height, pixGetHeight(image));
    x = std::max(x, 0);
    for (int row = std::max(y, 0); row < bottom; ++row) {
        l_uint32 *points = row_of(image, row);
        for (int column = x; column < right; ++column)
            if (pixGetDepth(image) == 8)
                SET_DATA_BYTE(points, column, static_cast<l_uint8>(value));
            else
                points[column] = value;
    }
}

int count_points(Pix *image, int x, int y, int width, int height)
{
    int count = 0;
    for (int row = y; row < y + height; ++row)
        for (int column = x; column < x + width; ++column)
            count += GET_DATA_BIT(row_of(image, row), column) != 0 ? 1 : 0;
    return count;
}

int count_points(Pix *image)
{
    constexpr int word_bits = 32;
    const int words = pixGetWidth(image) / word_bits;
    std::size_t count = 0;
    for (int row = 0; row < pixGetHeight(image); ++row)
        for (int word = 0; word < words; ++word)
            count += std::bitset<word_bits>(row_of(image, row)[word]).count();
    const int counted = words * word_bits;
    return static_cast<int>(count) + count_points(image, counted, 0, pixGetWidth(image) - counted, pixGetHeight(image));
}

} // namespace virtual_scanner
