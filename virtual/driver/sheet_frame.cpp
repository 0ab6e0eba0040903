// SPDX-License-Identifier: MIT
// The dark frame around a sheet is what can be reached from the image's edge over dark points. The rest is the sheet;
// its convex outline is found by running over its rows' ends once, and keeps a dark picture that touches the edge,
// while the concave one follows notches. All is done on a small image: the frame is wider than its points. Tested by
// driver_mending_test.
#include "sheet_frame.h"

#include "feeder.h"
#include "page_settings.h"
#include "pix.h"
#include "worn_page.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr int overview_dpi = 100;

struct point {
    double x;
    double y;
};

bool turns_inwards(const point &a, const point &b, const point &c, bool is_left)
{
    const double turn = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
    return is_left ? turn >= 0 : turn <= 0;
}

// The convex chain of one side's row ends, from top to bottom.
std::vector<point> convex_chain(const std::vector<point> &ends, bool is_left)
{
    std::vector<point> chain;
    for (const point &end : ends) {
        while (chain.size() > 1 && turns_inwards(chain[chain.size() - 2], chain.back(), end, is_left))
            chain.pop_back();
        chain.push_back(end);
    }
    return chain;
}

double at_row(const std::vector<point> &chain, double y)
{
    const auto below = std::find_if(chain.begin(), chain.end(), [&](const point &each) { return each.y >= y; });
    if (below == chain.begin() || below == chain.end())
        return below == chain.end() ? chain.back().x : below->x;
    const point &above = *(below - 1);
    return above.x + (below->x - above.x) * (y - above.y) / (below->y - above.y);
}

// Everything outside the convex outline of the points that are not in the frame.
pix_ptr outside_of_outline(Pix *frame)
{
    const int width = pixGetWidth(frame);
    std::vector<point> left;
    std::vector<point> right;
    for (int y = 0; y < pixGetHeight(frame); ++y) {
        const l_uint32 *row = pixGetData(frame) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(frame);
        int first = 0;
        int last = width - 1;
        while (first < width && GET_DATA_BIT(row, first) != 0)
            ++first;
        while (last > first && GET_DATA_BIT(row, last) != 0)
            --last;
        if (first == width)
            continue;
        left.push_back({static_cast<double>(first), static_cast<double>(y)});
        right.push_back({static_cast<double>(last), static_cast<double>(y)});
    }
    pix_ptr outside = own(pixCreateTemplate(frame));
    pixSetAll(outside.get());
    if (left.empty())
        return outside;
    const auto left_chain = convex_chain(left, true);
    const auto right_chain = convex_chain(right, false);
    for (int y = static_cast<int>(left.front().y); y <= static_cast<int>(left.back().y); ++y) {
        const int first = static_cast<int>(std::ceil(at_row(left_chain, y)));
        const int last = static_cast<int>(std::floor(at_row(right_chain, y)));
        pixRasterop(outside.get(), first, y, last - first + 1, 1, PIX_CLR, nullptr, 0, 0);
    }
    return outside;
}

// What is dark and hangs together with the image's edge.
pix_ptr dark_frame(Pix *gray)
{
    const pix_ptr dark = own(pixThresholdToBinary(gray, darker_than_paper));
    const pix_ptr edge = own(pixCreateTemplate(dark.get()));
    pixSetOrClearBorder(edge.get(), 1, 1, 1, 1, PIX_SET);
    const pix_ptr seed = own(pixAnd(nullptr, edge.get(), dark.get()));
    return own(pixSeedfillBinary(nullptr, seed.get(), dark.get(), 8));
}

bool is_all_clear(Pix *mask)
{
    l_int32 empty = 0;
    pixZero(mask, &empty);
    return empty != 0;
}

} // namespace

sheet_overview overview_of(const measured_image &sheet)
{
    const int factor = std::max(1, static_cast<int>(sheet.across * 25.4 / overview_dpi));
    if (pixGetDepth(sheet.image.get()) == 32)
        return {own(pixScaleRGBToGrayFast(sheet.image.get(), factor, COLOR_GREEN)), factor};
    return {own(pixScaleByIntSampling(sheet.image.get(), factor)), factor};
}

sheet_color paper_color_of(const measured_image &sheet)
{
    const int step = std::max(1, static_cast<int>(sheet.across)); // a point for each square millimetre
    const pix_ptr colors = own(pixConvertTo32(own(pixScaleByIntSampling(sheet.image.get(), step)).get()));
    l_float32 red = 255;
    l_float32 green = 255;
    l_float32 blue = 255;
    pixGetRankValueMaskedRGB(colors.get(), nullptr, 0, 0, 1, 0.5F, &red, &green, &blue);
    const auto to_byte = [](l_float32 value) { return static_cast<unsigned char>(std::lround(value)); };
    return {to_byte(red), to_byte(green), to_byte(blue)};
}

void erase_frame(measured_image &sheet, frame_shape shape, double margin_mm, const sheet_color &color)
{
    const sheet_overview overview = overview_of(sheet);
    pix_ptr frame = dark_frame(overview.gray.get());
    if (is_all_clear(frame.get()))
        return;
    if (shape == frame_shape::convex)
        frame = outside_of_outline(frame.get());
    // The sheet's edge runs through points that are half dark.
    const int margin = 1 + static_cast<int>(std::ceil(margin_mm * sheet.across / overview.factor));
    frame = own(pixDilateBrick(nullptr, frame.get(), 2 * margin + 1, 2 * margin + 1));
    const pix_ptr mask = own(pixScaleToSize(frame.get(), sheet.width(), sheet.height()));
    pixPaintThroughMask(sheet.image.get(), mask.get(), 0, 0, color_in(sheet.image.get(), color));
}

} // namespace virtual_scanner
