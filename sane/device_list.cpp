// SPDX-License-Identifier: MIT
// From the driver's device records to a SANE device list. A list is one zero-filled block (pointers, devices, texts),
// so that one release frees it; the block handed out last is kept until the next successful listing replaces it, or
// until the library is unloaded. Counts come from the driver and are cut to the buffer that it was given. Tested by
// tests/sane/device_list_test.cpp.
#include "kx_scanner.h"
#include "local_utility.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>

local_utility::memory_ptr<SANE_Device *> kx_sane_middleware::dev_list_;

namespace {

static_assert(sizeof(_device) == 1028, "the driver's record layout");

constexpr int headroom = 4; // for devices that appear between the two calls

std::array<std::string_view, 4> texts_of(const _device &record)
{
    using local_utility::bounded_text;
    return {bounded_text(record.name, sizeof(record.name)), bounded_text(record.vendor, sizeof(record.vendor)),
            bounded_text(record.model, sizeof(record.model)), bounded_text(record.type, sizeof(record.type))};
}

// Room of a text: with its terminator, padded to a multiple of 4.
std::size_t padded(std::size_t length)
{
    return (length + 4) & ~std::size_t{3};
}

std::size_t block_size(const _device *records, std::size_t count)
{
    std::size_t size = (count + 1) * (sizeof(SANE_Device *) + sizeof(SANE_Device));
    for (std::size_t i = 0; i < count; ++i)
        for (const auto text : texts_of(records[i]))
            size += padded(text.size());
    return (size + 19) & ~std::size_t{3}; // 16 bytes to spare
}

const char *put(char *&room, std::string_view text)
{
    text.copy(room, text.size());
    return std::exchange(room, room + padded(text.size()));
}

// Fetches the records that the driver has, of which it said how many; answers its code. `count` becomes the number that
// was delivered.
int enumerate(bool local_only, local_utility::memory_ptr<_device> &records, int &count)
{
    if (count < 0 || count > std::numeric_limits<int>::max() - headroom)
        return SCANNER_ERR_IO;
    const int room = count + headroom;
    records = local_utility::acquire<_device>(static_cast<std::size_t>(room) * sizeof(_device),
                                              "kx_sane_middleware::get_devices");
    if (records == nullptr)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    count = room;
    const int code = kx_scanner_enum(records.get(), &count, local_only ? 1 : 0);
    if (code == SCANNER_ERR_OK && count < 0)
        return SCANNER_ERR_IO;
    count = std::min(count, room);
    return code;
}

} // namespace

// An information code is a success that lists nothing.
int kx_sane_middleware::get_devices(const SANE_Device ***list, bool local_only)
{
    if (list == nullptr)
        return SANE_STATUS_INVAL;
    const auto serial = serial_;
    int count = 0;
    local_utility::memory_ptr<_device> records;
    int code = kx_scanner_enum(nullptr, &count, local_only ? 1 : 0);
    if (code == SCANNER_ERR_INSUFFICIENT_MEMORY) {
        if (!is_current(serial))
            return SANE_STATUS_INVAL;
        code = enumerate(local_only, records, count);
    }
    const int status = local_utility::scanner_err_2_sane_statu(code);
    if (status != SANE_STATUS_GOOD)
        return status;
    dev_list_.reset(to_sane_device(code == SCANNER_ERR_OK ? records.get() : nullptr, count));
    *list = const_cast<const SANE_Device **>(dev_list_.get());
    return SANE_STATUS_GOOD;
}

SANE_Device **kx_sane_middleware::to_sane_device(const _device *records, int count)
{
    const std::size_t devices = records != nullptr && count > 0 ? static_cast<std::size_t>(count) : 0;
    auto block =
        local_utility::acquire<SANE_Device *>(block_size(records, devices), "kx_sane_middleware::to_sane_device");
    if (block == nullptr)
        return nullptr;
    auto *const device = reinterpret_cast<SANE_Device *>(block.get() + devices + 1);
    auto *room = reinterpret_cast<char *>(device + devices);
    for (std::size_t i = 0; i < devices; ++i) {
        const auto [name, vendor, model, type] = texts_of(records[i]);
        block.get()[i] = &device[i];
        device[i].name = put(room, name);
        device[i].vendor = put(room, vendor);
        device[i].model = put(room, model);
        device[i].type = put(room, type);
    }
    return block.release();
}

void kx_sane_middleware::free_sane_device(SANE_Device **block)
{
    local_utility::free_memory(static_cast<void *>(block));
}
