// SPDX-License-Identifier: MIT
// A driver without a scanner: option texts and device records lie ready, a page of image data is walked through again
// and again, and settings are accepted and forgotten.
#include "bench_platform.h"
#include "kx_scanner.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t page_bytes = 2480 * 3508 * 3; // A4, 300 dpi, colour
constexpr std::intptr_t first_name_address = 0x10000;

struct session {
    std::size_t position = 0; // in the page
};

std::vector<std::string_view> options; // the text of number n stands at n - 1
std::vector<_device> records;

const char *page()
{
    static const std::vector<char> data(page_bytes, '\x7f');
    return data.data();
}

bool is_named(std::string_view text, const char *name)
{
    const std::size_t length = std::strlen(name);
    return text.substr(1, length) == name && text.size() > length + 1 && text[length + 1] == '"';
}

// The number of the option that a key selects, 0 when there is none.
int number_of(const void *option)
{
    const auto key = reinterpret_cast<std::intptr_t>(option);
    if (key < first_name_address)
        return key <= static_cast<std::intptr_t>(options.size()) ? static_cast<int>(key) : 0;
    const auto *name = static_cast<const char *>(option);
    const auto found =
        std::find_if(options.begin(), options.end(), [name](std::string_view text) { return is_named(text, name); });
    return found != options.end() ? static_cast<int>(found - options.begin()) + 1 : 0;
}

template <std::size_t size> void put(char (&field)[size], const char *format, int number)
{
    std::snprintf(field, size, format, number);
}

} // namespace

void bench_describe_options(const char *const *texts, int count)
{
    options.assign(texts, texts + count);
}

void bench_list_devices(int count)
{
    records.assign(static_cast<std::size_t>(count), _device{});
    int number = 0;
    for (_device &record : records) {
        put(record.name, "bench:scanner-%d", ++number);
        put(record.vendor, "Vendor", number);
        put(record.model, "Sheet-fed duplex scanner %d", number);
        put(record.type, "sheetfed scanner", number);
    }
}

const void *bench_records()
{
    return records.data();
}

int kx_scanner_set_sane_info(const char *, const char *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_initialize(kx_event_callback, void *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_uninitialize()
{
    return SCANNER_ERR_OK;
}

unsigned int kx_scanner_get_version()
{
    return 0x01000000;
}

const char *kx_scanner_err_description(int)
{
    return "";
}

int kx_scanner_enum(void *room, int *count, int)
{
    const int there = static_cast<int>(records.size());
    const bool fits = *count >= there && room != nullptr;
    *count = there;
    if (!fits && there > 0)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    std::copy(records.begin(), records.end(), static_cast<_device *>(room));
    return SCANNER_ERR_OK;
}

int kx_scanner_open(void **handle, const char *, int, const char *, const char *, const char *, char *)
{
    *handle = std::make_unique<session>().release();
    return SCANNER_ERR_OK;
}

int kx_scanner_close(void *handle, int)
{
    const std::unique_ptr<session> closed(static_cast<session *>(handle));
    return SCANNER_ERR_OK;
}

int kx_scanner_get_parameter(void *, const void *option, void *data, long *length, int *id)
{
    if (option == nullptr) {
        *length = static_cast<long>(options.size()) + 1;
        return SCANNER_ERR_OK;
    }
    const int number = number_of(option);
    if (number == 0)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (id != nullptr)
        *id = number;
    const std::string_view text = options[static_cast<std::size_t>(number) - 1];
    const long room = *length;
    *length = static_cast<long>(text.size());
    if (data == nullptr || room < *length)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    text.copy(static_cast<char *>(data), text.size());
    return SCANNER_ERR_OK;
}

int kx_scanner_set_parameter(void *, const void *, void *, long *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_get_status(void *, int)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_control(void *, unsigned long, void *, unsigned int *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_start(void *handle, void *, int)
{
    static_cast<session *>(handle)->position = 0;
    return SCANNER_ERR_OK;
}

// The page begins again at its end, so that a measurement need not.
int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    const auto wanted = static_cast<std::size_t>(*count);
    std::size_t &position = static_cast<session *>(handle)->position;
    if (position + wanted > page_bytes)
        position = 0;
    std::memcpy(data, page() + position, wanted);
    position += wanted;
    return SCANNER_ERR_OK;
}

int kx_scanner_stop(void *)
{
    return SCANNER_ERR_OK;
}

int kx_scanner_get_img_info(void *, void *info, int size)
{
    std::memset(info, 0, static_cast<std::size_t>(size));
    return SCANNER_ERR_OK;
}
