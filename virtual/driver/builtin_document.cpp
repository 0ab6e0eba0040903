// SPDX-License-Identifier: MIT
// The built-in document. Everything is laid out in millimetres of an A4 sheet and scaled to the sheet at hand, and
// drawn at the resolution that is scanned, so that edges are sharp at every resolution. Grey steps and bars are drawn
// in exact colours, which tests and people can check. Tested by driver_scanning_test.
#include "builtin_document.h"

#include "pix.h"
#include "profile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

namespace virtual_scanner {

namespace {

constexpr l_uint32 color_of(unsigned red, unsigned green, unsigned blue)
{
    return red << L_RED_SHIFT | green << L_GREEN_SHIFT | blue << L_BLUE_SHIFT;
}

constexpr l_uint32 black = color_of(0, 0, 0);

struct font_deleter {
    void operator()(L_Bmf *font) const { bmfDestroy(&font); }
};

using font_ptr = std::unique_ptr<L_Bmf, font_deleter>;

// Its letters are small images, made without a look at what becomes of each.
font_ptr make_font()
{
    expect_spare_memory();
    const spare_memory_use small_images;
    font_ptr font(bmfCreate(nullptr, 20));
    if (font == nullptr)
        throw pix_error();
    return font;
}

// A sheet being drawn; positions and sizes are those on A4.
class drawing {
public:
    drawing(double width_mm, double height_mm, int dpi)
        : across_(width_mm / a4_paper.width_mm * dpi / 25.4), down_(height_mm / a4_paper.height_mm * dpi / 25.4),
          image_(own(pixCreate(std::max(1, x(a4_paper.width_mm)), std::max(1, y(a4_paper.height_mm)), 32))),
          font_(make_font())
    {
        pixSetAll(image_.get());
    }

    int x(double mm) const { return static_cast<int>(std::lround(mm * across_)); }
    int y(double mm) const { return static_cast<int>(std::lround(mm * down_)); }

    void fill(double left, double top, double width, double height, l_uint32 color)
    {
        const int x0 = x(left);
        const int y0 = y(top);
        fill_rectangle(image_.get(), x0, y0, std::max(1, x(left + width) - x0), std::max(1, y(top + height) - y0),
                       color);
    }

    void outline(double left, double top, double width, double height, double line)
    {
        fill(left, top, width, line, black);
        fill(left, top + height - line, width, line, black);
        fill(left, top, line, height, black);
        fill(left + width - line, top, line, height, black);
    }

    // A line of text of the given height, in smooth outlines at every size.
    void write(const std::string &text, double left, double top, double height)
    {
        l_int32 width = 0;
        bmfGetStringWidth(font_.get(), text.c_str(), &width);
        const pix_ptr small = own(pixCreate(width + 4, font_->lineheight + 4, 8));
        pixSetAll(small.get());
        pixSetTextline(small.get(), font_.get(), text.c_str(), 0, 2, font_->baselinetab['A' - 32] + 2, nullptr,
                       nullptr);
        const double points = std::max(1, y(height)); // on the smallest sheets less than one
        const auto factor = static_cast<float>(points / font_->lineheight);
        const pix_ptr scaled = own(pixScaleGeneral(small.get(), factor, factor, 0.0F, 0));
        const int steps = static_cast<int>(factor * 0.9F); // rounds off the steps of the enlarged points
        const pix_ptr large = own(pixBlockconv(scaled.get(), steps, steps));
        const pix_ptr ink = own(pixThresholdToBinary(large.get(), 128));
        pixPaintThroughMask(image_.get(), ink.get(), x(left), y(top), black);
    }

    // A star of dark and light wedges: the finer the detail that the resolution holds, the smaller its grey centre.
    void star(double center_x, double center_y, double radius)
    {
        constexpr int wedges = 72;
        const double circle = 8 * std::atan(1.0);
        for (int py = y(center_y - radius); py <= y(center_y + radius); ++py) {
            for (int px = x(center_x - radius); px <= x(center_x + radius); ++px) {
                const double dx = px / across_ - center_x;
                const double dy = py / down_ - center_y;
                const double turn = (std::atan2(dy, dx) / circle + 1) * wedges;
                if (std::hypot(dx, dy) <= radius && static_cast<int>(std::floor(turn)) % 2 == 0)
                    pixSetPixel(image_.get(), px, py, black);
            }
        }
    }

    pix_ptr finish() { return std::move(image_); }

private:
    double across_; // points per millimetre on A4
    double down_;
    pix_ptr image_;
    font_ptr font_;
};

void draw_frame(drawing &sheet)
{
    sheet.outline(6, 6, 198, 285, 0.5);
    // Which way up: a bar along the top edge and a square in the top left corner.
    sheet.fill(6, 6, 198, 3, black);
    sheet.fill(10, 13, 12, 12, black);
}

void draw_gray_ramp(drawing &sheet)
{
    constexpr int steps = 16;
    constexpr double step_width = 11.25;
    sheet.write("Grey 0 to 255 in 16 steps", 15, 104, 5);
    for (unsigned step = 0; step < steps; ++step)
        sheet.fill(15 + step * step_width, 111, step_width, 24, color_of(17 * step, 17 * step, 17 * step));
    sheet.outline(15, 111, 180, 24, 0.3);
}

void draw_color_bars(drawing &sheet)
{
    constexpr std::array<l_uint32, 8> bars{
        color_of(255, 255, 255), color_of(255, 255, 0), color_of(0, 255, 255), color_of(0, 255, 0),
        color_of(255, 0, 255),   color_of(255, 0, 0),   color_of(0, 0, 255),   black,
    };
    constexpr double bar_width = 22.5;
    sheet.write("Colour bars", 15, 142, 5);
    double left = 15;
    for (const l_uint32 bar : bars) {
        sheet.fill(left, 149, bar_width, 30, bar);
        left += bar_width;
    }
    sheet.outline(15, 149, 180, 30, 0.3);
}

// Seven dark lines of a width, their length across or along.
void draw_line_group(drawing &sheet, double left, double top, double line)
{
    for (int i = 0; i < 7; ++i) {
        sheet.fill(left + 2 * i * line, top, line, 18, black);
        sheet.fill(left, top + 23 + 2 * i * line, 18, line, black);
    }
}

void draw_resolution_target(drawing &sheet)
{
    constexpr double widths[] = {1.0, 0.5, 0.25, 0.125};
    constexpr const char *labels[] = {"1 mm", "1/2", "1/4", "1/8"};
    sheet.write("Lines and star", 15, 186, 5);
    for (int i = 0; i < 4; ++i) {
        sheet.write(labels[i], 15 + i * 25, 194, 4.5);
        draw_line_group(sheet, 15 + i * 25, 201, widths[i]);
    }
    sheet.star(158, 222, 36);
}

} // namespace

pix_ptr draw_document(const document_side &side, int dpi)
{
    drawing sheet(side.width_mm, side.height_mm, dpi);
    const int page = side.sheet * 2 - (side.back ? 0 : 1);
    draw_frame(sheet);
    sheet.write("Pelsane Virtual Duplex Feeder", 28, 14, 10);
    sheet.write(side.back ? "Back" : "Front", 15, 38, 34);
    sheet.write("Sheet " + std::to_string(side.sheet), 15, 74, 18);
    sheet.write(std::to_string(page), 150, 30, 68);
    draw_gray_ramp(sheet);
    draw_color_bars(sheet);
    draw_resolution_target(sheet);
    sheet.write("The finest lines that can be told apart show the resolution.", 15, 268, 5);
    return sheet.finish();
}

} // namespace virtual_scanner
