// SPDX-License-Identifier: MIT
// Points of a sheet's image to the bytes that are delivered.
#ifndef PELSANE_VIRTUAL_PAGE_PACKING_H
#define PELSANE_VIRTUAL_PAGE_PACKING_H

#include "page_data.h"
#include "page_settings.h"
#include "pix.h"

namespace virtual_scanner {

// The part of a sheet that makes a page, in points.
struct page_window {
    int left;
    int top;
    int paper_width;
    int paper_height;
};

// The image in the mode's depth: 32 bits for colour, else 8. Throws pix_error.
pix_ptr in_mode(pix_ptr image, const page_settings &settings);

// The bytes of a page: the image has the mode's depth and the paper's size, or a point less as Leptonica rounds. What
// of the window lies beyond the paper is white. Throws pix_error, std::bad_alloc.
byte_block pack(Pix *image, const page_window &window, const image_format &format, const page_settings &settings);

} // namespace virtual_scanner

#endif
