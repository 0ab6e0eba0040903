// SPDX-License-Identifier: MIT
// What the scanner mends on the image of a sheet before the page is made of it.
#ifndef PELSANE_VIRTUAL_PAGE_MENDING_H
#define PELSANE_VIRTUAL_PAGE_MENDING_H

#include "page_settings.h"
#include "worn_page.h"

namespace virtual_scanner {

// Erases the frame, straightens, fills holes and mends the paper's colour, as far as the settings ask for it. A frame
// and skew are looked for only where sheets can lie askew: `can_lie_askew`. Throws pix_error.
void mend_sheet(measured_image &sheet, const sheet_mending &mending, bool can_lie_askew);

} // namespace virtual_scanner

#endif
