// SPDX-License-Identifier: MIT
// control_option: who owns the value decides who is asked. An option of the driver is read from its text and written
// with its value in the driver's form; a well-known option goes to the mapper; a number that is neither is an
// information item of the driver. The driver's answer to a write becomes a status and info flags, and what the change
// moved (enable states, other options' values) is brought up to date before the call returns. Tested by
// tests/sane/set_option_test.cpp.
#include "commonlog.h"
#include "descriptor.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_ids.h"
#include "option_key.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

namespace {

constexpr int driver_log_id = 39171;
constexpr const char *driver_log_name = "drv-log";

bool is_driver_log(const void *option)
{
    if (option_key::is_name(option))
        return std::strcmp(option_key::name_of(option), driver_log_name) == 0;
    return option_key::number_of(option) == driver_log_id;
}

bool has_no_value(SANE_Value_Type type)
{
    return type == SANE_TYPE_BUTTON || type == SANE_TYPE_GROUP;
}

bool needs_a_buffer(int action)
{
    return action == SANE_ACTION_GET_VALUE || action == SANE_ACTION_GET_DEFAULT || action == SANE_ACTION_GET_FIXED_ID;
}

bool is_write(int action)
{
    return action == SANE_ACTION_SET_VALUE || action == SANE_ACTION_SET_AUTO;
}

// Where a descriptor's own list of values lies in memory; empty for an option without one.
std::pair<const char *, const char *> list_of(const SANE_Option_Descriptor &desc)
{
    const auto &list = desc.constraint;
    if (desc.constraint_type == SANE_CONSTRAINT_RANGE)
        return {reinterpret_cast<const char *>(list.range), reinterpret_cast<const char *>(list.range + 1)};
    if (desc.constraint_type == SANE_CONSTRAINT_WORD_LIST)
        return {reinterpret_cast<const char *>(list.word_list),
                reinterpret_cast<const char *>(list.word_list + list.word_list[0] + 1)};
    if (desc.constraint_type != SANE_CONSTRAINT_STRING_LIST)
        return {nullptr, nullptr};
    const auto *last = list.string_list; // pointers and texts are one block, in the same order
    while (*(last + 1) != nullptr)
        ++last;
    return {reinterpret_cast<const char *>(list.string_list), *last + std::strlen(*last) + 1};
}

// How many bytes of a value that points into the descriptor's own list belong to it; 0 when it points elsewhere.
std::size_t bytes_within_list(const SANE_Option_Descriptor &desc, const void *value)
{
    const auto *const text = static_cast<const char *>(value);
    const auto [begin, end] = list_of(desc);
    if (text == nullptr || std::less<>()(text, begin) || !std::less<>()(text, end))
        return 0;
    const auto left = static_cast<std::size_t>(end - text);
    return desc.type == SANE_TYPE_STRING ? strnlen(text, left - 1) + 1 : left;
}

long information_item_length(int id)
{
    int length = 0;
    static_cast<void>(local_utility::un_json_option_name(id, &length));
    return length;
}

void store_info(int *info, int flags)
{
    if (info != nullptr)
        *info = flags;
}

} // namespace

// What a call goes on with after each call into the driver.
struct kx_sane_middleware::request {
    void *sane_handle = nullptr;
    opened_device device;
    const void *option = nullptr;
    void *value = nullptr;
    int told_size = 0;                         // of the value's buffer
    local_utility::memory_ptr<void> own_value; // stands in for the caller's

    [[nodiscard]] int shown_option() const { return option_key::number_of(option); }

    // A copy of a value, with all the room that the driver is told of and a NUL behind it, becomes the value to be set.
    [[nodiscard]] int take_copy(const void *source, std::size_t bytes, int size)
    {
        const std::size_t room = std::max(bytes, static_cast<std::size_t>(std::max(size, 0))) + 4;
        auto copy = local_utility::acquire<void>(room, "kx_sane_middleware::set_option");
        if (copy == nullptr)
            return SANE_STATUS_NO_MEM;
        std::memcpy(copy.get(), source, bytes);
        own_value = std::move(copy);
        value = own_value.get();
        return SANE_STATUS_GOOD;
    }
};

struct kx_sane_middleware::write_request : request {
    bool automatic; // the driver chooses the value
    bool well_known = false;
    bool is_stored = false;
    int number = -1;
    SANE_Value_Type type = SANE_TYPE_BUTTON;
    int size = 0;
    std::string name; // name and title stay empty for an option that is not in the table
    std::string title;
    std::string before;
    std::string after;

    write_request(request &&call, bool by_driver) : request(std::move(call)), automatic(by_driver) {}

    void log_values() const
    {
        if (before == after)
            InfoLog(g_hLog, "-->Set option(%d - %s) value: %s", shown_option(), title.c_str(), before.c_str());
        else
            InfoLog(g_hLog, "-->Set option(%d - %s) value: %s(Applied: %s)", shown_option(), title.c_str(),
                    before.c_str(), after.c_str());
    }
};

int kx_sane_middleware::set_option(void *handle, const void *option, int action, void *value, int *info)
{
    if (option_key::is_negative(option)) {
        CriticalLog(g_hLog, "set_option error, option id = %d.", option_key::number_of(option));
        return SANE_STATUS_INVAL;
    }
    if (is_driver_log(option))
        return access_driver_log(handle, action, value);
    void *const scanner = find_openning_device(handle, false, nullptr);
    if (scanner == nullptr || (value == nullptr && needs_a_buffer(action)))
        return SANE_STATUS_INVAL;
    const auto *const told = find_stored_descriptor(scanner, option, nullptr, nullptr);
    request call{handle, opened_device(scanner), option, value, size_of(told), nullptr};
    if (told != nullptr && is_write(action))
        if (const int status = keep_off_lists(call, action, *told); status != SANE_STATUS_GOOD)
            return status;
    if (kx_scanner_get_status(scanner, 0) == SCANNER_ERR_DEVICE_NOT_FOUND)
        return local_utility::scanner_err_2_sane_statu(SCANNER_ERR_DEVICE_NOT_FOUND);
    if (call.device.was_closed())
        return SANE_STATUS_INVAL;

    switch (action) {
    case SANE_ACTION_GET_VALUE:
        return read_option(call, info);
    case SANE_ACTION_GET_DEFAULT:
        return read_default(call);
    case SANE_ACTION_GET_FIXED_ID:
        return read_fixed_id(call);
    case SANE_ACTION_SET_VALUE:
    case SANE_ACTION_SET_AUTO: {
        write_request write{std::move(call), action == SANE_ACTION_SET_AUTO};
        return write_option(write, info);
    }
    default:
        return SANE_STATUS_INVAL;
    }
}

// A value that is part of the descriptor's own list is read now, since what the driver does may replace the list, and
// is written neither by the driver nor with a default.
int kx_sane_middleware::keep_off_lists(request &call, int action, const SANE_Option_Descriptor &told)
{
    const std::size_t bytes = bytes_within_list(told, call.value);
    if (bytes == 0)
        return SANE_STATUS_GOOD;
    if (action == SANE_ACTION_SET_AUTO) {
        call.value = nullptr;
        return SANE_STATUS_GOOD;
    }
    return call.take_copy(call.value, bytes, told.size);
}

// The driver's log is reachable without an opened device: the handle goes to the driver as the frontend passed it.
int kx_sane_middleware::access_driver_log(void *handle, int action, void *value)
{
    using local_utility::scanner_err_2_sane_statu;
    long length = information_item_length(driver_log_id);
    if (action == SANE_ACTION_GET_VALUE)
        return scanner_err_2_sane_statu(kx_scanner_get_parameter(handle, driver_log_name, value, &length, nullptr));
    if (action == SANE_ACTION_SET_VALUE)
        return scanner_err_2_sane_statu(kx_scanner_set_parameter(handle, driver_log_name, value, &length));
    return SANE_STATUS_INVAL;
}

int kx_sane_middleware::read_option(const request &call, int *info)
{
    constexpr int unresolved = -1; // reads do not resolve the option's number for the mapper
    void *const scanner = call.device.scanner();
    store_info(info, 0);
    if (call.option == nullptr) {
        const int count = static_cast<int>(option_count(scanner));
        local_utility::store_word(call.value, count);
        InfoLog(g_hLog, "get option count = %d.", count);
        return SANE_STATUS_GOOD;
    }
    const auto *stored = find_stored_descriptor(scanner, call.option, nullptr, nullptr);
    if (stored != nullptr && has_no_value(stored->type))
        return SANE_STATUS_UNSUPPORTED;
    const auto &mapper = call.device.record()->std_opts_;
    if (mapper != nullptr && mapper->is_known_option(unresolved, nullptr)) {
        mapper->get_value(call.sane_handle, unresolved, call.value);
        return SANE_STATUS_GOOD;
    }
    if (read_value(call.device, call.option, call.told_size, set_value_to_var, call.value, nullptr))
        return SANE_STATUS_GOOD;
    return call.device.was_closed() ? SANE_STATUS_INVAL : SANE_STATUS_IO_ERROR;
}

int kx_sane_middleware::read_default(const request &call)
{
    void *const scanner = call.device.scanner();
    const auto *stored = find_stored_descriptor(scanner, call.option, nullptr, nullptr);
    if (stored != nullptr && has_no_value(stored->type))
        return SANE_STATUS_UNSUPPORTED;
    int bytes = 0;
    const auto block = get_default_value(scanner, call.option, &bytes, false, nullptr);
    if (block == nullptr)
        return call.device.was_closed() ? SANE_STATUS_INVAL : SANE_STATUS_UNSUPPORTED;
    std::memcpy(call.value, block.get(), static_cast<std::size_t>(bytes));
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::read_fixed_id(const request &call)
{
    int fix_id = 0;
    find_stored_descriptor(call.device.scanner(), call.option, nullptr, &fix_id);
    if (fix_id <= SANE_OPTION_ID_BASE)
        return SANE_STATUS_UNSUPPORTED;
    local_utility::store_word(call.value, fix_id);
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::write_option(write_request &call, int *info)
{
    const auto *const stored = find_stored_descriptor(call.device.scanner(), call.option, &call.number, nullptr);
    call.is_stored = stored != nullptr;
    if (call.is_stored) {
        call.name = stored->name;
        call.title = stored->title;
        call.type = stored->type;
        call.size = std::min(stored->size, call.told_size); // the buffer has what was told
        if (call.automatic && !has_no_value(call.type))
            if (const int status = take_default(call); status != SANE_STATUS_GOOD)
                return status;
    } else if (!option_key::is_name(call.option)) {
        call.number = call.shown_option();
    }
    const auto &mapper = call.device.record()->std_opts_;
    call.well_known = mapper != nullptr && mapper->is_known_option(call.number, nullptr);
    if (!call.well_known && !call.is_stored)
        return write_information_item(call);
    if (const int status = provide_value(call); status != SANE_STATUS_GOOD)
        return status;
    const int code = call.well_known ? write_well_known_option(call) : write_driver_option(call);
    call.log_values();
    return conclude(call, code, info);
}

// Makes the option's default the value to be set, in the caller's buffer if there is one.
int kx_sane_middleware::take_default(write_request &call)
{
    WarnLog(g_hLog, "Option %d(%s) call SANE_ACTION_SET_AUTO, we set default value.", call.shown_option(),
            call.title.c_str());
    int bytes = 0; // stays so for a default of the mapper's, which is a word
    bool can_auto = true;
    const auto block = get_default_value(call.device.scanner(), call.option, &bytes, false, &can_auto);
    if (call.device.was_closed())
        return SANE_STATUS_INVAL;
    if (block == nullptr || !can_auto)
        return SANE_STATUS_UNSUPPORTED;
    if (call.value == nullptr)
        return call.take_copy(block.get(), bytes > 0 ? static_cast<std::size_t>(bytes) : sizeof(SANE_Word), call.size);
    std::memcpy(call.value, block.get(), static_cast<std::size_t>(bytes));
    return SANE_STATUS_GOOD;
}

// Settles what is written when there is no value so far.
int kx_sane_middleware::provide_value(write_request &call)
{
    if (call.well_known && call.automatic && call.value == nullptr) {
        call.own_value = call.device.record()->std_opts_->get_default_value(call.device.scanner(), call.number);
        call.value = call.own_value.get();
        return call.value != nullptr ? SANE_STATUS_GOOD : SANE_STATUS_NO_MEM;
    }
    if (call.value == nullptr && (call.well_known || call.type != SANE_TYPE_BUTTON)) {
        WarnLog(g_hLog, "Option descriptor %d(%s) need a value!.", call.shown_option(), call.title.c_str());
        return SANE_STATUS_INVAL;
    }
    return SANE_STATUS_GOOD;
}

int kx_sane_middleware::write_well_known_option(write_request &call)
{
    sane_std_opts &mapper = *call.device.record()->std_opts_;
    const SANE_Value_Type type = mapper.get_option(call.number)->type;
    call.before = option_value_2_string(type, call.value);
    SANE_Byte raw[4] = {};
    std::memcpy(raw, call.value, sizeof(raw));
    DebugLog(g_hLog, "$First 4-bytes of origin value for option %d is: %02X%02X%02X%02X", call.shown_option(), raw[0],
             raw[1], raw[2], raw[3]);
    const int code = mapper.set_value(call.device.scanner(), call.number, call.value);
    call.after = option_value_2_string(type, call.value);
    return code;
}

int kx_sane_middleware::write_driver_option(write_request &call)
{
    const auto write = [&call](void *data, long length) {
        return kx_scanner_set_parameter(call.device.scanner(), call.option, data, &length);
    };
    int code = SCANNER_ERR_OK;
    call.before = option_value_2_string(call.type, call.value);
    if (call.type == SANE_TYPE_BOOL) {
        SANE_Byte flag = local_utility::word_at(call.value) == SANE_TRUE ? 1 : 0;
        code = write(&flag, sizeof(flag));
        local_utility::store_word(call.value, flag);
    } else if (call.type == SANE_TYPE_FIXED) {
        double real = sane_fixed_2_double(local_utility::word_at(call.value));
        code = write(&real, sizeof(real));
        local_utility::store_word(call.value, double_2_sane_fixed(real));
    } else {
        code = write(call.value, call.size);
    }
    call.after = call.type == SANE_TYPE_STRING ? text_after_write(call) : option_value_2_string(call.type, call.value);
    return code;
}

// A driver that adjusts a text in place may fill the option's size without a terminator.
std::string kx_sane_middleware::text_after_write(const write_request &call)
{
    const std::size_t room = std::max(static_cast<std::size_t>(std::max(call.size, 0)), call.before.size() + 1);
    return std::string(local_utility::bounded_text(static_cast<const char *>(call.value), room));
}

// A number that no option has may be an information item of the driver.
int kx_sane_middleware::write_information_item(const request &call)
{
    int size = 0;
    std::string name;
    if (!option_key::is_name(call.option))
        name = local_utility::un_json_option_name(call.shown_option(), &size);
    if (name.empty()) {
        CriticalLog(g_hLog, "Option descriptor %d not found.", call.shown_option());
        return SANE_STATUS_UNSUPPORTED;
    }
    long length = size;
    return local_utility::scanner_err_2_sane_statu(
        kx_scanner_set_parameter(call.device.scanner(), name.c_str(), call.value, &length));
}

// The driver's result of a write as status and info flags; no flags for a device that is not open any more.
int kx_sane_middleware::conclude(const write_request &call, int code, int *info)
{
    _dev_inst *const dev = call.device.record();
    int flags = dev != nullptr ? follow_up(*dev, call, code) : 0;
    if (flags != 0 && call.device.was_closed())
        flags = 0;
    store_info(info, flags);
    return local_utility::scanner_err_2_sane_statu(code);
}

// Brings up to date what a write has moved; returns the info flags.
int kx_sane_middleware::follow_up(_dev_inst &dev, const write_request &call, int code)
{
    const char *const title = call.title.c_str();
    switch (code) {
    case SCANNER_ERR_OK:
        return something_after_do(&dev, call.name.c_str(), call.after.c_str());
    case SCANNER_ERR_NOT_EXACT:
        return something_after_do(&dev, call.name.c_str(), call.after.c_str()) | SANE_INFO_INEXACT;
    case SCANNER_ERR_CONFIGURATION_CHANGED:
        DebugLog(g_hLog, "the setting '%s' affects other options value, RELOAD ...", title);
        reload_after(dev, call);
        return SANE_INFO_RELOAD_OPTIONS;
    case SCANNER_ERR_RELOAD_IMAGE_PARAM:
        DebugLog(g_hLog, "the setting '%s' affects image parameter, APP should re-get ...", title);
        return SANE_INFO_RELOAD_PARAMS;
    case SCANNER_ERR_RELOAD_OPT_PARAM:
        DebugLog(g_hLog,
                 "the setting '%s' affects image parameter and options, APP should re-get image info and reload "
                 "options...",
                 title);
        reload_after(dev, call);
        return SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
    default:
        return 0;
    }
}

// The language option is exempt: its change reloads the options of all devices through the language library's notice.
void kx_sane_middleware::reload_after(const _dev_inst &dev, const write_request &call)
{
    const auto language = dev.fixed_id_.find(SANE_OPTION_ID_LANGUAGE);
    if (language == dev.fixed_id_.end() || language->second != call.number)
        reload_options(dev.dev_);
}
