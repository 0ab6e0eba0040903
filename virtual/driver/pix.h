// SPDX-License-Identifier: MIT
// An owned Leptonica image, and what Leptonica says when it cannot make one.
#ifndef PELSANE_VIRTUAL_PIX_H
#define PELSANE_VIRTUAL_PIX_H

#include <leptonica/allheaders.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace virtual_scanner {

struct pix_deleter {
    void operator()(Pix *pix) const { pixDestroy(&pix); }
};

using pix_ptr = std::unique_ptr<Pix, pix_deleter>;

// Leptonica could not make an image: the input is none or has no usable size, or memory is short. Its message tells.
struct pix_error : std::runtime_error {
    pix_error() : std::runtime_error("no image") {}
};

// Takes over what a Leptonica function made. Throws pix_error for its null.
inline pix_ptr own(Pix *pix)
{
    if (pix == nullptr)
        throw pix_error();
    return pix_ptr(pix);
}

// Collects this thread's Leptonica messages for its own lifetime; they are printed otherwise.
class collected_messages {
public:
    collected_messages();
    ~collected_messages();
    collected_messages(const collected_messages &) = delete;
    collected_messages &operator=(const collected_messages &) = delete;

    // The first message, which is the closest to the cause; the others only name the callers.
    [[nodiscard]] std::string reason() const;

    void add(const char *text);

private:
    std::string text_;
    collected_messages *outer_;
};

} // namespace virtual_scanner

#endif
