// SPDX-License-Identifier: MIT
// Image files of a feed folder.
#ifndef PELSANE_VIRTUAL_IMAGE_FILE_H
#define PELSANE_VIRTUAL_IMAGE_FILE_H

#include "pix.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace virtual_scanner {

// "path: reason"
struct image_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Calls what makes images of a source, and turns its pix_error into an image_error. Throws std::bad_alloc, too.
template <typename Call> auto with_image_errors(const std::string &source, Call call)
{
    const collected_messages messages;
    expect_spare_memory();
    try {
        return call();
    } catch (const pix_error &) {
        throw image_error(source + ": " + messages.reason());
    }
}

// The PNG, JPEG, TIFF and PNM files (by extension) of a folder in the byte order of their names, regular files alone or
// links to these. Throws image_error
// when the folder cannot be read.
std::vector<std::string> list_images(const std::string &folder);

// The image with 8 bits of grey or 32 bits of colour, transparency laid over white. Throws image_error.
pix_ptr read_image(const std::string &path);

} // namespace virtual_scanner

#endif
