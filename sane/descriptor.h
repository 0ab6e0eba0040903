// SPDX-License-Identifier: MIT
// Ownership of a SANE option descriptor with all that it points at.
#ifndef PELSANE_DESCRIPTOR_H
#define PELSANE_DESCRIPTOR_H

#include <sane/sane.h>

#include <memory>

struct descriptor_deleter {
    void operator()(SANE_Option_Descriptor *descriptor) const; // kx_sane_middleware::free_descriptor
};
using descriptor_ptr = std::unique_ptr<SANE_Option_Descriptor, descriptor_deleter>;

// An inactive option stays in the table; applications grey it out.
inline bool is_active(const SANE_Option_Descriptor &descriptor)
{
    return (descriptor.cap & SANE_CAP_INACTIVE) == 0;
}

inline void set_active(SANE_Option_Descriptor &descriptor, bool active)
{
    if (active)
        descriptor.cap &= ~SANE_CAP_INACTIVE;
    else
        descriptor.cap |= SANE_CAP_INACTIVE;
}

#endif
