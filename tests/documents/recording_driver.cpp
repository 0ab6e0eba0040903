// SPDX-License-Identifier: MIT
// The driver library with a notebook: found first in the loader's path, as a maker's own would be, it hands each call
// on to the virtual scanner and writes down, in the file that PELSANE_CALLS names, what passed by:
//
//     kx_scanner_set_parameter(51, "Concave") = 0
//
// Handles, sizes and times are left out, since they differ from run to run.
#include <ios>
#pragma GCC visibility push(default)
#include "kx_scanner.h"
#pragma GCC visibility pop

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace {

struct library_closer {
    void operator()(void *handle) const { dlclose(handle); }
};

// Goes with this one, so that the next application in the process finds this one first again.
void *library()
{
    static const std::unique_ptr<void, library_closer> loaded(dlopen(PELSANE_RECORDED_DRIVER, RTLD_NOW | RTLD_LOCAL));
    if (loaded == nullptr)
        std::abort();
    return loaded.get();
}

template <typename Function> Function *real(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(library(), name));
}

void write_down(const std::string &call, int answer)
{
    if (const char *file = std::getenv("PELSANE_CALLS"))
        std::ofstream(file, std::ios::app) << call << " = " << answer << '\n';
}

std::string key_text(const void *option)
{
    const auto number = reinterpret_cast<std::uintptr_t>(option);
    constexpr std::uintptr_t first_address = 0x10000;
    return number < first_address ? std::to_string(number) : static_cast<const char *>(option);
}

// Values of the journeys are texts.
std::string quoted(const void *text)
{
    return '"' + std::string(static_cast<const char *>(text)) + '"';
}

std::string notice_text(const _opt_enabled &notice)
{
    std::ostringstream text;
    text << notice.name << (notice.enabled != 0 ? " on" : " off");
    for (int i = 0; i < notice.count; ++i)
        text << ", " << notice.opts[i].name;
    return text.str();
}

} // namespace

// What a call of the name hands on.
#define REAL(name) real(name, #name)

extern "C" {

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    const int answer = REAL(kx_scanner_set_sane_info)(name, version);
    write_down("kx_scanner_set_sane_info(" + quoted(name) + ", " + quoted(version) + ")", answer);
    return answer;
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    const int answer = REAL(kx_scanner_initialize)(callback, parameter);
    write_down("kx_scanner_initialize()", answer);
    return answer;
}

int kx_scanner_uninitialize(void)
{
    const int answer = REAL(kx_scanner_uninitialize)();
    write_down("kx_scanner_uninitialize()", answer);
    return answer;
}

unsigned int kx_scanner_get_version(void)
{
    return REAL(kx_scanner_get_version)();
}

const char *kx_scanner_err_description(int code)
{
    return REAL(kx_scanner_err_description)(code);
}

int kx_scanner_enum(void *records, int *count, int local_only)
{
    const int answer = REAL(kx_scanner_enum)(records, count, local_only);
    write_down("kx_scanner_enum()", answer);
    return answer;
}

int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth)
{
    const int answer = REAL(kx_scanner_open)(handle, name, flag, user, password, extra, need_auth);
    write_down("kx_scanner_open(" + quoted(name) + ")", answer);
    return answer;
}

int kx_scanner_close(void *handle, int force)
{
    const int answer = REAL(kx_scanner_close)(handle, force);
    write_down("kx_scanner_close()", answer);
    return answer;
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    const int answer = REAL(kx_scanner_get_parameter)(handle, option, data, length, id);
    write_down("kx_scanner_get_parameter(" + key_text(option) + ")", answer);
    return answer;
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    const std::string call = "kx_scanner_set_parameter(" + key_text(option) + ", " + quoted(data) + ")";
    const int answer = REAL(kx_scanner_set_parameter)(handle, option, data, length);
    write_down(call, answer);
    return answer;
}

int kx_scanner_get_status(void *handle, int which)
{
    const int answer = REAL(kx_scanner_get_status)(handle, which);
    write_down("kx_scanner_get_status()", answer);
    return answer;
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    std::string call = "kx_scanner_control(" + std::to_string(code) + ")";
    if (code == KX_CONTROL_OPTION_ENABLED)
        call = "kx_scanner_control(0x10000001, " + notice_text(*static_cast<const _opt_enabled *>(data)) + ")";
    const int answer = REAL(kx_scanner_control)(handle, code, data, length);
    write_down(call, answer);
    return answer;
}

int kx_scanner_start(void *handle, void *event, int timeout)
{
    const int answer = REAL(kx_scanner_start)(handle, event, timeout);
    write_down("kx_scanner_start()", answer);
    return answer;
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    const int answer = REAL(kx_scanner_read_img_data)(handle, data, count);
    write_down("kx_scanner_read_img_data()", answer);
    return answer;
}

int kx_scanner_stop(void *handle)
{
    return REAL(kx_scanner_stop)(handle);
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    const int answer = REAL(kx_scanner_get_img_info)(handle, info, size);
    write_down("kx_scanner_get_img_info()", answer);
    return answer;
}

} // extern "C"
