// SPDX-License-Identifier: MIT
// The loader finds this executable's functions before those of the scripted libraries; each does what is planned for
// the call and otherwise hands it on to the next function of its name.
#include "platform.h"

#include "commonlog.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "memory.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <optional>
#include <string>
#include <vector>

namespace faulty_driver {
namespace {

struct fault {
    std::size_t nth = 0;
    std::optional<int> code;
    std::optional<long> length;
};

fault planned;
std::vector<call> made;
long opened = 0;
void (*language_notice)(int, void *) = nullptr;

template <typename Function> Function *next(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

std::string text_of(const void *option)
{
    const auto key = reinterpret_cast<std::intptr_t>(option);
    return key >= 0x10000 ? static_cast<const char *>(option) : std::to_string(key);
}

template <typename Length, typename Work>
int answer(const char *function, const std::string &option, Length *length, Work work)
{
    const bool has_length = length != nullptr;
    const long room = has_length ? static_cast<long>(*length) : 0;
    const bool is_due = made.size() == planned.nth;
    made.push_back({function, option, has_length, room, room, 0});
    if (is_due && planned.code)
        return made.back().code = *planned.code;
    made.back().code = work();
    if (has_length) {
        made.back().length = static_cast<long>(*length);
        if (is_due && planned.length)
            *length = static_cast<Length>(*planned.length);
    }
    return made.back().code;
}

template <typename Work> int answer(const char *function, Work work)
{
    int *const none = nullptr;
    return answer(function, {}, none, work);
}

} // namespace

void reset()
{
    planned = fault();
    made.clear();
    opened = 0;
}

const std::vector<call> &calls()
{
    return made;
}

void replace_code(std::size_t nth, int code)
{
    planned = {nth, code, std::nullopt};
}

void replace_length(std::size_t nth, long length)
{
    planned = {nth, std::nullopt, length};
}

long open_devices()
{
    return opened;
}

void change_language()
{
    if (language_notice != nullptr)
        language_notice(1, nullptr);
}

} // namespace faulty_driver

using namespace faulty_driver;
using faulty_memory::outside;

extern "C" {

// ===== the driver =====

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    const outside backend;
    return answer("set_sane_info",
                  [&] { return next(kx_scanner_set_sane_info, "kx_scanner_set_sane_info")(name, version); });
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    const outside backend;
    return answer("initialize",
                  [&] { return next(kx_scanner_initialize, "kx_scanner_initialize")(callback, parameter); });
}

int kx_scanner_uninitialize(void)
{
    const outside backend;
    return answer("uninitialize", [&] { return next(kx_scanner_uninitialize, "kx_scanner_uninitialize")(); });
}

int kx_scanner_enum(void *records, int *count, int local_only)
{
    const outside backend;
    return answer("enum", {}, count,
                  [&] { return next(kx_scanner_enum, "kx_scanner_enum")(records, count, local_only); });
}

int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth)
{
    const outside backend;
    const auto open = next(kx_scanner_open, "kx_scanner_open");
    return answer("open", [&] {
        const int code = open(handle, name, flag, user, password, extra, need_auth);
        opened += code == 0 ? 1 : 0;
        return code;
    });
}

int kx_scanner_close(void *handle, int force)
{
    const outside backend;
    --opened;
    return answer("close", [&] { return next(kx_scanner_close, "kx_scanner_close")(handle, force); });
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    const outside backend;
    const auto get = next(kx_scanner_get_parameter, "kx_scanner_get_parameter");
    return answer("get_parameter", text_of(option), length, [&] { return get(handle, option, data, length, id); });
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    const outside backend;
    const auto set = next(kx_scanner_set_parameter, "kx_scanner_set_parameter");
    return answer("set_parameter", text_of(option), length, [&] { return set(handle, option, data, length); });
}

int kx_scanner_get_status(void *handle, int which)
{
    const outside backend;
    return answer("get_status", [&] { return next(kx_scanner_get_status, "kx_scanner_get_status")(handle, which); });
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    const outside backend;
    const auto control = next(kx_scanner_control, "kx_scanner_control");
    return answer("control", {}, length, [&] { return control(handle, code, data, length); });
}

int kx_scanner_start(void *handle, void *event, int timeout)
{
    const outside backend;
    return answer("start", [&] { return next(kx_scanner_start, "kx_scanner_start")(handle, event, timeout); });
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    const outside backend;
    return answer("read_img_data", {}, count,
                  [&] { return next(kx_scanner_read_img_data, "kx_scanner_read_img_data")(handle, data, count); });
}

int kx_scanner_stop(void *handle)
{
    const outside backend;
    return answer("stop", [&] { return next(kx_scanner_stop, "kx_scanner_stop")(handle); });
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    const outside backend;
    return answer("get_img_info",
                  [&] { return next(kx_scanner_get_img_info, "kx_scanner_get_img_info")(handle, info, size); });
}

// ===== the language library =====

const char *lang_load_string(int word_id, int *status, int reserved)
{
    const outside backend;
    return next(lang_load_string, "lang_load_string")(word_id, status, reserved);
}

const char *from_default_language(const char *word, int *status)
{
    const outside backend;
    return next(from_default_language, "from_default_language")(word, status);
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    const outside backend;
    language_notice = add != 0 ? notify : nullptr;
    return next(register_language_changed_notify, "register_language_changed_notify")(notify, add, parameter);
}

char *get_file_path(const char *module, char *path)
{
    const outside backend;
    return next(get_file_path, "get_file_path")(module, path);
}

// ===== the logging library: a line is put together and dropped =====

static void write_line(const char *format, std::va_list arguments)
{
    const outside backend;
    char line[4096];
    std::vsnprintf(line, sizeof line, format, arguments);
}

void DebugLog(void *, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}

void InfoLog(void *, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}

void WarnLog(void *, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}

void CriticalLog(void *, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line(format, arguments);
    va_end(arguments);
}

// ===== the pause of init =====

int nanosleep(const timespec *, timespec *)
{
    return 0;
}

} // extern "C"
