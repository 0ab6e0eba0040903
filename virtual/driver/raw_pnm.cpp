// SPDX-License-Identifier: MIT
// A header of words and numbers, then rows of bytes. Leptonica reads such files value by value, which takes more than a
// second for a page of 600 dpi; here they are read by rows. Tested by driver_feed_test, driver_speed_test.
#include "raw_pnm.h"

#include "pix.h"

#include <cctype>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace virtual_scanner {

namespace {

struct file_closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

// A number of the header, with the white space and the comments before it and one character after it; 0 when there is
// none or it is too large to be of use.
int read_number(std::FILE *file)
{
    constexpr int most = 100000;
    int c = std::fgetc(file);
    for (bool is_comment = false; is_comment || std::isspace(c) != 0 || c == '#'; c = std::fgetc(file)) {
        if (c == EOF)
            return 0;
        is_comment = c == '#' || (is_comment && c != '\n');
    }
    int number = 0;
    for (; std::isdigit(c) != 0 && number <= most; c = std::fgetc(file))
        number = number * 10 + (c - '0');
    return number <= most && std::isspace(c) != 0 ? number : 0;
}

void unpack_colors(const std::vector<unsigned char> &bytes, l_uint32 *row)
{
    for (std::size_t i = 0; i + 2 < bytes.size(); i += 3)
        *row++ = static_cast<l_uint32>(bytes[i]) << L_RED_SHIFT | static_cast<l_uint32>(bytes[i + 1]) << L_GREEN_SHIFT |
                 static_cast<l_uint32>(bytes[i + 2]) << L_BLUE_SHIFT;
}

void unpack_grays(const std::vector<unsigned char> &bytes, l_uint32 *row)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
        SET_DATA_BYTE(row, i, bytes[i]);
}

} // namespace

pix_ptr read_raw_pnm(const std::string &path)
{
    const std::unique_ptr<std::FILE, file_closer> file(std::fopen(path.c_str(), "rbe"));
    if (file == nullptr || std::fgetc(file.get()) != 'P')
        return nullptr;
    const int kind = std::fgetc(file.get());
    const int width = read_number(file.get());
    const int height = read_number(file.get());
    if ((kind != '5' && kind != '6') || width == 0 || height == 0 || read_number(file.get()) != 255)
        return nullptr;
    const bool is_color = kind == '6';
    pix_ptr image(pixCreateNoInit(width, height, is_color ? 32 : 8));
    std::vector<unsigned char> bytes(static_cast<std::size_t>(width) * (is_color ? 3 : 1));
    for (int y = 0; image != nullptr && y < height; ++y) {
        if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
            return nullptr;
        l_uint32 *row = pixGetData(image.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(image.get());
        is_color ? unpack_colors(bytes, row) : unpack_grays(bytes, row);
    }
    return image;
}

} // namespace virtual_scanner
