// SPDX-License-Identifier: MIT
// A clean image in, the image of a sheet with a past out. What the paper does comes first (tint, print of the other
// side, noise, dust, staple), then what is missing of it (holes, folded corners), then how it lies (skew): where paper
// is missing, what lies behind it is seen. Sizes are those on paper, whatever the image's resolution. Tested by
// driver_wear_test.
#include "worn_page.h"

#include "feeder.h"
#include "page_wear.h"
#include "pix.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace virtual_scanner {

namespace {

l_uint32 *row_of(Pix *image, int y)
{
    return pixGetData(image) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(image);
}

l_uint32 gray_in(Pix *image, int gray)
{
    const auto level = static_cast<unsigned char>(gray);
    return color_in(image, {level, level, level});
}

// Calls change(value, x, channel) for every value of a row: red, green and blue of colours, the grey of greys.
template <typename Change> void change_row(Pix *image, int y, Change change)
{
    constexpr std::array<int, 3> shifts{L_RED_SHIFT, L_GREEN_SHIFT, L_BLUE_SHIFT};
    l_uint32 *row = row_of(image, y);
    const int width = pixGetWidth(image);
    for (int x = 0; x < width; ++x) {
        if (pixGetDepth(image) == 8) {
            SET_DATA_BYTE(row, x, static_cast<l_uint8>(change(GET_DATA_BYTE(row, x), x, 0)));
            continue;
        }
        l_uint32 changed = 0;
        for (std::size_t i = 0; i < shifts.size(); ++i)
            changed |= static_cast<l_uint32>(change(static_cast<int>(row[x] >> shifts[i] & 0xff), x, i)) << shifts[i];
        row[x] = changed;
    }
}

template <typename Change> void change_points(Pix *image, Change change)
{
    for (int y = 0; y < pixGetHeight(image); ++y)
        change_row(image, y, change);
}

void tint(measured_image &sheet, const sheet_color &color)
{
    if (color.red == 255 && color.green == 255 && color.blue == 255)
        return;
    const bool is_gray = color.red == color.green && color.green == color.blue;
    if (pixGetDepth(sheet.image.get()) == 8 && !is_gray)
        sheet.image = own(pixConvertTo32(sheet.image.get()));
    const std::array<int, 3> parts{color.red, color.green, color.blue};
    change_points(sheet.image.get(), [&](int value, int, std::size_t channel) { return value * parts[channel] / 255; });
}

// The other side is seen mirrored, in grey.
void shine_through(measured_image &sheet, Pix *other_side, double strength)
{
    if (other_side == nullptr || strength <= 0)
        return;
    const pix_ptr gray = own(pixConvertTo8(other_side, FALSE));
    const pix_ptr fitted = own(pixScaleToSize(gray.get(), sheet.width(), sheet.height()));
    const pix_ptr mirrored = own(pixFlipLR(nullptr, fitted.get()));
    const int weight = static_cast<int>(std::lround(strength * 256));
    for (int y = 0; y < std::min(sheet.height(), pixGetHeight(mirrored.get())); ++y) {
        const l_uint32 *behind = row_of(mirrored.get(), y);
        const int last = pixGetWidth(mirrored.get()) - 1;
        change_row(sheet.image.get(), y, [&](int value, int x, std::size_t) {
            const int dark = 255 - static_cast<int>(GET_DATA_BYTE(behind, std::min(x, last)));
            return value - value * dark * weight / (255 * 256);
        });
    }
}

void add_noise(measured_image &sheet, int amplitude, wear_numbers numbers)
{
    if (amplitude == 0)
        return;
    std::uint64_t drawn = 0;
    change_points(sheet.image.get(), [&](int value, int, std::size_t channel) {
        drawn = channel == 0 ? numbers.next() : drawn >> 16;
        const int offset = static_cast<int>((drawn & 0xffff) * static_cast<unsigned>(2 * amplitude + 1) >> 16);
        return std::clamp(value + offset - amplitude, 0, 255);
    });
}

void add_dust(measured_image &sheet, int specks, wear_numbers numbers)
{
    const l_uint32 dark = gray_in(sheet.image.get(), 40);
    for (int i = 0; i < specks; ++i) {
        const double x = numbers.next_share() * sheet.width();
        const double y = numbers.next_share() * sheet.height();
        fill_disc(sheet, x, y, 0.05 + 0.1 * numbers.next_share(), dark);
    }
}

void fill_box(measured_image &sheet, double left_mm, double top_mm, double width_mm, double height_mm, l_uint32 value)
{
    const int x0 = sheet.x(left_mm);
    const int y0 = sheet.y(top_mm);
    fill_rectangle(sheet.image.get(), x0, y0, std::max(1, sheet.x(left_mm + width_mm) - x0),
                   std::max(1, sheet.y(top_mm + height_mm) - y0), value);
}

// In the top corner that is the left one of the front.
void add_staple(measured_image &sheet, bool back)
{
    constexpr double length_mm = 12;
    const double width_mm = sheet.width() / sheet.across;
    fill_box(sheet, back ? width_mm - 8 - length_mm : 8, 8, length_mm, 0.6, gray_in(sheet.image.get(), 96));
}

// As office punches do: 6 mm wide, 12 mm from the edge, 80 mm apart (closer where they do not fit), around the middle.
void punch(measured_image &sheet, int count, sheet_edge edge, l_uint32 behind)
{
    constexpr double radius_mm = 3;
    constexpr double inset_mm = 12;
    const bool is_upright = edge == sheet_edge::left || edge == sheet_edge::right;
    const double width_mm = sheet.width() / sheet.across;
    const double height_mm = sheet.height() / sheet.down;
    const double length_mm = is_upright ? height_mm : width_mm;
    const double step_mm = std::min(80.0, length_mm / std::max(1, count));
    for (int i = 0; i < count; ++i) {
        const double along = length_mm / 2 + (i - (count - 1) / 2.0) * step_mm;
        const double x = edge == sheet_edge::left ? inset_mm : edge == sheet_edge::right ? width_mm - inset_mm : along;
        const double y = edge == sheet_edge::top ? inset_mm : edge == sheet_edge::bottom ? height_mm - inset_mm : along;
        fill_disc(sheet, x * sheet.across, y * sheet.down, radius_mm, behind);
    }
}

// The folded triangle lies behind the sheet, so that its place is empty.
void fold(measured_image &sheet, sheet_corner corner, double size_mm, l_uint32 behind)
{
    const bool is_right = corner == sheet_corner::top_right || corner == sheet_corner::bottom_right;
    const bool is_bottom = corner == sheet_corner::bottom_left || corner == sheet_corner::bottom_right;
    const int rows = std::min(sheet.height(), sheet.y(size_mm));
    for (int i = 0; i < rows; ++i) {
        const int length = std::min(sheet.width(), sheet.x(size_mm - i / sheet.down));
        if (length <= 0)
            break;
        fill_rectangle(sheet.image.get(), is_right ? sheet.width() - length : 0, is_bottom ? sheet.height() - 1 - i : i,
                       length, 1, behind);
    }
}

} // namespace

int measured_image::x(double mm) const
{
    return static_cast<int>(std::lround(mm * across));
}

int measured_image::y(double mm) const
{
    return static_cast<int>(std::lround(mm * down));
}

double luminance_of(const sheet_color &color)
{
    return 0.299 * color.red + 0.587 * color.green + 0.114 * color.blue;
}

l_uint32 color_in(Pix *image, const sheet_color &color)
{
    if (pixGetDepth(image) == 8)
        return static_cast<l_uint32>(std::lround(luminance_of(color)));
    l_uint32 value = 0;
    composeRGBPixel(color.red, color.green, color.blue, &value);
    return value;
}

void fill_disc(measured_image &sheet, double x, double y, double radius_mm, l_uint32 value)
{
    const double across = std::max(0.5, radius_mm * sheet.across);
    const double down = std::max(0.5, radius_mm * sheet.down);
    for (int py = static_cast<int>(std::ceil(y - down)); py <= y + down; ++py) {
        const double half = across * std::sqrt(std::max(0.0, 1 - (py - y) * (py - y) / (down * down)));
        for (int px = static_cast<int>(std::ceil(x - half)); px <= x + half; ++px)
            pixSetPixel(sheet.image.get(), px, py, value);
    }
}

void turn(measured_image &sheet, double degrees, l_uint32 value)
{
    constexpr double degree = 3.14159265358979323846 / 180;
    if (std::abs(degrees) < 0.01)
        return;
    const auto angle = static_cast<l_float32>(degrees * degree);
    Pix *image = sheet.image.get();
    sheet.image = own_with_room(2 * bytes_in_color(image), [&] {
        return pixGetDepth(image) == 8 ? pixRotateAMGray(image, angle, static_cast<l_uint8>(value))
                                       : pixRotateAMColor(image, angle, value);
    });
}

void wear_out(measured_image &sheet, const page_wear &wear, const sheet_side &side, int behind, Pix *other_side)
{
    tint(sheet, wear.background);
    shine_through(sheet, other_side, wear.shine_through);
    add_noise(sheet, wear.noise, numbers_of(wear, side, wear_kind::noise));
    add_dust(sheet, wear.dust, numbers_of(wear, side, wear_kind::dust));
    if (is_stapled(wear, side))
        add_staple(sheet, side.back);
    const l_uint32 seen_behind = gray_in(sheet.image.get(), behind);
    punch(sheet, wear.holes.count, hole_edge_of(wear, side), seen_behind);
    if (const auto corner = folded_corner_of(wear, side); corner && wear.folded)
        fold(sheet, *corner, wear.folded->size_mm, seen_behind);
    turn(sheet, skew_of(wear, side), seen_behind);
}

} // namespace virtual_scanner
