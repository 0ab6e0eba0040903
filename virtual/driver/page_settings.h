// SPDX-License-Identifier: MIT
// What the options mean for a page, and the size of the image that follows from it.
#ifndef PELSANE_VIRTUAL_PAGE_SETTINGS_H
#define PELSANE_VIRTUAL_PAGE_SETTINGS_H

#include "feeder.h"
#include "option_store.h"
#include "page_wear.h"
#include "profile.h"

#include <optional>

namespace virtual_scanner {

enum class color_mode { color, gray, lineart };
enum class color_channel { luminance, red, green, blue };

struct area_mm {
    double left;
    double top;
    double right;
    double bottom;
};

// What is filled around a sheet: beyond its convex outline, or also its notches.
enum class frame_shape { convex, concave };

// How far from the edges holes are looked for, in percent of the width and of the height.
struct hole_ranges {
    int left;
    int right;
    int top_and_bottom;
};

// What is mended on the sheet's image.
struct sheet_mending {
    bool straighten;
    bool erase_frame;
    frame_shape shape;
    double margin_mm;
    bool fill_color; // the paper's instead of white
    bool fill_holes;
    hole_ranges holes;
    bool correct_color;
    bool erase_background;
    int background_range; // in steps of 2 % of the way from white to black
};

enum class sharpness_step { none, sharpen, sharpen_more, soften };

// What is done to the points of the page.
struct point_filters {
    sharpness_step sharpness;
    bool remove_moire;
    bool remove_halftone;
};

enum class threshold_method { fixed, otsu, adaptive };

// How greys become black and white.
struct binarization {
    threshold_method method;
    int threshold; // darker points are black
    bool error_diffusion;
    int speckle_size;  // black specks up to this many points each way are removed; 0: none
    bool light_specks; // and white ones in black
};

// For what sheets are stopped.
struct sheet_checks {
    bool corners;
    int corner_mm;
    bool skew;
    int skew_degrees;
    bool staples;
};

struct page_settings {
    color_mode mode;
    int dpi;
    paper_size paper;
    area_mm area; // ordered; the whole paper while the area options do not act
    int brightness;
    int contrast;
    double gamma;
    int light_limit; // lighter points are white; 255: as they are
    binarization black_white;
    color_channel channel;
    bool invert;
    bool rotate_back;
    sheet_sides sides;
    bool from_glass; // instead of the feeder
    bool discard_blank;
    int blank_limit; // in 1/10000 of the page
    int page_limit;  // pages of a job, 0 for no limit
    sheet_mending mending;
    point_filters filters;
    sheet_checks checks;
    bool dark_background;          // what lies behind the sheets is black
    std::optional<page_wear> wear; // as in the profile
};

struct image_format {
    color_mode mode;
    int pixels_per_line;
    int lines;
    int bytes_per_line;
    int depth;
};

page_settings settings_of(const option_store &options, const profile &description);

// Millimetres to points, to the nearest.
int to_points(double mm, int dpi);

// The image of an area; at least one point each way.
image_format format_of(const area_mm &area, const page_settings &settings);

} // namespace virtual_scanner

#endif
