// SPDX-License-Identifier: MIT
// Where a sheet lies in its image, and what is seen around it.
#ifndef PELSANE_VIRTUAL_SHEET_FRAME_H
#define PELSANE_VIRTUAL_SHEET_FRAME_H

#include "feeder.h"
#include "page_settings.h"
#include "pix.h"
#include "worn_page.h"

namespace virtual_scanner {

// Darker greys are print or what is seen behind the sheet.
inline constexpr int darker_than_paper = 96;

// A grey image of the sheet, small enough to look for things in: about 100 dpi, at least the image's own points.
struct sheet_overview {
    pix_ptr gray;
    int factor; // points of the image that a point of this one stands for, each way
};

sheet_overview overview_of(const measured_image &sheet);

// The colour that most of the sheet has.
sheet_color paper_color_of(const measured_image &sheet);

// Fills what is seen behind the sheet with a colour: everything beyond the sheet's convex outline, or all that is dark
// from the image's edge on and a strip of `margin_mm` along it.
void erase_frame(measured_image &sheet, frame_shape shape, double margin_mm, const sheet_color &color);

} // namespace virtual_scanner

#endif
