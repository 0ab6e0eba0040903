// SPDX-License-Identifier: MIT
// A scanned page as it is delivered.
#ifndef PELSANE_VIRTUAL_PAGE_H
#define PELSANE_VIRTUAL_PAGE_H

#include "feeder.h"
#include "page_data.h"
#include "page_settings.h"

#include <optional>

namespace virtual_scanner {

struct page {
    image_format format;
    sheet_side side;
    int dpi;
    page_data data; // lines x bytes_per_line
};

// Scans a side; none when blank pages are discarded and this is one. Throws image_error for a file that cannot be
// read and for an image that cannot be made to a page, sheet_stopped, std::bad_alloc.
std::optional<page> scan_side(const sheet_side &side, const page_settings &settings);

} // namespace virtual_scanner

#endif
