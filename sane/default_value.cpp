// SPDX-License-Identifier: MIT
// An option's default value in SANE form, as a block of its own: from the option's text, or, for what is no option of
// the driver with a value, from the well-known options.
// Tested by tests/sane/default_value_test.cpp.
#include "commonlog.h"
#include "json.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using value_block = local_utility::memory_ptr<void>;

// What is said about the default in the log, and whether it is to be said.
struct option_in_log {
    bool wanted;
    int number;
    std::string title;
};

value_block new_block(std::size_t size, const void *value, std::size_t value_size)
{
    auto block = local_utility::acquire<void>(size, "");
    if (block != nullptr)
        std::memcpy(block.get(), value, value_size);
    return block;
}

value_block bool_default(const json &option, int &bytes, const option_in_log &log)
{
    bool value = false;
    option.get_value("default", value);
    bytes = sizeof(SANE_Word);
    if (log.wanted)
        DebugLog(g_hLog, "option %d(%s) default value is: %s", log.number, log.title.c_str(), value ? "true" : "false");
    const SANE_Byte first_byte = value ? 1 : 0;
    return new_block(sizeof(SANE_Word), &first_byte, sizeof(first_byte));
}

value_block int_default(const json &option, int &bytes, const option_in_log &log)
{
    SANE_Word value = 0;
    option.get_value("default", value);
    bytes = sizeof(value);
    if (log.wanted)
        DebugLog(g_hLog, "option %d(%s) default value is: %d", log.number, log.title.c_str(), value);
    return new_block(sizeof(value), &value, sizeof(value));
}

value_block float_default(const json &option, int &bytes, const option_in_log &log)
{
    double value = 0;
    option.get_value("default", value);
    bytes = sizeof(SANE_Fixed);
    if (log.wanted)
        DebugLog(g_hLog, "option %d(%s) default value is: %f", log.number, log.title.c_str(), value);
    const SANE_Fixed word = kx_sane_middleware::double_2_sane_fixed(value);
    return new_block(sizeof(word), &word, sizeof(word));
}

// `bytes` is the text's own length with its NUL, whatever the option's size.
value_block string_default(const json &option, int &bytes, const option_in_log &log)
{
    int size = 0;
    std::string value;
    option.get_value("size", size);
    option.get_value("default", value);
    bytes = static_cast<int>(value.size()) + 1;
    if (log.wanted)
        DebugLog(g_hLog, "option %d(%s) default value is: %s", log.number, log.title.c_str(), value.c_str());
    const std::size_t room = std::max(value.size(), static_cast<std::size_t>(std::max(size, 0)));
    return new_block(room + 4, value.c_str(), value.size() + 1);
}

struct default_row {
    const char *type;
    value_block (*read)(const json &option, int &bytes, const option_in_log &log);
};

constexpr default_row defaults[] = {
    {"bool", bool_default}, {"int", int_default}, {"float", float_default}, {"string", string_default}};

} // namespace

local_utility::memory_ptr<void> kx_sane_middleware::get_default_value(void *scanner, const void *option, int *bytes,
                                                                      bool log, bool *can_auto)
{
    const opened_device device(scanner);
    json document(get_option_json(scanner, option, nullptr, nullptr, nullptr, nullptr).c_str());
    std::string type;
    if (!document.get_value("type", type))
        return get_well_known_default(device, option);
    if (can_auto != nullptr) {
        *can_auto = true;
        document.get_value("auto", *can_auto);
    }
    const option_in_log shown{log, option_key::number_of(option), get_string_in_json(&document, "title")};
    int unwanted = 0;
    for (const default_row &row : defaults)
        if (type == row.type)
            return row.read(document, bytes != nullptr ? *bytes : unwanted, shown);
    DebugLog(g_hLog, "option %d(%s) is '%s' and no value action.", shown.number, shown.title.c_str(), type.c_str());
    return get_well_known_default(device, option);
}

local_utility::memory_ptr<void> kx_sane_middleware::get_well_known_default(const opened_device &device,
                                                                           const void *option)
{
    _dev_inst *const dev = device.record();
    if (dev == nullptr || dev->std_opts_ == nullptr)
        return nullptr;
    int number = -1;
    find_stored_descriptor(dev->dev_, option, &number, nullptr);
    return dev->std_opts_->get_default_value(dev->dev_, number);
}

local_utility::memory_ptr<void> kx_sane_middleware::get_def_value(void *handle, const void *option, int *bytes,
                                                                  bool log)
{
    void *const scanner = find_openning_device(handle, false, nullptr);
    if (scanner == nullptr)
        return nullptr;
    return get_default_value(scanner, option, bytes, log, nullptr);
}
