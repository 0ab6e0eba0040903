// SPDX-License-Identifier: MIT
// A side to an image: read from its file, drawn as the built-in document, or plain; then worn as the profile says, for
// which the other side may have to be looked at too. Images of files keep their own resolution, all others have that of
// the scan. Tested by driver_scanning_test, driver_feed_test and driver_wear_test.
#include "sheet_image.h"

#include "builtin_document.h"
#include "feeder.h"
#include "image_file.h"
#include "page_settings.h"
#include "page_wear.h"
#include "pix.h"
#include "profile.h"
#include "worn_page.h"

#include <algorithm>
#include <utility>

namespace virtual_scanner {

namespace {

// A file that does not tell its resolution, when the sheet's own size is asked for.
constexpr int assumed_dpi = 300;

// The size that the image tells, in its proportions; at most the largest sheet.
paper_size own_size(Pix *image, const paper_size &largest)
{
    const auto to_mm = [](int points, int dpi) { return points * 25.4 / (dpi > 0 ? dpi : assumed_dpi); };
    const double width = to_mm(pixGetWidth(image), pixGetXRes(image));
    const double height = to_mm(pixGetHeight(image), pixGetYRes(image));
    const double factor = std::min({1.0, largest.width_mm / width, largest.height_mm / height});
    return {width * factor, height * factor, false};
}

pix_ptr plain_image(const paper_size &paper, int dpi, const sheet_color &color)
{
    const bool is_gray = color.red == color.green && color.green == color.blue;
    pix_ptr image = own(pixCreate(std::max(1, to_points(paper.width_mm, dpi)),
                                  std::max(1, to_points(paper.height_mm, dpi)), is_gray ? 8 : 32));
    pixSetAllArbitrary(image.get(), color_in(image.get(), color));
    return image;
}

pix_ptr draw(const sheet_side &side, const page_settings &settings, const paper_size &paper)
{
    if (side.color)
        return plain_image(paper, settings.dpi, *side.color);
    if (settings.wear && is_blank_back(*settings.wear, side))
        return plain_image(paper, settings.dpi, {255, 255, 255});
    return draw_document({side.sheet, side.back, paper.width_mm, paper.height_mm}, settings.dpi);
}

measured_image measured(pix_ptr image, const paper_size &paper)
{
    const double across = pixGetWidth(image.get()) / paper.width_mm;
    const double down = pixGetHeight(image.get()) / paper.height_mm;
    return {std::move(image), across, down};
}

sheet_image clean_sheet(const sheet_side &side, const page_settings &settings)
{
    if (side.file.empty()) {
        const paper_size paper = paper_of_plain_sheet(settings);
        return {measured(draw(side, settings, paper), paper), paper};
    }
    pix_ptr image = read_image(side.file);
    const paper_size paper = settings.paper.original ? own_size(image.get(), settings.paper) : settings.paper;
    if (settings.wear && is_blank_back(*settings.wear, side))
        pixSetAll(image.get());
    return {measured(std::move(image), paper), paper};
}

// What is on the back of the side at hand; null when it is blank, or is not known since it is not scanned.
pix_ptr other_side_of(const sheet_side &side, const page_settings &settings, const paper_size &paper)
{
    sheet_side other = side;
    other.back = !side.back;
    other.file = side.other_file;
    const bool is_document = side.file.empty() && !side.color;
    if (is_blank_back(*settings.wear, other) || (other.file.empty() && !is_document))
        return nullptr;
    return is_document ? draw(other, settings, paper) : read_image(other.file);
}

} // namespace

paper_size paper_of_plain_sheet(const page_settings &settings)
{
    return settings.paper.original ? a4_paper : settings.paper;
}

sheet_image load_sheet(const sheet_side &side, const page_settings &settings)
{
    sheet_image sheet = clean_sheet(side, settings);
    if (!settings.wear)
        return sheet;
    const pix_ptr other =
        settings.wear->shine_through > 0 ? other_side_of(side, settings, sheet.paper) : pix_ptr(nullptr);
    wear_out(sheet.content, *settings.wear, side, settings.dark_background ? 0 : settings.wear->behind, other.get());
    return sheet;
}

} // namespace virtual_scanner
