// SPDX-License-Identifier: MIT
// An owned Leptonica image, and what Leptonica says when it cannot make one.
#ifndef PELSANE_VIRTUAL_PIX_H
#define PELSANE_VIRTUAL_PIX_H

#include <leptonica/allheaders.h>

#include <array>
#include <cstddef>
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

// Throws std::bad_alloc where there is no room for this much and some megabytes more, for work that cannot be ended
// when it is short of memory.
void expect_spare_memory(std::size_t wanted = 0);

// While it lives, this thread's images are made of what expect_spare_memory has found, without another look.
class spare_memory_use {
public:
    spare_memory_use() noexcept;
    ~spare_memory_use();
    spare_memory_use(const spare_memory_use &) = delete;
    spare_memory_use &operator=(const spare_memory_use &) = delete;
};

// Takes over what a Leptonica function made that writes into images of its own unseen: there is room for `bytes`
// before.
template <typename Call> pix_ptr own_with_room(std::size_t bytes, Call call)
{
    expect_spare_memory(bytes);
    const spare_memory_use all_of_it;
    return own(call());
}

// Bytes of an image of this size in colour.
inline std::size_t bytes_in_color(Pix *image)
{
    return std::size_t{4} * static_cast<std::size_t>(pixGetWidth(image)) *
           static_cast<std::size_t>(pixGetHeight(image));
}

// Fills what of a rectangle lies in an image of 8 or 32 bits a point. Takes no memory, as a Leptonica box would.
void fill_rectangle(Pix *image, int x, int y, int width, int height, l_uint32 value);

// The points that are set in an image of one bit a point, and those of a rectangle within it. Takes no memory.
int count_points(Pix *image);
int count_points(Pix *image, int x, int y, int width, int height);

// Collects this thread's Leptonica messages for its own lifetime; they are printed otherwise.
class collected_messages {
public:
    collected_messages();
    ~collected_messages();
    collected_messages(const collected_messages &) = delete;
    collected_messages &operator=(const collected_messages &) = delete;

    // The first error, which is the closest to the cause; the others only name the callers. Without one the first
    // message.
    [[nodiscard]] std::string reason() const;

    // Called from within Leptonica, which knows no exceptions.
    void add(const char *text) noexcept;

private:
    friend void expect_no_error();

    std::array<char, 256> text_{}; // one line, cut
    bool has_error_ = false;
    collected_messages *outer_;
};

// Throws pix_error when a Leptonica function has failed since this thread's messages are collected, also where its
// caller made do without its result: then a line of text is missing, or a skew was not found.
void expect_no_error();

} // namespace virtual_scanner

#endif
