// SPDX-License-Identifier: MIT
// The block of a device list, built from records directly.
#include "kx_scanner.h"
#include "local_utility.h"
#include "sane_kx_mdw.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <string_view>
#include <vector>

namespace {

struct block_deleter {
    void operator()(SANE_Device **block) const { kx_sane_middleware::free_sane_device(block); }
};
using device_block = std::unique_ptr<SANE_Device *, block_deleter>;

device_block block_of(const std::vector<_device> &records, int count)
{
    return device_block(kx_sane_middleware::to_sane_device(records.data(), count));
}

_device record(std::string_view name, std::string_view vendor, std::string_view model, std::string_view type)
{
    _device made = {};
    name.copy(made.name, sizeof made.name - 1);
    vendor.copy(made.vendor, sizeof made.vendor - 1);
    model.copy(made.model, sizeof made.model - 1);
    type.copy(made.type, sizeof made.type - 1);
    return made;
}

} // namespace

TEST(device_block, record_layout_is_the_drivers)
{
    EXPECT_EQ(1028U, sizeof(_device));
    EXPECT_EQ(4U, offsetof(_device, name));
    EXPECT_EQ(260U, offsetof(_device, vendor));
    EXPECT_EQ(516U, offsetof(_device, model));
    EXPECT_EQ(772U, offsetof(_device, type));
}

TEST(device_block, without_records_holds_null_alone)
{
    for (const int count : {0, -1, -1000}) {
        const device_block block = block_of({}, count);
        ASSERT_NE(nullptr, block) << count;
        EXPECT_EQ(nullptr, *block) << count;
    }
}

TEST(device_block, texts_are_padded_to_multiples_of_four)
{
    const device_block block = block_of({record("", "abc", "abcd", "abcdefg")}, 1);
    ASSERT_NE(nullptr, block);
    const SANE_Device &device = **block;
    EXPECT_EQ(reinterpret_cast<const char *>(&device + 1), device.name);
    EXPECT_EQ(4, device.vendor - device.name);
    EXPECT_EQ(4, device.model - device.vendor);
    EXPECT_EQ(8, device.type - device.model);
    EXPECT_STREQ("", device.name);
    EXPECT_STREQ("abc", device.vendor);
    EXPECT_STREQ("abcd", device.model);
    EXPECT_STREQ("abcdefg", device.type);
}

TEST(device_block, has_at_least_its_documented_size)
{
    // 2 * (8 + 32) for pointers and devices, 4 + 4 + 8 + 8 for the texts, 19 more, a multiple of four.
    const device_block block = block_of({record("", "abc", "abcd", "abcdefg")}, 1);
    EXPECT_LE(120U, malloc_usable_size(static_cast<void *>(block.get())));
}

TEST(device_block, padding_between_texts_is_zero)
{
    const device_block block = block_of({record("a", "b", "c", "d")}, 1);
    ASSERT_NE(nullptr, block);
    EXPECT_EQ(0, std::memcmp("a\0\0\0b\0\0\0c\0\0\0d\0\0\0", (*block)->name, 16));
}

TEST(device_block, freeing_null_is_nothing)
{
    kx_sane_middleware::free_sane_device(nullptr);
    local_utility::free_memory(nullptr);
}

TEST(device_block, memory_comes_zero_filled)
{
    const auto block = local_utility::acquire<unsigned char>(100, "test");
    ASSERT_NE(nullptr, block);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(0, block.get()[i]) << i;
}
