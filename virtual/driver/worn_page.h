// SPDX-License-Identifier: MIT
// What the state of a sheet does to its image.
#ifndef PELSANE_VIRTUAL_WORN_PAGE_H
#define PELSANE_VIRTUAL_WORN_PAGE_H

#include "feeder.h"
#include "page_wear.h"
#include "pix.h"

namespace virtual_scanner {

// An image of 8 bits of grey or 32 bits of colour, and how many of its points make a millimetre.
struct measured_image {
    pix_ptr image;
    double across;
    double down;

    [[nodiscard]] int x(double mm) const;
    [[nodiscard]] int y(double mm) const;
    [[nodiscard]] int width() const { return pixGetWidth(image.get()); }
    [[nodiscard]] int height() const { return pixGetHeight(image.get()); }
};

// How light a colour is, from 0 to 255.
double luminance_of(const sheet_color &color);

// The value of a colour in an image of this depth.
l_uint32 color_in(Pix *image, const sheet_color &color);

// Fills the ellipse around a point; `radius_mm` is measured on the sheet.
void fill_disc(measured_image &sheet, double x, double y, double radius_mm, l_uint32 value);

// Turns the image clockwise around its middle; what comes in at the corners has the value. Throws pix_error.
void turn(measured_image &sheet, double degrees, l_uint32 value);

// Gives the image the tint, print that shines through, dust, holes, folds and skew of its side. `behind` is the grey
// that is seen past the sheet; `other_side` is null where nothing shines through. Throws pix_error.
void wear_out(measured_image &sheet, const page_wear &wear, const sheet_side &side, int behind, Pix *other_side);

} // namespace virtual_scanner

#endif
