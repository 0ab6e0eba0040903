// SPDX-License-Identifier: MIT
// Sharpness, moire and halftone of a page.
#ifndef PELSANE_VIRTUAL_POINT_FILTERS_H
#define PELSANE_VIRTUAL_POINT_FILTERS_H

#include "page_settings.h"
#include "pix.h"

namespace virtual_scanner {

// An image of 8 bits of grey or 32 bits of colour with the page's resolution; without a filter the image itself.
// Throws pix_error.
pix_ptr filter_points(pix_ptr image, const point_filters &filters, int dpi);

} // namespace virtual_scanner

#endif
