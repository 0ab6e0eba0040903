// SPDX-License-Identifier: MIT
// Standard output, and what has to be done to texts before they go there: they come from a device and are not trusted.
// Tested by tests/tools/output_test.cpp.
#include "output.h"

#include "failure.h"

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cuchar>
#include <cwchar>
#include <fcntl.h>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace inspect {

namespace {

struct character {
    std::size_t bytes; // in the text
    int columns;       // negative for what cannot be printed
};

// The first character of a text that is not empty, in the UTF-8 that main has chosen.
character first_character(std::string_view text)
{
    std::mbstate_t state{};
    char32_t wide = 0;
    const std::size_t bytes = std::mbrtoc32(&wide, text.data(), text.size(), &state);
    if (bytes == 0 || bytes > text.size())
        return {1, -1};
    return {bytes, ::wcwidth(static_cast<wchar_t>(wide))};
}

bool is_control(char byte)
{
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const character next = first_character(text);
        if (next.columns >= 0)
            result += text.substr(0, next.bytes);
        else
            result += is_control(text.front()) ? ' ' : '?';
        text.remove_prefix(next.bytes);
    }
    return result;
}

std::size_t columns_of(std::string_view text)
{
    std::size_t columns = 0;
    while (!text.empty()) {
        const character next = first_character(text);
        columns += next.columns >= 0 ? static_cast<std::size_t>(next.columns) : 1;
        text.remove_prefix(next.bytes);
    }
    return columns;
}

void print(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void print_message(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
}

std::string json_text(const json_value &value, int indentation)
{
    std::string result;
    const std::string text = value.dump(indentation, ' ', false, json_value::error_handler_t::replace);
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool is_c1 = text[at] == '\xc2' && static_cast<unsigned char>(text[at + 1]) < 0xa0;
        if (is_c1)
            ++at;
        if (is_c1 || text[at] == '\x7f')
            result += fmt::format("\\u{:04x}", static_cast<unsigned char>(text[at]));
        else
            result += text[at];
    }
    return result;
}

void print_json(const json_value &value)
{
    print(json_text(value, 2) + "\n");
}

void print_json_line(const json_value &value)
{
    print(json_text(value) + "\n");
    std::fflush(stdout);
}

void finish_output()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
        throw failure(exit_status::output_failed,
                      std::string("standard output: ") + std::generic_category().message(errno));
}

// The lowest number that is free is the next to be given.
void occupy_closed_streams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) == -1)
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

} // namespace inspect
