// SPDX-License-Identifier: MIT
// Greys to black and white.
#ifndef PELSANE_VIRTUAL_BINARIZATION_H
#define PELSANE_VIRTUAL_BINARIZATION_H

#include "page_settings.h"
#include "pix.h"

namespace virtual_scanner {

// Whether a comparison of each point with the threshold is all that is asked for.
bool is_plain(const binarization &settings);

// An image of 8 bits of grey to one of 1 bit, black 1. Throws pix_error.
pix_ptr binarize(Pix *gray, const binarization &settings, int dpi);

} // namespace virtual_scanner

#endif
