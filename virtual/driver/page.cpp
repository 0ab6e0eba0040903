// SPDX-License-Identifier: MIT
// A sheet's side to the bytes of a page: the sheet's image is mended and scaled to the paper's points, filtered, and
// the area is packed out of it. A side of one colour is packed from a single row. Tested by driver_scanning_test.
#include "page.h"

#include "binarization.h"
#include "feeder.h"
#include "image_file.h"
#include "page_data.h"
#include "page_mending.h"
#include "page_packing.h"
#include "page_settings.h"
#include "pix.h"
#include "point_filters.h"
#include "profile.h"
#include "sheet_checks.h"
#include "sheet_image.h"
#include "worn_page.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace virtual_scanner {

namespace {

bool is_blank(Pix *image, int limit)
{
    constexpr int paper_white = 200;
    const pix_ptr gray = own(pixConvertTo8(image, FALSE));
    const pix_ptr marks = own(pixThresholdToBinary(gray.get(), paper_white));
    const double count = count_points(marks.get());
    return count <= limit / 10000.0 * pixGetWidth(image) * pixGetHeight(image);
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

// The area that is scanned of a sheet of this size.
area_mm area_on(const paper_size &paper, const page_settings &settings)
{
    area_mm area = settings.area;
    if (settings.paper.original) {
        area.right = std::min(area.right, paper.width_mm);
        area.bottom = std::min(area.bottom, paper.height_mm);
    }
    return area;
}

page_window window_on(const paper_size &paper, const area_mm &area, int dpi)
{
    return {to_points(area.left, dpi), to_points(area.top, dpi), std::max(1, to_points(paper.width_mm, dpi)),
            std::max(1, to_points(paper.height_mm, dpi))};
}

// Whether every point of a plain sheet's page is the same.
bool stays_one_color(const page_window &window, const image_format &format, const page_settings &settings)
{
    return !settings.wear && is_plain(settings.black_white) && !settings.mending.correct_color &&
           !settings.mending.erase_background && window.left + format.pixels_per_line <= window.paper_width &&
           window.top + format.lines <= window.paper_height;
}

// The page of a row that stands for all of them.
std::optional<page> plain_page(const sheet_side &side, const sheet_color &color, const image_format &format,
                               const page_settings &settings)
{
    constexpr std::size_t worth_a_copy = 1 << 18;
    pix_ptr row = own(pixCreate(format.pixels_per_line, 1, 32));
    pixSetAllArbitrary(row.get(), color_in(row.get(), color));
    if (settings.discard_blank && is_blank(row.get(), settings.blank_limit))
        return std::nullopt;
    row = in_mode(std::move(row), settings);
    image_format row_format = format;
    row_format.lines = 1;
    const byte_block bytes = pack(row.get(), {0, 0, format.pixels_per_line, 1}, row_format, settings);
    const std::size_t size = bytes.size() * static_cast<std::size_t>(format.lines);
    byte_block block;
    do
        block.insert(block.end(), bytes.begin(), bytes.end());
    while (block.size() < std::min(worth_a_copy, size));
    return page{format, side, settings.dpi, {std::move(block), size}};
}

std::optional<page> page_of_image(const sheet_side &side, const page_settings &settings)
{
    auto [sheet, paper] = load_sheet(side, settings);
    mend_sheet(sheet, settings.mending, settings.wear.has_value());
    pix_ptr image = std::move(sheet.image);
    if (settings.discard_blank && is_blank(image.get(), settings.blank_limit))
        return std::nullopt;
    if (side.back && settings.rotate_back && pixRotate180(image.get(), image.get()) == nullptr)
        throw pix_error();
    const area_mm area = area_on(paper, settings);
    const page_window window = window_on(paper, area, settings.dpi);
    const image_format format = format_of(area, settings);
    image = scale(in_mode(std::move(image), settings), window.paper_width, window.paper_height);
    image = filter_points(std::move(image), settings.filters, settings.dpi);
    return page{format, side, settings.dpi, page_data(pack(image.get(), window, format, settings))};
}

std::optional<page> make_page(const sheet_side &side, const page_settings &settings)
{
    const paper_size paper = paper_of_plain_sheet(settings);
    const area_mm area = area_on(paper, settings);
    const image_format format = format_of(area, settings);
    if (side.color && stays_one_color(window_on(paper, area, settings.dpi), format, settings))
        return plain_page(side, *side.color, format, settings);
    return page_of_image(side, settings);
}

std::string source_of(const sheet_side &side)
{
    if (side.color)
        return "plain sheet";
    return side.file.empty() ? "built-in document" : side.file;
}

} // namespace

std::optional<page> scan_side(const sheet_side &side, const page_settings &settings)
{
    check_sheet(side, settings);
    return with_image_errors(source_of(side), [&] {
        auto made = make_page(side, settings);
        expect_no_error();
        return made;
    });
}

} // namespace virtual_scanner
