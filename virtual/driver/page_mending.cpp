// SPDX-License-Identifier: MIT
// The image of a worn sheet in, the image of a better one out, by what is seen in it alone. The order matters: skew is
// found better without the frame, holes are looked for where the straightened sheet has them, and the paper's colour is
// that of what remains. Tested by driver_mending_test.
#include "page_mending.h"

#include "feeder.h"
#include "page_settings.h"
#include "pix.h"
#include "sheet_frame.h"
#include "worn_page.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace virtual_scanner {

namespace {

struct boxes_deleter {
    void operator()(Boxa *boxes) const { boxaDestroy(&boxes); }
};

// The angle to turn the sheet by, in degrees clockwise; 0 when it lies straight or has nothing on it to tell.
double correction_of(const measured_image &sheet)
{
    constexpr l_float32 most = 7.0F;
    constexpr double worth_it = 0.1;
    constexpr double sure = 3.0;
    const sheet_overview overview = overview_of(sheet);
    const pix_ptr print = own(pixThresholdToBinary(overview.gray.get(), 130));
    l_float32 angle = 0;
    l_float32 confidence = 0;
    if (pixFindSkewSweepAndSearch(print.get(), &angle, &confidence, 2, 1, most, 1.0F, 0.02F) != 0)
        return 0;
    return confidence >= sure && std::abs(angle) >= worth_it ? static_cast<double>(angle) : 0;
}

struct found_box {
    int x;
    int y;
    int width;
    int height;
};

// As large as a punch makes them, as wide as high, and filled like a disc.
bool is_hole(Pix *dark, const found_box &box, double across, double down)
{
    constexpr double least_mm = 4;
    constexpr double most_mm = 9;
    constexpr double disc = 0.785;
    const double width_mm = box.width / across;
    const double height_mm = box.height / down;
    if (std::min(width_mm, height_mm) < least_mm || std::max(width_mm, height_mm) > most_mm ||
        std::abs(width_mm - height_mm) > 0.15 * std::max(width_mm, height_mm))
        return false;
    const int count = count_points(dark, box.x, box.y, box.width, box.height);
    return std::abs(count / (static_cast<double>(box.width) * box.height) - disc) < 0.12;
}

// Whether a centre, as shares of width and height, lies in the strips where holes are looked for.
bool is_near_an_edge(double x, double y, const hole_ranges &ranges)
{
    return x * 100 <= ranges.left || (1 - x) * 100 <= ranges.right || y * 100 <= ranges.top_and_bottom ||
           (1 - y) * 100 <= ranges.top_and_bottom;
}

void fill_holes(measured_image &sheet, const hole_ranges &ranges, const sheet_color &color)
{
    constexpr double rim_mm = 0.5;
    const sheet_overview overview = overview_of(sheet);
    const pix_ptr dark = own(pixThresholdToBinary(overview.gray.get(), darker_than_paper));
    const std::unique_ptr<Boxa, boxes_deleter> boxes(pixConnCompBB(dark.get(), 8));
    if (boxes == nullptr)
        throw pix_error();
    const double across = sheet.across / overview.factor;
    const double down = sheet.down / overview.factor;
    for (l_int32 i = 0; i < boxaGetCount(boxes.get()); ++i) {
        found_box box{};
        boxaGetBoxGeometry(boxes.get(), i, &box.x, &box.y, &box.width, &box.height);
        const double x = box.x + box.width / 2.0;
        const double y = box.y + box.height / 2.0;
        if (!is_hole(dark.get(), box, across, down) ||
            !is_near_an_edge(x / pixGetWidth(dark.get()), y / pixGetHeight(dark.get()), ranges))
            continue;
        const double radius_mm = std::max(box.width / across, box.height / down) / 2 + rim_mm;
        fill_disc(sheet, x * overview.factor, y * overview.factor, radius_mm, color_in(sheet.image.get(), color));
    }
}

// Scales each channel so that the paper has the value `target` in it; what becomes lighter than `white` is white.
void make_paper(measured_image &sheet, const sheet_color &paper, int target, int white)
{
    const pix_ptr colors = own(pixConvertTo32(sheet.image.get()));
    if (pixGlobalNormRGB(colors.get(), colors.get(), paper.red, paper.green, paper.blue, target) == nullptr)
        throw pix_error();
    if (white < 255 && pixGammaTRC(colors.get(), colors.get(), 1.0F, 0, white) == nullptr)
        throw pix_error();
    sheet.image =
        pixGetDepth(sheet.image.get()) == 32 ? own(pixClone(colors.get())) : own(pixConvertRGBToGrayFast(colors.get()));
}

// White paper, unless what most of the page has is too dark to be a background.
void erase_background(measured_image &sheet, int range)
{
    constexpr double step = 0.02;         // of the way from white to black
    constexpr int lighter_is_white = 240; // grain of the paper
    const sheet_color paper = paper_color_of(sheet);
    if (255 - luminance_of(paper) <= range * step * 255)
        make_paper(sheet, paper, 255, lighter_is_white);
}

// As light as it was, without its tint.
void correct_color(measured_image &sheet)
{
    constexpr int light_enough = 128;
    const sheet_color paper = paper_color_of(sheet);
    const auto [least, most] = std::minmax({paper.red, paper.green, paper.blue});
    if (least >= light_enough && least != most)
        make_paper(sheet, paper, most, 255);
}

} // namespace

void mend_sheet(measured_image &sheet, const sheet_mending &mending, bool can_lie_askew)
{
    const auto filling = [&] { return mending.fill_color ? paper_color_of(sheet) : sheet_color{255, 255, 255}; };
    if (can_lie_askew && mending.erase_frame)
        erase_frame(sheet, mending.shape, mending.margin_mm, filling());
    if (can_lie_askew && mending.straighten)
        turn(sheet, correction_of(sheet), color_in(sheet.image.get(), filling()));
    if (mending.fill_holes)
        fill_holes(sheet, mending.holes, filling());
    if (mending.correct_color)
        correct_color(sheet);
    if (mending.erase_background)
        erase_background(sheet, mending.background_range);
}

} // namespace virtual_scanner
