// SPDX-License-Identifier: MIT
// The notice that tells the driver that an option became active or inactive: one zero-filled block with a header and an
// entry for each distinct master that has a cached value, and a block of its own for each of these values. The layout
// is the driver's (kx_scanner.h). Tested by tests/sane/depend_propagation_test.cpp.
#include "depend_expression.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "number_text.h"
#include "opened_devices.h"
#include "sane_kx_mdw.h"
#include "value_cache.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

static_assert(sizeof(_opt_value) == 72 && offsetof(_opt_value, value) == 64, "the driver's entry layout");
static_assert(offsetof(_opt_enabled, enabled) == 64 && offsetof(_opt_enabled, opts) == 72, "and its header layout");

template <std::size_t size> void copy_name(char (&field)[size], const std::string &name)
{
    name.copy(field, size - 1); // the block is zeroed: the terminator is there
}

std::vector<std::string> distinct_masters(const _slave_option &slave)
{
    std::vector<std::string> names;
    for (const auto &condition : slave.master)
        if (std::find(names.begin(), names.end(), condition.name) == names.end())
            names.push_back(condition.name);
    return names;
}

template <typename Value> local_utility::memory_ptr<void> block_of(Value value)
{
    constexpr std::size_t size = 8;
    static_assert(sizeof(value) <= size);
    auto block = local_utility::acquire<void>(size, "kx_sane_middleware::get_control_enalbe_data");
    if (block != nullptr)
        std::memcpy(block.get(), &value, sizeof(value));
    return block;
}

local_utility::memory_ptr<void> text_block(const std::string &text)
{
    auto block = local_utility::acquire<char>(text.size() + 4, "kx_sane_middleware::get_control_enalbe_data");
    if (block != nullptr)
        text.copy(block.get(), text.size());
    return local_utility::memory_ptr<void>(block.release());
}

local_utility::memory_ptr<void> value_block(const _cur_val &cur)
{
    if (cur.type == "string")
        return text_block(cur.val);
    if (cur.type == "bool")
        return block_of(cur.val == "true");
    if (cur.type == "int")
        return block_of(static_cast<std::int32_t>(std::strtol(cur.val.c_str(), nullptr, 10)));
    return block_of(text_to_number(cur.val.c_str()));
}

} // namespace

void enable_notice_deleter::operator()(_opt_enabled *notice) const
{
    kx_sane_middleware::free_control_enable_data(notice);
}

_opt_enabled *kx_sane_middleware::get_control_enalbe_data(_dev_inst *dev, const _slave_option &slave)
{
    const auto masters = distinct_masters(slave);
    enable_notice notice(static_cast<_opt_enabled *>(local_utility::acquire_memory(
        sizeof(_opt_enabled) + sizeof(_opt_value) * masters.size(), "kx_sane_middleware::get_control_enalbe_data")));
    if (notice == nullptr)
        return nullptr;
    copy_name(notice->name, slave.name);
    notice->enabled = slave.enable_now ? 1 : 0;
    for (const auto &name : masters) {
        const _cur_val *cur = find_cached_value(*dev, name);
        if (cur == nullptr)
            continue;
        _opt_value &entry = notice->opts[notice->count];
        copy_name(entry.name, name);
        entry.value = value_block(*cur).release();
        if (entry.value == nullptr)
            return nullptr;
        ++notice->count;
    }
    return notice.release();
}

void kx_sane_middleware::free_control_enable_data(_opt_enabled *data)
{
    if (data == nullptr)
        return;
    for (int i = 0; i < data->count; ++i)
        local_utility::free_memory(data->opts[i].value);
    local_utility::free_memory(data);
}
