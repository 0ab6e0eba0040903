// SPDX-License-Identifier: MIT
// Ownership of a SANE option descriptor with all that it points at, and what is read in it everywhere.
#ifndef PELSANE_DESCRIPTOR_H
#define PELSANE_DESCRIPTOR_H

#include <sane/sane.h>

#include <limits>
#include <memory>

struct descriptor_deleter {
    void operator()(SANE_Option_Descriptor *descriptor) const; // kx_sane_middleware::free_descriptor
};
using descriptor_ptr = std::unique_ptr<SANE_Option_Descriptor, descriptor_deleter>;

// The size of an option's value as the application was told it; no limit for what it knows nothing of.
inline int size_of(const SANE_Option_Descriptor *told)
{
    return told != nullptr ? told->size : std::numeric_limits<int>::max();
}

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
