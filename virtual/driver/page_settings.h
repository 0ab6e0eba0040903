// SPDX-License-Identifier: MIT
// What the options mean for a page, and the size of the image that follows from it.
#ifndef PELSANE_VIRTUAL_PAGE_SETTINGS_H
#define PELSANE_VIRTUAL_PAGE_SETTINGS_H

#include "option_store.h"
#include "profile.h"

namespace virtual_scanner {

enum class color_mode { color, gray, lineart };
enum class color_channel { luminance, red, green, blue };

struct area_mm {
    double left;
    double top;
    double right;
    double bottom;
};

struct page_settings {
    color_mode mode;
    int dpi;
    paper_size paper;
    area_mm area; // ordered; the whole paper while the area options do not act
    int brightness;
    int contrast;
    double gamma;
    int threshold; // darker points are black
    color_channel channel;
    bool invert;
    bool rotate_back;
    bool both_sides;
    bool discard_blank;
    int blank_limit; // in 1/10000 of the page
    int page_limit;  // pages of a job, 0 for no limit
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
