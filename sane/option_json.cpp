// SPDX-License-Identifier: MIT
// A driver option as text: `"name" : { description }`, fetched into a buffer that a caller may lend for many fetches,
// and split into name and description. Texts in the description may be word ids of the language library. Whatever
// length the driver reports, nothing beyond the buffer that it was given is read; a negative one is a failure. Tested
// by tests/sane/option_json_test.cpp.
#include "json.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace {

using text_buffer = local_utility::memory_ptr<char>;

constexpr long first_size = 1024;

// Room for a text of `length`, a terminator, and rounding to a multiple of 4.
text_buffer new_buffer(long length)
{
    return local_utility::acquire<char>((static_cast<std::size_t>(length) + 7) & ~std::size_t{3},
                                        "kx_sane_middleware::get_option_json");
}

// The buffer of one fetch, its size as the caller gets to know it, and the text's length (negative: none).
struct fetch {
    text_buffer buffer;
    long size;
    long length = -1;

    void run(void *scanner, const void *option, int *id_out)
    {
        const opened_device device(scanner);
        if (buffer == nullptr)
            buffer = new_buffer(size);
        if (buffer == nullptr)
            return;
        long needed = size;
        int code = kx_scanner_get_parameter(scanner, option, buffer.get(), &needed, id_out);
        if (code == SCANNER_ERR_INSUFFICIENT_MEMORY && !device.was_closed() && enlarge(needed))
            code = kx_scanner_get_parameter(scanner, option, buffer.get(), &needed, id_out);
        if (code == SCANNER_ERR_OK)
            length = std::min(needed, size);
    }

    bool enlarge(long needed)
    {
        if (needed < 0)
            return false;
        buffer.reset();
        size = 0;
        buffer = new_buffer(needed);
        if (buffer == nullptr)
            return false;
        size = needed + 2;
        return true;
    }
};

// Other than in conditions, lines may end here.
const char *behind_space(const char *text)
{
    while (local_utility::is_space(*text) || *text == '\r' || *text == '\n')
        ++text;
    return text;
}

} // namespace

std::string kx_sane_middleware::get_option_json(void *scanner, const void *option, std::string *name_out, int *id_out,
                                                char **buf, long *size)
{
    fetch text{text_buffer(buf != nullptr ? std::exchange(*buf, nullptr) : nullptr),
               size != nullptr && *size > 0 ? *size : first_size};
    text.run(scanner, option, id_out);

    std::string description;
    if (text.length >= 0) {
        text.buffer.get()[text.length] = '\0';
        description = split_name(text.buffer.get(), name_out);
    }
    if (size != nullptr)
        *size = text.size;
    if (buf != nullptr)
        *buf = text.buffer.release();
    return description;
}

// No escape sequences are honoured inside the name.
const char *kx_sane_middleware::split_name(const char *text, std::string *name_out)
{
    text = behind_space(text);
    std::string name;
    if (*text == '"') {
        const char *const end = strchrnul(text + 1, '"');
        name.assign(text + 1, end);
        text = end;
        if (*text == '"') {
            text = behind_space(text + 1);
            if (*text == ':')
                text = behind_space(text + 1);
        }
    }
    if (name_out != nullptr)
        *name_out = std::move(name);
    return text;
}

long kx_sane_middleware::option_count(void *scanner)
{
    long count = 0;
    kx_scanner_get_parameter(scanner, nullptr, nullptr, &count, nullptr);
    return count;
}

int kx_sane_middleware::described_options(void *scanner)
{
    return static_cast<int>(std::clamp(option_count(scanner), 0L, option_key::end_of_numbers));
}

std::string kx_sane_middleware::get_string_in_json(json *jsn, const char *key)
{
    int word_id = -1;
    if (jsn->get_value(key, word_id) && word_id != -1) {
        int status = 0;
        return local_utility::text_or_empty(lang_load_string(word_id, &status, 0));
    }
    std::string text;
    jsn->get_value(key, text);
    return text;
}
