// SPDX-License-Identifier: MIT
// Driver, language and logging library in one file, linked into a fuzzer in the place of the three.
#include "platform.h"

#include "commonlog.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "option_ids.h"
#include "oracle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct state {
    platform::script told;
    std::vector<void *> handles;
    std::uintptr_t handles_given = 0;
    kx_event_callback callback = nullptr;
    void (*language_notice)(int, void *) = nullptr;
    void *notice_parameter = nullptr;
    bool is_translated = false;
    bool is_telling_language = false;
};

state the_state;

bool is_open(const void *handle)
{
    return std::find(the_state.handles.begin(), the_state.handles.end(), handle) != the_state.handles.end();
}

int send(void *handle, int event)
{
    kx_access block = {}; // what the event that asks for access carries, and more than enough for any other
    unsigned int length = sizeof(block);
    return the_state.callback != nullptr ? the_state.callback(handle, event, &block, &length, nullptr) : 0;
}

// The surprise for this call, which is over with it. One surprise is counted down at a time.
std::optional<platform::surprise> surprise_for(void *handle)
{
    auto &left = the_state.told.surprises;
    if (left.empty())
        return std::nullopt;
    if (left.front().calls_before > 0) {
        --left.front().calls_before;
        return std::nullopt;
    }
    const platform::surprise due = left.front();
    left.erase(left.begin());
    if (due.event != 0)
        send(handle, due.event);
    return due;
}

void fill(void *data, long room, char filler)
{
    if (data != nullptr && room > 0 && filler != '\0')
        std::memset(data, filler, static_cast<std::size_t>(room));
}

std::intptr_t value_of(const void *option)
{
    return reinterpret_cast<std::intptr_t>(option);
}

bool is_name(const void *option)
{
    return value_of(option) >= 0x10000;
}

std::string_view name_of(const std::string &text)
{
    const std::string_view all = text;
    const auto begin = std::min(all.find('"'), all.size() - 1) + 1;
    return all.substr(begin, all.substr(begin).find('"'));
}

// The number of the option of this name, 0 when there is none.
std::size_t number_of(std::string_view name)
{
    const auto &options = the_state.told.options;
    const auto found = std::find_if(options.begin(), options.end(),
                                    [name](const std::string &text) { return !text.empty() && name_of(text) == name; });
    return found != options.end() ? static_cast<std::size_t>(found - options.begin()) + 1 : 0;
}

std::size_t number_of_key(const void *option)
{
    if (is_name(option))
        return number_of(static_cast<const char *>(option));
    const auto key = value_of(option);
    if (key < SANE_OPTION_ID_BASE)
        return key > 0 && static_cast<std::size_t>(key) <= the_state.told.options.size() ? std::size_t(key) : 0;
    const auto *known = std::find_if(std::begin(well_known_options), std::end(well_known_options),
                                     [key](const well_known_option &candidate) { return candidate.id == key; });
    return known != std::end(well_known_options) ? number_of(known->name) : 0;
}

bool is_driver_log(const void *option)
{
    return is_name(option) && std::strcmp(static_cast<const char *>(option), "drv-log") == 0;
}

int deliver(const std::string &text, void *data, long *length)
{
    const long room = *length;
    *length = static_cast<long>(text.size());
    if (data == nullptr || room < *length)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    std::memcpy(data, text.data(), text.size());
    return SCANNER_ERR_OK;
}

int count_options(long *length, const std::optional<platform::surprise> &odd)
{
    constexpr long enough = 64; // each costs a call: more would only be slow
    *length = odd ? std::min(odd->length, enough) : static_cast<long>(the_state.told.options.size()) + 1;
    return odd ? odd->code : int{SCANNER_ERR_OK};
}

void require_sound_notice(const _opt_enabled &notice)
{
    require(std::memchr(notice.name, '\0', sizeof(notice.name)) != nullptr, "a notice's name is terminated");
    require(notice.enabled == 0 || notice.enabled == 1, "a notice says active or inactive");
    for (int i = 0; i < notice.count; ++i) {
        require(std::memchr(notice.opts[i].name, '\0', sizeof(notice.opts[i].name)) != nullptr, "so is a master's");
        require(notice.opts[i].value != nullptr, "a master in a notice has a value");
    }
}

// A call for a device of which nothing but a code is expected.
int plain_call(void *handle)
{
    require(handle == nullptr || is_open(handle), "the driver is called with its own handles");
    const auto odd = surprise_for(handle);
    if (odd)
        return odd->code;
    return handle != nullptr ? SCANNER_ERR_OK : SCANNER_ERR_INVALID_PARAMETER;
}

} // namespace

namespace platform {

script &reset()
{
    require(the_state.handles.empty(), "every device is closed");
    the_state.told = {};
    the_state.handles_given = 0;
    the_state.is_translated = false;
    return the_state.told;
}

script &the_script()
{
    return the_state.told;
}

std::size_t open_devices()
{
    return the_state.handles.size();
}

std::string text_of(const void *option)
{
    const std::size_t number = number_of_key(option);
    return number != 0 ? the_state.told.options[number - 1] : "";
}

int send_event(int event)
{
    return send(the_state.handles.empty() ? nullptr : the_state.handles.back(), event);
}

void change_language()
{
    if (the_state.is_telling_language)
        return;
    the_state.is_telling_language = true;
    the_state.is_translated = !the_state.is_translated;
    if (the_state.language_notice != nullptr)
        the_state.language_notice(0, the_state.notice_parameter);
    the_state.is_telling_language = false;
}

} // namespace platform

// The backend's half second for device discovery.
extern "C" int nanosleep(const timespec *, timespec *)
{
    return 0;
}

extern "C" {

// ===== the driver =====

int kx_scanner_set_sane_info(const char *, const char *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_initialize(kx_event_callback callback, void *)
{
    the_state.callback = callback;
    const auto odd = surprise_for(nullptr);
    return odd ? odd->code : int{SCANNER_ERR_OK};
}

int kx_scanner_uninitialize()
{
    the_state.callback = nullptr;
    return SCANNER_ERR_OK;
}

unsigned int kx_scanner_get_version()
{
    return 0x01020304;
}

const char *kx_scanner_err_description(int code)
{
    return code % 2 == 0 ? "even" : nullptr;
}

int kx_scanner_enum(void *records, int *count, int)
{
    const int room = records != nullptr ? *count : 0;
    const auto odd = surprise_for(nullptr);
    if (odd) {
        fill(records, room * static_cast<long>(sizeof(_device)), odd->filler);
        *count = static_cast<int>(odd->length);
        return odd->code;
    }
    *count = 2;
    if (room < *count)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    auto *record = static_cast<_device *>(records);
    std::strcpy(record[0].name, "first");
    std::memset(record[1].name, 'n', sizeof(record[1].name));
    return SCANNER_ERR_OK;
}

int kx_scanner_open(void **handle, const char *, int, const char *, const char *, const char *, char *need_auth)
{
    if (const auto odd = surprise_for(nullptr)) {
        *need_auth = odd->filler;
        return odd->code;
    }
    const std::uintptr_t given = ++the_state.handles_given;
    *handle = reinterpret_cast<void *>(given << 32 | given * 2);
    the_state.handles.push_back(*handle);
    return SCANNER_ERR_OK;
}

int kx_scanner_close(void *handle, int)
{
    require(is_open(handle), "a device is closed once");
    auto &handles = the_state.handles;
    handles.erase(std::find(handles.begin(), handles.end(), handle));
    return SCANNER_ERR_OK;
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    require(is_open(handle) || is_driver_log(option), "options are read from open devices");
    const auto odd = surprise_for(handle);
    if (option == nullptr && data == nullptr)
        return count_options(length, odd);
    const std::size_t number = number_of_key(option);
    if (id != nullptr && (number != 0 || !is_name(option)))
        *id = number != 0 ? static_cast<int>(number) : static_cast<int>(value_of(option));
    if (odd) {
        fill(data, *length, number != 0 || is_name(option) ? odd->filler : '\0');
        *length = odd->length;
        return odd->code;
    }
    if (number != 0)
        return deliver(the_state.told.options[number - 1], data, length);
    return is_name(option) ? deliver("item", data, length) : int{SCANNER_ERR_INVALID_PARAMETER};
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    require(is_open(handle) || is_driver_log(option), "options are written to open devices");
    platform::script &told = the_state.told;
    told.written_option = option;
    told.written_length = *length;
    told.written.clear();
    const std::size_t room = data != nullptr && *length > 0 ? static_cast<std::size_t>(*length) : 0;
    const auto *const text = static_cast<const char *>(data);
    told.written.assign(text, room != 0 ? strnlen(text, room) : 0);
    if (const auto odd = surprise_for(handle)) {
        fill(data, static_cast<long>(room), odd->filler);
        return odd->code;
    }
    const std::size_t size = std::min(room, told.rewritten.empty() ? 0 : told.rewritten.size() + 1);
    if (size != 0)
        std::memcpy(data, told.rewritten.c_str(), size);
    if (told.changes_language)
        platform::change_language();
    return told.write_code;
}

int kx_scanner_get_status(void *handle, int)
{
    return plain_call(handle);
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    if (code == KX_CONTROL_OPTION_ENABLED && data != nullptr && length == nullptr)
        require_sound_notice(*static_cast<const _opt_enabled *>(data));
    if (the_state.told.changes_language)
        platform::change_language();
    const int answer = plain_call(handle);
    return answer != SCANNER_ERR_OK ? answer : the_state.told.control_code;
}

int kx_scanner_start(void *handle, void *, int)
{
    return plain_call(handle);
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    require(is_open(handle), "pages are read from open devices");
    const long room = *count;
    *count = 0;
    const auto odd = surprise_for(handle);
    if (!odd)
        return SCANNER_ERR_NO_DATA;
    fill(data, room, odd->filler);
    *count = odd->length;
    return odd->code;
}

int kx_scanner_stop(void *handle)
{
    return plain_call(handle);
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    require(size == 24 || size == 48, "there are two forms of image information");
    fill(info, size, 1);
    return plain_call(handle);
}

// ===== the languages: every third word id has no text, and few words have translations =====

const char *lang_load_string(int word_id, int *status, int)
{
    static const char *const texts[] = {"a text", nullptr, "", "ein Text", nullptr, "15.000000"};
    if (status != nullptr)
        *status = 0;
    const auto id = static_cast<unsigned int>(word_id);
    return texts[id % 3 + (the_state.is_translated ? 3 : 0)];
}

const char *from_default_language(const char *word, int *)
{
    static constexpr const char *words[][2] = {{"单面", "one side, which is a longer text than it was"},
                                               {"双面", "two sides"},
                                               {"匹配原始尺寸", "as the original"},
                                               {"A4", "a4"},
                                               {"A4横向", nullptr}};
    if (the_state.is_translated)
        for (const auto &pair : words)
            if (std::strcmp(word, pair[0]) == 0)
                return pair[1];
    return word;
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    the_state.language_notice = add != 0 ? notify : nullptr;
    the_state.notice_parameter = parameter;
    return 0;
}

char *get_file_path(const char *, char *path)
{
    constexpr char found[] = "/usr/lib/sane/libsane-pelsane.so.1";
    std::memcpy(path, found, sizeof(found));
    return path;
}

// ===== the log: nobody reads it, and it would cost most of the time =====

void *EnableLog(int, const char *, const char *)
{
    return &the_state;
}

void DisableLog(void *) {}
void DebugLog(void *, const char *, ...) {}
void InfoLog(void *, const char *, ...) {}
void WarnLog(void *, const char *, ...) {}
void CriticalLog(void *, const char *, ...) {}

} // extern "C"
