// SPDX-License-Identifier: MIT
// The loader finds these functions before those of the libraries that the backend names.
#include "small_platform.h"

#include "commonlog.h"
#include "kx_scanner.h"
#include "langkit.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace small_platform {
namespace {

constexpr char option_text[] = R"("flag":{"type":"bool","title":"Flag","size":4,"cur":true,"default":false})";
constexpr long options = 2; // option 0 counted
constexpr std::uintptr_t first_handle = 0x100000000;

book the_only_book;
void (*language_notice)(int, void *) = nullptr;

book &called()
{
    the_only_book.other_calls += the_only_book.is_in_handler ? 1 : 0;
    return the_only_book;
}

device *device_of(const void *scanner)
{
    const auto nth = reinterpret_cast<std::uintptr_t>(scanner) / first_handle;
    return nth != 0 && nth <= the_only_book.opened ? &the_only_book.devices[nth - 1] : nullptr;
}

} // namespace

book &the_book()
{
    return the_only_book;
}

void *handle_of(std::size_t nth)
{
    const std::uintptr_t scanner = (nth + 1) * first_handle;
    return reinterpret_cast<void *>(scanner ^ (scanner >> 32));
}

void change_language()
{
    if (language_notice != nullptr)
        language_notice(1, nullptr);
}

} // namespace small_platform

using namespace small_platform;

extern "C" {

int kx_scanner_set_sane_info(const char *, const char *)
{
    called();
    return SCANNER_ERR_OK;
}

int kx_scanner_initialize(kx_event_callback, void *)
{
    ++called().started;
    return SCANNER_ERR_OK;
}

int kx_scanner_uninitialize(void)
{
    ++called().ended;
    return SCANNER_ERR_OK;
}

unsigned int kx_scanner_get_version(void)
{
    called();
    return 0;
}

const char *kx_scanner_err_description(int)
{
    called();
    return "";
}

int kx_scanner_enum(void *, int *count, int)
{
    called();
    *count = 0;
    return SCANNER_ERR_OK;
}

int kx_scanner_open(void **handle, const char *, int, const char *, const char *, const char *, char *)
{
    book &b = called();
    *handle = reinterpret_cast<void *>((b.opened + 1) * first_handle);
    b.devices[b.opened++].is_open = true;
    return SCANNER_ERR_OK;
}

int kx_scanner_close(void *handle, int)
{
    if (device *const closed = device_of(handle))
        closed->is_open = false;
    ++called().closed;
    return SCANNER_ERR_OK;
}

int kx_scanner_get_parameter(void *, const void *option, void *data, long *length, int *id)
{
    called();
    const auto number = reinterpret_cast<std::uintptr_t>(option);
    if (id != nullptr)
        *id = static_cast<int>(number);
    const long room = *length;
    *length = number == 0 ? options : static_cast<long>(sizeof option_text - 1);
    if (number == 0)
        return SCANNER_ERR_OK;
    if (number != 1)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (data == nullptr || room < *length)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    std::memcpy(data, option_text, sizeof option_text - 1);
    return SCANNER_ERR_OK;
}

int kx_scanner_set_parameter(void *, const void *, void *, long *)
{
    called();
    return SCANNER_ERR_CONFIGURATION_CHANGED;
}

int kx_scanner_get_status(void *, int)
{
    called();
    return SCANNER_ERR_OK;
}

int kx_scanner_control(void *, unsigned long, void *, unsigned int *)
{
    called();
    return SCANNER_ERR_CONFIGURATION_CHANGED;
}

int kx_scanner_start(void *, void *, int)
{
    called();
    return SCANNER_ERR_OK;
}

int kx_scanner_read_img_data(void *, void *, long *count)
{
    called();
    *count = 0;
    return SCANNER_ERR_NO_DATA;
}

int kx_scanner_stop(void *handle)
{
    device *const stopped = device_of(handle);
    if (stopped != nullptr && stopped->is_open)
        ++stopped->stops;
    else
        ++the_only_book.wrong_stops;
    return SCANNER_ERR_OK;
}

int kx_scanner_get_img_info(void *, void *, int)
{
    called();
    return SCANNER_ERR_OK;
}

const char *lang_load_string(int, int *, int)
{
    return "";
}

const char *from_default_language(const char *word, int *)
{
    return word;
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *)
{
    called();
    language_notice = add != 0 ? notify : nullptr;
    return 0;
}

char *get_file_path(const char *, char *)
{
    return nullptr;
}

int nanosleep(const timespec *, timespec *)
{
    return 0;
}

void *EnableLog(int, const char *, const char *)
{
    return &the_only_book;
}

void DisableLog(void *) {}
void DebugLog(void *, const char *, ...) {}
void InfoLog(void *, const char *, ...) {}
void WarnLog(void *, const char *, ...) {}
void CriticalLog(void *, const char *, ...) {}

// The C library's allocation functions, counted while a signal handler runs. A sanitizer has its own.
#if !defined(PELSANE_SANITIZED)
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void __libc_free(void *block);

static void count_allocation()
{
    the_only_book.allocations += the_only_book.is_in_handler ? 1 : 0;
}

void *malloc(std::size_t size)
{
    count_allocation();
    return __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size)
{
    count_allocation();
    return __libc_calloc(count, size);
}

void *realloc(void *block, std::size_t size)
{
    count_allocation();
    return __libc_realloc(block, size);
}

void free(void *block)
{
    count_allocation();
    __libc_free(block);
}
#endif

} // extern "C"
