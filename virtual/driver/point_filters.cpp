// SPDX-License-Identifier: MIT
// Filters over neighbouring points, at the page's own resolution: print's screens have a size on paper, so their
// windows grow with the resolution. Halftone dots go by a median, which keeps edges; a moire pattern is wider and goes
// by a mean. Tested by driver_mending_test.
#include "point_filters.h"

#include "page_settings.h"
#include "pix.h"

#include <algorithm>
#include <utility>

namespace virtual_scanner {

namespace {

// Of a mean over (2 n + 1) points each way.
int half_window(int dpi)
{
    constexpr int dpi_per_point = 200;
    return std::max(1, dpi / dpi_per_point);
}

pix_ptr sharpen(pix_ptr image, sharpness_step step)
{
    switch (step) {
    case sharpness_step::sharpen:
        return own(pixUnsharpMasking(image.get(), 2, 0.5F));
    case sharpness_step::sharpen_more:
        return own(pixUnsharpMasking(image.get(), 2, 1.2F));
    case sharpness_step::soften:
        return own(pixBlockconv(image.get(), 1, 1));
    case sharpness_step::none:
        break;
    }
    return image;
}

} // namespace

pix_ptr filter_points(pix_ptr image, const point_filters &filters, int dpi)
{
    const int half = half_window(dpi);
    if (filters.remove_halftone)
        image = own_with_room(3 * bytes_in_color(image.get()),
                              [&] { return pixMedianFilter(image.get(), 2 * half + 1, 2 * half + 1); });
    if (filters.remove_moire)
        image = own(pixBlockconv(image.get(), half, half));
    return sharpen(std::move(image), filters.sharpness);
}

} // namespace virtual_scanner
