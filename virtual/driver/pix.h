// SPDX-License-Identifier: MIT
// An owned Leptonica image.
#ifndef PELSANE_VIRTUAL_PIX_H
#define PELSANE_VIRTUAL_PIX_H

#include <leptonica/allheaders.h>

#include <memory>
#include <new>

namespace virtual_scanner {

struct pix_deleter {
    void operator()(Pix *pix) const { pixDestroy(&pix); }
};

using pix_ptr = std::unique_ptr<Pix, pix_deleter>;

// Takes over what a Leptonica function made; its null means that memory is short.
inline pix_ptr own(Pix *pix)
{
    if (pix == nullptr)
        throw std::bad_alloc();
    return pix_ptr(pix);
}

} // namespace virtual_scanner

#endif
