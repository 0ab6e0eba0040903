// SPDX-License-Identifier: MIT
// The document that lies in the feeder when no folder of files is given.
#ifndef PELSANE_VIRTUAL_BUILTIN_DOCUMENT_H
#define PELSANE_VIRTUAL_BUILTIN_DOCUMENT_H

#include "pix.h"

namespace virtual_scanner {

struct document_side {
    int sheet;
    bool back;
    double width_mm; // of the sheet; what is on it is drawn to fill it
    double height_mm;
};

// Draws a side in 32-bit colour: a frame, page number and side, a ramp of 16 greys (17 x k from left to right), eight
// colour bars (white, yellow, cyan, green, magenta, red, blue, black), a star and line groups.
pix_ptr draw_document(const document_side &side, int dpi);

} // namespace virtual_scanner

#endif
