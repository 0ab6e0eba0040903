// SPDX-License-Identifier: MIT
// What kx_scanner_get_img_info fills in when it is asked for 48 bytes: the SANE_Parameters, then this scanner's own 24.
#ifndef PELSANE_VIRTUAL_IMAGE_INFO_H
#define PELSANE_VIRTUAL_IMAGE_INFO_H

#include <sane/sane.h>

#include <cstdint>

namespace virtual_scanner {

struct image_info {
    SANE_Parameters parameters;
    std::int32_t page;  // of the job, from 1; 0 while no page is under way, as are sheet and side
    std::int32_t sheet; // of the job, from 1
    std::int32_t side;  // 0 front, 1 back
    std::int32_t dpi;
    std::int32_t reserved[2];
};

static_assert(sizeof(SANE_Parameters) == 24 && sizeof(image_info) == 48);

} // namespace virtual_scanner

#endif
