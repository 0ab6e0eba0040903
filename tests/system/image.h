// SPDX-License-Identifier: MIT
// Image files as an application of the pages would read them.
#ifndef PELSANE_TESTS_SYSTEM_IMAGE_H
#define PELSANE_TESTS_SYSTEM_IMAGE_H

#include <leptonica/allheaders.h>

#include <memory>
#include <ostream>
#include <string>

namespace system_test {

struct pix_deleter {
    void operator()(Pix *image) const { pixDestroy(&image); }
};
using pix_ptr = std::unique_ptr<Pix, pix_deleter>;

struct rgb {
    int red, green, blue;
    bool operator==(const rgb &other) const { return red == other.red && green == other.green && blue == other.blue; }
};
std::ostream &operator<<(std::ostream &out, const rgb &color);

constexpr rgb black{0, 0, 0};
constexpr rgb white{255, 255, 255};

// Null when the file cannot be read. PDF: the one page's embedded JPEG image.
pix_ptr read_image(const std::string &path);

// The point so many millimetres from the page's left and top edge, whatever the depth.
rgb color_at(Pix *image, double left_mm, double top_mm, double dpi);

// A new grey image file of the size of a small sheet.
void write_gray_image(const std::string &path, int gray);

} // namespace system_test

#endif
