// SPDX-License-Identifier: MIT
// The scripted scanner driver. Each function records itself, then does what comes first: a queued answer, a hook, the
// script. It is strict where a driver may be: texts are stored without a terminator, nothing beyond the length told is
// touched, and a record's text may fill its field.
#include "kx_scanner.h"
#include "scripted.h"
#include "state.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>

using namespace scripted;

namespace {

using guard = std::lock_guard<std::mutex>;

constexpr long text_item_length = 255;

// The answer that a test queued (its `out` stored) or that its hook gives; nothing when the script is to decide.
template <typename Out, typename Hook, typename... Arguments>
std::optional<int> scripted_answer(const char *function, Out *out, const Hook &hook, Arguments... arguments)
{
    if (const auto queued = next_answer(function)) {
        if (out != nullptr && queued->out)
            *out = static_cast<Out>(*queued->out);
        return queued->code;
    }
    const Hook called = hook;
    return called ? called(arguments...) : std::nullopt;
}

template <typename Number> std::string shown_number(const Number *number)
{
    return number == nullptr ? "null" : std::to_string(*number);
}

void copy_field(char (&field)[256], const std::string &text)
{
    std::memset(field, 0, sizeof field);
    std::memcpy(field, text.data(), std::min(text.size(), sizeof field));
}

// Stores data in a buffer as get_parameter does.
int deliver(const void *source, std::size_t size, void *data, long *length)
{
    const long room = *length;
    *length = static_cast<long>(size);
    if (data == nullptr || room < static_cast<long>(size))
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    std::memcpy(data, source, size);
    return SCANNER_ERR_OK;
}

long told_option_count(const script &current)
{
    if (current.option_count)
        return *current.option_count;
    return current.options.empty() ? 1 : current.options.rbegin()->first + 1;
}

bool is_text(const script &current, int number, long length)
{
    const auto found = current.options.find(number);
    return found != current.options.end() ? found->second.type == "string" : length == text_item_length;
}

// The value of a write. An application may end a text's buffer right behind its NUL, so no byte after it is read.
bytes written_value(const script &current, int number, const void *data, long length)
{
    if (data == nullptr || length <= 0)
        return {};
    const auto *begin = static_cast<const unsigned char *>(data);
    const auto size = static_cast<std::size_t>(length);
    const bool ends_at_nul = is_text(current, number, length);
    return bytes(begin, begin + (ends_at_nul ? strnlen(static_cast<const char *>(data), size) : size));
}

std::string shown_value(const bytes &value, bool text)
{
    if (text)
        return "\"" + std::string(value.begin(), value.end()) + "\"";
    std::string shown_bytes;
    for (const unsigned char byte : value) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned int>(byte));
        shown_bytes += digits;
    }
    return shown_bytes;
}

std::string option_name(const script &current, int number, const void *option)
{
    const auto found = current.options.find(number);
    return found != current.options.end() ? found->second.name : shown_key(option);
}

// Records a write, in words and as it came.
std::string record_write(void *handle, const void *option, const void *data, const long *length)
{
    state &s = the_state();
    std::string call;
    std::string name;
    {
        guard held(s.lock);
        const long told = length == nullptr ? 0 : *length;
        const int number = number_of_key(s.current, option);
        const bytes value = written_value(s.current, number, data, told);
        const bool text = is_text(s.current, number, told);
        name = option_name(s.current, number, option);
        call = "kx_scanner_set_parameter(" + shown_handle(handle) + "," + shown_key(option) + "," +
               (data == nullptr ? "null" : shown_value(value, text)) + "," + shown_number(length) + ")";
        s.writes.push_back({handle, name, value, told, data == nullptr});
    }
    record_call(call);
    return name;
}

std::string field_text(const char (&field)[64])
{
    return std::string(field, strnlen(field, sizeof field));
}

master_value copy_master(const script &current, const _opt_value &option)
{
    master_value copy{field_text(option.name), {}, {}};
    const int number = number_of_key(current, copy.name.c_str());
    const auto found = current.options.find(number);
    if (option.value == nullptr)
        return copy;
    if (found != current.options.end() && found->second.type == "string") {
        copy.text = static_cast<const char *>(option.value);
    } else {
        const auto *begin = static_cast<const unsigned char *>(option.value);
        copy.data.assign(begin, begin + 8);
    }
    return copy;
}

void record_notice(void *handle, const _opt_enabled &sent)
{
    state &s = the_state();
    guard held(s.lock);
    notice copy{handle, field_text(sent.name), sent.enabled, {}};
    const _opt_value *options = sent.opts;
    for (int i = 0; i < sent.count; ++i)
        copy.masters.push_back(copy_master(s.current, options[i]));
    s.notices.push_back(copy);
}

char next_need_auth(script &current)
{
    if (current.need_auth.empty())
        return 0;
    auto &[flag, times] = current.need_auth.front();
    const char answered = flag;
    if (times == always)
        return answered;
    --times;
    if (times == 0)
        current.need_auth.pop_front();
    return answered;
}

void *next_handle(script &current)
{
    ++current.opened_count;
    std::size_t handle = static_cast<std::size_t>(current.opened_count) * 0x100000002;
    if (!current.handles.empty()) {
        handle = current.handles.front();
        current.handles.pop_front();
    }
    return reinterpret_cast<void *>(handle);
}

} // namespace

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    record_call("kx_scanner_set_sane_info(" + shown(name) + "," + shown(version) + ")");
    const auto queued = next_answer("kx_scanner_set_sane_info");
    return queued ? queued->code : SCANNER_ERR_OK;
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    record_call("kx_scanner_initialize(" + std::string(callback == nullptr ? "null" : "callback") + "," +
                shown(parameter, "parameter") + ")");
    state &s = the_state();
    {
        guard held(s.lock);
        s.callback = callback;
        s.callback_parameter = parameter;
    }
    return scripted_answer<long>("kx_scanner_initialize", nullptr, s.hooked.initialize).value_or(SCANNER_ERR_OK);
}

int kx_scanner_uninitialize(void)
{
    record_call("kx_scanner_uninitialize()");
    state &s = the_state();
    const auto decided = scripted_answer<long>("kx_scanner_uninitialize", nullptr, s.hooked.uninitialize);
    guard held(s.lock);
    s.callback = nullptr;
    s.callback_parameter = nullptr;
    return decided.value_or(SCANNER_ERR_OK);
}

unsigned int kx_scanner_get_version(void)
{
    record_call("kx_scanner_get_version()");
    state &s = the_state();
    guard held(s.lock);
    return s.current.version;
}

const char *kx_scanner_err_description(int code)
{
    record_call("kx_scanner_err_description(" + std::to_string(code) + ")");
    std::optional<std::string> text = "error " + std::to_string(code);
    {
        state &s = the_state();
        guard held(s.lock);
        const auto found = s.current.error_texts.find(code);
        if (found != s.current.error_texts.end())
            text = found->second;
    }
    return text ? keep_text(*text) : nullptr;
}

int kx_scanner_enum(void *records, int *count, int local_only)
{
    record_call("kx_scanner_enum(" + shown(records, "buffer") + "," + shown_number(count) + "," +
                std::to_string(local_only) + ")");
    state &s = the_state();
    if (const auto decided = scripted_answer("kx_scanner_enum", count, s.hooked.enumerate, records, count, local_only))
        return *decided;
    guard held(s.lock);
    const int room = records == nullptr ? 0 : *count;
    *count = static_cast<int>(s.current.devices.size());
    if (room < *count)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    for (std::size_t i = 0; i < s.current.devices.size(); ++i) {
        _device &record = static_cast<_device *>(records)[i];
        record.reserved = 0;
        copy_field(record.name, s.current.devices[i].name);
        copy_field(record.vendor, s.current.devices[i].vendor);
        copy_field(record.model, s.current.devices[i].model);
        copy_field(record.type, s.current.devices[i].type);
    }
    return SCANNER_ERR_OK;
}

int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth)
{
    record_call("kx_scanner_open(" + shown(name) + "," + std::to_string(flag) + "," + shown(user) + "," +
                shown(password) + "," + shown(extra) + ")");
    state &s = the_state();
    {
        guard held(s.lock);
        const char wanted = next_need_auth(s.current);
        if (need_auth != nullptr && wanted != 0)
            *need_auth = wanted;
    }
    const auto decided = scripted_answer<long>("kx_scanner_open", nullptr, s.hooked.open, handle, name, need_auth);
    if (decided)
        return *decided;
    guard held(s.lock);
    *handle = next_handle(s.current);
    s.open_handles.push_back(*handle);
    return SCANNER_ERR_OK;
}

int kx_scanner_close(void *handle, int force)
{
    record_call("kx_scanner_close(" + shown_handle(handle) + "," + std::to_string(force) + ")");
    state &s = the_state();
    {
        guard held(s.lock);
        auto &open = s.open_handles;
        const auto found = std::find(open.begin(), open.end(), handle);
        if (found != open.end())
            open.erase(found);
    }
    return scripted_answer<long>("kx_scanner_close", nullptr, s.hooked.close, handle, force).value_or(SCANNER_ERR_OK);
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    record_call("kx_scanner_get_parameter(" + shown_handle(handle) + "," + shown_key(option) + "," +
                shown(data, "buffer") + "," + shown_number(length) + "," + shown(id, "id") + ")");
    state &s = the_state();
    const auto key = reinterpret_cast<std::intptr_t>(option);
    if (id != nullptr && key > 0 && key <= 0x8800)
        *id = static_cast<int>(key);
    if (const auto decided = scripted_answer("kx_scanner_get_parameter", length, s.hooked.get_parameter, handle, option,
                                             data, length, id))
        return *decided;
    if (handle == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    guard held(s.lock);
    if (option == nullptr && data == nullptr) {
        *length = told_option_count(s.current);
        return SCANNER_ERR_OK;
    }
    const int number = number_of_key(s.current, option);
    if (number >= 0) {
        if (id != nullptr)
            *id = number;
        const std::string &text = s.current.options.at(number).text;
        return deliver(text.data(), text.size(), data, length);
    }
    const auto item = s.current.information.find(shown_key(option));
    if (item == s.current.information.end())
        return SCANNER_ERR_INVALID_PARAMETER;
    return deliver(item->second.data(), item->second.size(), data, length);
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    const std::string name = record_write(handle, option, data, length);
    state &s = the_state();
    if (const auto decided =
            scripted_answer("kx_scanner_set_parameter", length, s.hooked.set_parameter, handle, option, data, length))
        return *decided;
    if (handle == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    guard held(s.lock);
    const auto found = s.current.write_answers.find(name);
    if (found == s.current.write_answers.end())
        return SCANNER_ERR_OK;
    const auto &rewritten = found->second.rewritten;
    if (rewritten && data != nullptr)
        std::memcpy(data, rewritten->data(), rewritten->size());
    return found->second.code;
}

int kx_scanner_get_status(void *handle, int which)
{
    record_call("kx_scanner_get_status(" + shown_handle(handle) + "," + std::to_string(which) + ")");
    return scripted_answer<long>("kx_scanner_get_status", nullptr, the_state().hooked.get_status, handle, which)
        .value_or(SCANNER_ERR_OK);
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    char shown_code[20];
    std::snprintf(shown_code, sizeof shown_code, "0x%lx", code);
    record_call("kx_scanner_control(" + shown_handle(handle) + "," + shown_code + "," + shown(data, "data") + "," +
                shown_number(length) + ")");
    state &s = the_state();
    if (code == KX_CONTROL_OPTION_ENABLED && data != nullptr)
        record_notice(handle, *static_cast<const _opt_enabled *>(data));
    if (const auto decided =
            scripted_answer("kx_scanner_control", length, s.hooked.control, handle, code, data, length))
        return *decided;
    return handle == nullptr ? SCANNER_ERR_INVALID_PARAMETER : SCANNER_ERR_OK;
}

int kx_scanner_start(void *handle, void *event, int timeout)
{
    record_call("kx_scanner_start(" + shown_handle(handle) + "," + shown(event, "event") + "," +
                std::to_string(timeout) + ")");
    state &s = the_state();
    const auto decided = scripted_answer<long>("kx_scanner_start", nullptr, s.hooked.start, handle, event, timeout);
    if (decided)
        return *decided;
    guard held(s.lock);
    s.current.image_position = 0;
    return SCANNER_ERR_OK;
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    record_call("kx_scanner_read_img_data(" + shown_handle(handle) + "," + shown(data, "buffer") + "," +
                shown_number(count) + ")");
    state &s = the_state();
    if (const auto decided =
            scripted_answer("kx_scanner_read_img_data", count, s.hooked.read_img_data, handle, data, count))
        return *decided;
    guard held(s.lock);
    const std::size_t left = s.current.image.size() - s.current.image_position;
    const std::size_t delivered = *count > 0 ? std::min(static_cast<std::size_t>(*count), left) : 0;
    if (delivered != 0)
        std::memcpy(data, s.current.image.data() + s.current.image_position, delivered);
    s.current.image_position += delivered;
    *count = static_cast<long>(delivered);
    return left == 0 ? SCANNER_ERR_NO_DATA : SCANNER_ERR_OK;
}

int kx_scanner_stop(void *handle)
{
    char call[48] = "kx_scanner_stop(null)";
    if (handle != nullptr)
        std::snprintf(call, sizeof call, "kx_scanner_stop(%p)", handle);
    if (!record_fixed_call(call))
        record_call(call);
    return scripted_answer<long>("kx_scanner_stop", nullptr, the_state().hooked.stop, handle).value_or(SCANNER_ERR_OK);
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    record_call("kx_scanner_get_img_info(" + shown_handle(handle) + "," + shown(info, "info") + "," +
                std::to_string(size) + ")");
    state &s = the_state();
    const auto decided =
        scripted_answer<long>("kx_scanner_get_img_info", nullptr, s.hooked.get_img_info, handle, info, size);
    if (decided)
        return *decided;
    if (handle == nullptr || info == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    guard held(s.lock);
    auto *filled = static_cast<unsigned char *>(info);
    std::memcpy(filled, &s.current.parameters, sizeof s.current.parameters);
    for (int i = static_cast<int>(sizeof s.current.parameters); i < size; ++i)
        filled[i] = static_cast<unsigned char>(i - static_cast<int>(sizeof s.current.parameters) + 1);
    return SCANNER_ERR_OK;
}
