// SPDX-License-Identifier: MIT
// Each line is the driver's text of an option: fetched, split, parsed, built, registered and read, as an application
// that lists a device's options has it, into buffers of the size that it was told. The same texts have to give the same
// options again, at the same addresses, after a reload, and a switch has to leave every dependent option as its record
// says.
#include "descriptor.h"
#include "guarded_memory.h"
#include "input.h"
#include "opened_devices.h"
#include "option_key.h"
#include "oracle.h"
#include "platform.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"
#include "value_room.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t most_options = 24;
constexpr int most_bytes = 1 << 16; // of a value; an option may be of any size, and an application gets that much

struct listed_option {
    const SANE_Option_Descriptor *descriptor;
    std::string description;

    bool operator==(const listed_option &other) const
    {
        return descriptor == other.descriptor && description == other.description;
    }
};

kx_sane_middleware &backend()
{
    return *kx_sane_middleware::instance();
}

SANE_Option_Descriptor *descriptor_of(void *handle, const void *option)
{
    return backend().get_option_descriptor(handle, option, nullptr, nullptr);
}

// A size that the backend chose holds the longest text and its NUL. One that is just as long as that text is the
// driver's.
void require_room_for_texts(const SANE_Option_Descriptor &descriptor, const void *option)
{
    int size = 0;
    json(kx_sane_middleware::split_name(platform::text_of(option).c_str(), nullptr)).get_value("size", size);
    if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST && descriptor.size != size)
        require(longest_listed(descriptor) < static_cast<std::size_t>(descriptor.size), "a size has room for the NUL");
}

// All options there are, well-known ones behind the driver's.
std::vector<listed_option> list(void *handle)
{
    constexpr int most_well_known = 3;
    const int count = static_cast<int>(platform::the_script().options.size()) + 1 + most_well_known;
    std::vector<listed_option> options;
    for (int number = 0; number < count; ++number) {
        const void *const key = option_key::from_number(number);
        const auto *descriptor = descriptor_of(handle, key);
        if (descriptor != nullptr) {
            require_sound(*descriptor);
            require_room_for_texts(*descriptor, key);
        }
        options.push_back({descriptor, descriptor != nullptr ? description_of(*descriptor) : ""});
    }
    return options;
}

void require_found_by_name(const _dev_inst &device)
{
    for (const auto &option : device.opts_) {
        const auto *const found = backend().find_stored_descriptor(device.dev_, option.name_.c_str(), nullptr, nullptr);
        require(found != nullptr && found->name == option.name_, "a name finds an option of that name");
    }
}

// As an application has it, "none" where there is no value.
std::string value_of(void *handle, int number, const SANE_Option_Descriptor &told, int action, long room)
{
    const guarded_memory value(room, 'u');
    const auto status =
        sane_pelsane_control_option(handle, number, static_cast<SANE_Action>(action), value.data(), nullptr);
    if (status != SANE_STATUS_GOOD)
        return "none";
    require(told.type != SANE_TYPE_STRING || value.is_terminated(), "a text has an end");
    return told.type == SANE_TYPE_STRING ? value.text() : value.bytes();
}

// The block that callers within the backend get holds the same as an application's buffer.
void require_same_block(const std::string &read, const void *block, const SANE_Option_Descriptor &told)
{
    if (block == nullptr)
        require(read == "none", "what can be read can be read as a block");
    else if (told.type == SANE_TYPE_STRING)
        require(read == static_cast<const char *>(block), "a block has the same text");
    else
        require(std::memcmp(read.data(), block, sizeof(SANE_Word)) == 0, "a block has the same word");
}

void require_steady_value(void *handle, int number, const SANE_Option_Descriptor &told)
{
    const void *const key = option_key::from_number(number);
    const std::string text = platform::text_of(key);
    const long room = room_for_value(told.size, text);
    const std::string value = value_of(handle, number, told, SANE_ACTION_GET_VALUE, room);
    require(value == value_of(handle, number, told, SANE_ACTION_GET_VALUE, room), "a value is read twice alike");
    SANE_Value_Type type = SANE_TYPE_BUTTON;
    require_same_block(value, backend().get_cur_value(handle, key, &type).get(), told);
    const std::string by_default =
        value_of(handle, number, told, SANE_ACTION_GET_DEFAULT, room_for_default(told.size, text));
    int bytes = 0;
    const auto block = backend().get_def_value(handle, key, &bytes, true);
    require(bytes >= 0 && (block != nullptr || bytes == 0), "only a default has bytes");
    require_same_block(by_default, block.get(), told);
}

void require_steady_values(void *handle, const std::vector<listed_option> &options)
{
    for (std::size_t i = 1; i < options.size(); ++i) {
        const auto *const told = options[i].descriptor;
        const bool has_value = told != nullptr && told->type != SANE_TYPE_BUTTON && told->type != SANE_TYPE_GROUP;
        if (has_value && told->size <= most_bytes)
            require_steady_value(handle, static_cast<int>(i), *told);
    }
}

bool is_unique(const _dev_inst &device, const std::string &name)
{
    return std::count_if(device.opts_.begin(), device.opts_.end(),
                         [&name](const _device_option &option) { return option.name_ == name; }) == 1;
}

void require_states_as_recorded(const _dev_inst &device)
{
    require(std::is_sorted(device.masters_.begin(), device.masters_.end()), "masters are sorted");
    require(std::adjacent_find(device.masters_.begin(), device.masters_.end()) == device.masters_.end(),
            "and without duplicates");
    for (const auto &slave : device.slaves_) {
        require(!slave.master.empty(), "a dependent option has conditions");
        const auto *const descriptor =
            backend().find_stored_descriptor(device.dev_, slave.name.c_str(), nullptr, nullptr);
        if (descriptor != nullptr && is_unique(device, slave.name))
            require(is_active(*descriptor) == slave.enable_now, "an option is as active as its record says");
    }
}

// Every option takes a listed text and another one, or else what switches have.
void switch_options(_dev_inst &device)
{
    for (std::size_t i = 0; i < device.opts_.size(); ++i) {
        const std::string name = device.opts_[i].name_;
        const SANE_Option_Descriptor &descriptor = *device.opts_[i].desc_;
        const bool is_listed = descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST;
        for (const std::string &value : {std::string(is_listed ? descriptor.constraint.string_list[0] : "true"),
                                         std::string(descriptor.type == SANE_TYPE_INT ? "300" : "false")}) {
            const int flags = backend().something_after_do(&device, name.c_str(), value.c_str());
            require(flags == 0 || flags == SANE_INFO_RELOAD_OPTIONS, "a switch can only reload options");
        }
    }
    require_states_as_recorded(device);
}

void exercise(void *handle)
{
    _dev_inst *device = nullptr;
    void *const scanner = backend().find_openning_device(handle, false, &device);
    require(scanner != nullptr, "an opened device is found");
    const auto options = list(handle);
    require_found_by_name(*device);
    require_states_as_recorded(*device);
    require_steady_values(handle, options);
    backend().reload_options(scanner);
    require(list(handle) == options, "a reload of the same texts gives the same options");
    backend().on_SCANNER_ERR_CONFIGURATION_CHANGED(device);
    switch_options(*device);
    backend().reload_options(scanner);
    require(list(handle) == options, "a reload forgets what was switched");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input bytes(data, size);
    platform::script &driver = platform::reset();
    while (!bytes.is_used_up() && driver.options.size() < most_options)
        driver.options.push_back(bytes.line());
    void *handle = nullptr;
    require(backend().open_device("fuzzed", &handle) == SANE_STATUS_GOOD, "the device opens");
    exercise(handle);
    backend().close_device(handle);
    return 0;
}
