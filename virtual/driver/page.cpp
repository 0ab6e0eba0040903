// SPDX-License-Identifier: MIT
// A sheet's side to the bytes of a page: the sheet's image is scaled to the paper's points, the area is cut out of it
// (white beyond the paper), and tone and mode are applied while rows are packed into the delivery buffer.
// Tested by driver_scanning_test.
#include "page.h"

#include "builtin_document.h"
#include "image_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace virtual_scanner {

namespace {

using tone_table = std::array<unsigned char, 256>;

// A file that does not tell its resolution, when the sheet's own size is asked for.
constexpr int assumed_dpi = 300;

tone_table tone_of(const page_settings &settings)
{
    tone_table tone{};
    const double slope =
        settings.contrast >= 0 ? 100.0 / std::max(1, 100 - settings.contrast) : (100.0 + settings.contrast) / 100.0;
    for (std::size_t i = 0; i < tone.size(); ++i) {
        const double middle = 255.0 * std::pow(static_cast<double>(i) / 255.0, 1.0 / settings.gamma);
        const double value = (middle - 127.5) * slope + 127.5 + settings.brightness * 1.275;
        tone[i] = static_cast<unsigned char>(std::lround(std::clamp(value, 0.0, 255.0)));
    }
    return tone;
}

// The size that the image tells, in its proportions; at most the largest sheet.
paper_size own_size(Pix *image, const paper_size &largest)
{
    const auto to_mm = [](int points, int dpi) { return points * 25.4 / (dpi > 0 ? dpi : assumed_dpi); };
    const double width = to_mm(pixGetWidth(image), pixGetXRes(image));
    const double height = to_mm(pixGetHeight(image), pixGetYRes(image));
    const double factor = std::min({1.0, largest.width_mm / width, largest.height_mm / height});
    return {width * factor, height * factor, false};
}

struct sheet_image {
    pix_ptr image;
    paper_size paper;
};

sheet_image load_sheet(const sheet_side &side, const page_settings &settings)
{
    if (side.file.empty()) {
        const paper_size paper = settings.paper.original ? a4_paper : settings.paper;
        return {draw_document({side.sheet, side.back, paper.width_mm, paper.height_mm}, settings.dpi), paper};
    }
    pix_ptr image = read_image(side.file);
    const paper_size paper = settings.paper.original ? own_size(image.get(), settings.paper) : settings.paper;
    return {std::move(image), paper};
}

bool is_blank(Pix *image, int limit)
{
    constexpr int paper_white = 200;
    const pix_ptr gray = own(pixConvertTo8(image, FALSE));
    const pix_ptr marks = own(pixThresholdToBinary(gray.get(), paper_white));
    l_int32 count = 0;
    pixCountPixels(marks.get(), &count, nullptr);
    return static_cast<double>(count) <= limit / 10000.0 * pixGetWidth(image) * pixGetHeight(image);
}

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

// The wanted size or a point off, as Leptonica rounds; packing makes up for that. Without sharpening, so that greys
// stay.
pix_ptr scale(pix_ptr image, int width, int height)
{
    if (pixGetWidth(image.get()) == width && pixGetHeight(image.get()) == height)
        return image;
    const float across = static_cast<float>(width) / static_cast<float>(pixGetWidth(image.get()));
    const float down = static_cast<float>(height) / static_cast<float>(pixGetHeight(image.get()));
    return own(pixScaleGeneral(image.get(), across, down, 0.0F, 0));
}

// One row of the sheet's image, of which `count` points from `first` on are packed to `out` (set to white before).
using row_packer = void (*)(const l_uint32 *row, int first, int count, const tone_table &tone,
                            const page_settings &settings, unsigned char *out);

void pack_color(const l_uint32 *row, int first, int count, const tone_table &tone, const page_settings &,
                unsigned char *out)
{
    for (const l_uint32 *point = row + first; point != row + first + count; ++point, out += 3) {
        out[0] = tone[(*point >> L_RED_SHIFT) & 0xff];
        out[1] = tone[(*point >> L_GREEN_SHIFT) & 0xff];
        out[2] = tone[(*point >> L_BLUE_SHIFT) & 0xff];
    }
}

void pack_gray(const l_uint32 *row, int first, int count, const tone_table &tone, const page_settings &,
               unsigned char *out)
{
    for (int x = 0; x < count; ++x)
        out[x] = tone[GET_DATA_BYTE(row, first + x)];
}

void pack_lineart(const l_uint32 *row, int first, int count, const tone_table &tone, const page_settings &settings,
                  unsigned char *out)
{
    for (int x = 0; x < count; ++x) {
        const bool black = tone[GET_DATA_BYTE(row, first + x)] < settings.threshold;
        if (black)
            out[x >> 3] = static_cast<unsigned char>(out[x >> 3] | (0x80 >> (x & 7)));
    }
}

row_packer packer_of(color_mode mode)
{
    if (mode == color_mode::color)
        return pack_color;
    return mode == color_mode::gray ? pack_gray : pack_lineart;
}

// The image's negative; the spare bits at the end of a row stay white.
void invert(page &result)
{
    const auto row_size = static_cast<std::size_t>(result.format.bytes_per_line);
    const int spare = result.format.depth == 1 ? result.format.bytes_per_line * 8 - result.format.pixels_per_line : 0;
    for (std::size_t start = 0; start < result.data.size(); start += row_size) {
        for (std::size_t i = start; i < start + row_size; ++i)
            result.data[i] = static_cast<unsigned char>(~result.data[i]);
        result.data[start + row_size - 1] &= static_cast<unsigned char>(0xff << spare);
    }
}

void pack_rows(Pix *image, int paper_width, int paper_height, const area_mm &area, const page_settings &settings,
               page &result)
{
    const tone_table tone = tone_of(settings);
    const row_packer pack = packer_of(settings.mode);
    const int left = to_points(area.left, settings.dpi);
    const int top = to_points(area.top, settings.dpi);
    const int columns = std::min(result.format.pixels_per_line, paper_width - left);
    const int rows = std::min(result.format.lines, paper_height - top);
    const int width = std::min(columns, pixGetWidth(image) - left);
    for (int y = 0; width > 0 && y < rows; ++y) {
        const int source = std::min(top + y, pixGetHeight(image) - 1);
        const l_uint32 *row = pixGetData(image) + static_cast<std::ptrdiff_t>(source) * pixGetWpl(image);
        const auto start = static_cast<std::size_t>(y) * static_cast<std::size_t>(result.format.bytes_per_line);
        pack(row, left, width, tone, settings, &result.data[start]);
    }
}

std::optional<page> make_page(const sheet_side &side, const page_settings &settings)
{
    auto [image, paper] = load_sheet(side, settings);
    if (settings.discard_blank && is_blank(image.get(), settings.blank_limit))
        return std::nullopt;
    if (side.back && settings.rotate_back && pixRotate180(image.get(), image.get()) == nullptr)
        throw pix_error();
    area_mm area = settings.area;
    if (settings.paper.original) {
        area.right = std::min(area.right, paper.width_mm);
        area.bottom = std::min(area.bottom, paper.height_mm);
    }
    const int paper_width = std::max(1, to_points(paper.width_mm, settings.dpi));
    const int paper_height = std::max(1, to_points(paper.height_mm, settings.dpi));
    image = scale(in_mode(std::move(image), settings), paper_width, paper_height);
    page result{format_of(area, settings), side, settings.dpi, {}};
    const auto size =
        static_cast<std::size_t>(result.format.bytes_per_line) * static_cast<std::size_t>(result.format.lines);
    result.data.assign(size, settings.mode == color_mode::lineart ? 0x00 : 0xff);
    pack_rows(image.get(), paper_width, paper_height, area, settings, result);
    if (settings.invert)
        invert(result);
    return result;
}

} // namespace

std::optional<page> scan_side(const sheet_side &side, const page_settings &settings)
{
    return with_image_errors(side.file.empty() ? "built-in document" : side.file,
                             [&] { return make_page(side, settings); });
}

} // namespace virtual_scanner
