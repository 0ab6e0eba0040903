// SPDX-License-Identifier: MIT
// A file descriptor and who closes it.
#ifndef PELSANE_VIRTUAL_DESCRIPTOR_H
#define PELSANE_VIRTUAL_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace virtual_scanner {

class descriptor {
public:
    descriptor() = default;
    explicit descriptor(int number) : number_(number) {}
    ~descriptor() { close(); }
    descriptor(descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor &operator=(descriptor &&other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }

    void close()
    {
        if (number_ >= 0)
            ::close(std::exchange(number_, -1));
    }

    [[nodiscard]] int number() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_ = -1;
};

} // namespace virtual_scanner

#endif
