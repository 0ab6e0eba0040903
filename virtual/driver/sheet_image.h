// SPDX-License-Identifier: MIT
// What a side of a sheet shows, before it is scanned.
#ifndef PELSANE_VIRTUAL_SHEET_IMAGE_H
#define PELSANE_VIRTUAL_SHEET_IMAGE_H

#include "feeder.h"
#include "page_settings.h"
#include "profile.h"
#include "worn_page.h"

namespace virtual_scanner {

struct sheet_image {
    measured_image content;
    paper_size paper; // of this sheet
};

// The side's image as the scanner sees it, with all its wear. Throws image_error for a file that cannot be read,
// pix_error for an image that cannot be made.
sheet_image load_sheet(const sheet_side &side, const page_settings &settings);

// The size of a sheet that shows one colour.
paper_size paper_of_plain_sheet(const page_settings &settings);

} // namespace virtual_scanner

#endif
