// SPDX-License-Identifier: MIT
// The plainest of image files.
#ifndef PELSANE_VIRTUAL_RAW_PNM_H
#define PELSANE_VIRTUAL_RAW_PNM_H

#include "pix.h"

#include <string>

namespace virtual_scanner {

// The image of a PGM or PPM file of bytes (P5, P6, 0 to 255); null for any other and for one that is not whole, which
// are for Leptonica to read or to complain about.
pix_ptr read_raw_pnm(const std::string &path);

} // namespace virtual_scanner

#endif
