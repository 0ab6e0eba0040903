// SPDX-License-Identifier: MIT
// The inner loops: each row of the image goes through the tone table into its place, and what the image does not cover
// is filled with white; every byte is written once. Tested by driver_scanning_test, driver_speed_test.
#include "page_packing.h"

#include "binarization.h"
#include "page_data.h"
#include "page_settings.h"
#include "pix.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <utility>

namespace virtual_scanner {

namespace {

using tone_table = std::array<unsigned char, 256>;

// Tones up to the knee stay; from there on they rise to white at the limit.
double lightened(double value, int limit)
{
    constexpr double knee_width = 32;
    const double knee = limit - knee_width;
    if (limit >= 255 || value <= knee)
        return value;
    return std::min(255.0, knee + (value - knee) * (255 - knee) / knee_width);
}

tone_table tone_of(const page_settings &settings)
{
    tone_table tone{};
    const double slope =
        settings.contrast >= 0 ? 100.0 / std::max(1, 100 - settings.contrast) : (100.0 + settings.contrast) / 100.0;
    for (std::size_t i = 0; i < tone.size(); ++i) {
        const double seen = lightened(static_cast<double>(i), settings.light_limit);
        const double middle = 255.0 * std::pow(seen / 255.0, 1.0 / settings.gamma);
        const double value = (middle - 127.5) * slope + 127.5 + settings.brightness * 1.275;
        tone[i] = static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
    }
    return tone;
}

// Packs `count` points of a row from `first` on into as many whole bytes as they need.
using row_packer = void (*)(const l_uint32 *row, int first, int count, const tone_table &tone, int threshold,
                            unsigned char *out);

void pack_color(const l_uint32 *row, int first, int count, const tone_table &tone, int, unsigned char *out)
{
    for (const l_uint32 *point = row + first; point != row + first + count; ++point, out += 3) {
        out[0] = tone[(*point >> L_RED_SHIFT) & 0xff];
        out[1] = tone[(*point >> L_GREEN_SHIFT) & 0xff];
        out[2] = tone[(*point >> L_BLUE_SHIFT) & 0xff];
    }
}

void pack_gray(const l_uint32 *row, int first, int count, const tone_table &tone, int, unsigned char *out)
{
    for (int x = 0; x < count; ++x)
        out[x] = tone[GET_DATA_BYTE(row, first + x)];
}

template <typename IsBlack> void pack_bits(int count, unsigned char *out, IsBlack is_black)
{
    for (int x = 0; x < count; x += 8) {
        unsigned bits = 0;
        for (int bit = 0; bit < std::min(8, count - x); ++bit)
            bits |= is_black(x + bit) ? 0x80U >> bit : 0U;
        *out++ = static_cast<unsigned char>(bits);
    }
}

void pack_lineart(const l_uint32 *row, int first, int count, const tone_table &tone, int threshold, unsigned char *out)
{
    pack_bits(count, out, [&](int x) { return tone[GET_DATA_BYTE(row, first + x)] < threshold; });
}

// Of an image that is black and white already.
void pack_binary(const l_uint32 *row, int first, int count, const tone_table &, int, unsigned char *out)
{
    pack_bits(count, out, [&](int x) { return GET_DATA_BIT(row, first + x) != 0; });
}

row_packer packer_of(int image_depth, color_mode mode)
{
    if (image_depth == 1)
        return pack_binary;
    if (mode == color_mode::color)
        return pack_color;
    return mode == color_mode::gray ? pack_gray : pack_lineart;
}

// The image's negative; the spare bits at the end of a row stay white.
void invert(byte_block &bytes, const image_format &format)
{
    const auto row_size = static_cast<std::size_t>(format.bytes_per_line);
    const int spare = format.depth == 1 ? format.bytes_per_line * 8 - format.pixels_per_line : 0;
    for (std::size_t start = 0; start < bytes.size(); start += row_size) {
        for (std::size_t i = start; i < start + row_size; ++i)
            bytes[i] = static_cast<unsigned char>(~bytes[i]);
        bytes[start + row_size - 1] &= static_cast<unsigned char>(0xff << spare);
    }
}

std::size_t bytes_of(int points, const image_format &format)
{
    if (format.depth == 1)
        return static_cast<std::size_t>((points + 7) / 8);
    return static_cast<std::size_t>(points) * (format.mode == color_mode::color ? 3 : 1);
}

// Tones first: what decides between black and white looks at the greys as they are to be.
pix_ptr to_black_and_white(Pix *gray, const page_settings &settings)
{
    const tone_table tone = tone_of(settings);
    const pix_ptr toned = own(pixCopy(nullptr, gray));
    for (int y = 0; y < pixGetHeight(toned.get()); ++y) {
        l_uint32 *row = pixGetData(toned.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(toned.get());
        for (int x = 0; x < pixGetWidth(toned.get()); ++x)
            SET_DATA_BYTE(row, x, tone[GET_DATA_BYTE(row, x)]);
    }
    return binarize(toned.get(), settings.black_white, settings.dpi);
}

byte_block pack_rows(Pix *image, const page_window &window, const image_format &format, const page_settings &settings)
{
    const tone_table tone = tone_of(settings);
    const row_packer pack_row = packer_of(pixGetDepth(image), settings.mode);
    const int white = settings.mode == color_mode::lineart ? 0x00 : 0xff;
    const int columns = std::min(format.pixels_per_line, window.paper_width - window.left);
    const int rows = std::min(format.lines, window.paper_height - window.top);
    const int width = std::max(0, std::min(columns, pixGetWidth(image) - window.left));
    const std::size_t covered = bytes_of(width, format);
    const auto row_size = static_cast<std::size_t>(format.bytes_per_line);
    byte_block bytes(row_size * static_cast<std::size_t>(format.lines));
    for (int y = 0; y < format.lines; ++y) {
        unsigned char *out = &bytes[static_cast<std::size_t>(y) * row_size];
        const bool is_on_paper = width > 0 && y < rows;
        const int source = std::min(window.top + y, pixGetHeight(image) - 1);
        if (is_on_paper)
            pack_row(pixGetData(image) + static_cast<std::ptrdiff_t>(source) * pixGetWpl(image), window.left, width,
                     tone, settings.black_white.threshold, out);
        const std::size_t packed = is_on_paper ? covered : 0;
        std::memset(out + packed, white, row_size - packed);
    }
    return bytes;
}

} // namespace

// Grey before scaling: a quarter of the work.
pix_ptr in_mode(pix_ptr image, const page_settings &settings)
{
    if (settings.mode == color_mode::color)
        return pixGetDepth(image.get()) == 32 ? std::move(image) : own(pixConvertTo32(image.get()));
    if (pixGetDepth(image.get()) == 8)
        return image;
    switch (settings.channel) {
    case color_channel::red:
        return own(pixConvertRGBToGray(image.get(), 1.0F, 0.0F, 0.0F));
    case color_channel::green:
        return own(pixConvertRGBToGray(image.get(), 0.0F, 1.0F, 0.0F));
    case color_channel::blue:
        return own(pixConvertRGBToGray(image.get(), 0.0F, 0.0F, 1.0F));
    case color_channel::luminance:
        break;
    }
    return own(pixConvertRGBToGray(image.get(), 0.299F, 0.587F, 0.114F));
}

byte_block pack(Pix *image, const page_window &window, const image_format &format, const page_settings &settings)
{
    pix_ptr bits;
    if (settings.mode == color_mode::lineart && !is_plain(settings.black_white))
        bits = to_black_and_white(image, settings);
    byte_block bytes = pack_rows(bits ? bits.get() : image, window, format, settings);
    if (settings.invert)
        invert(bytes, format);
    return bytes;
}

} // namespace virtual_scanner
