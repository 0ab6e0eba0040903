// SPDX-License-Identifier: MIT
// The bytes of a page.
#ifndef PELSANE_VIRTUAL_PAGE_DATA_H
#define PELSANE_VIRTUAL_PAGE_DATA_H

#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace virtual_scanner {

// Memory for large blocks that are written once: it is left as it is, and in large pages where the system has them, so
// that neither a first write nor a read stumbles over every 4096 bytes.
template <typename Value> struct large_block_allocator {
    using value_type = Value;

    large_block_allocator() = default;
    template <typename Other> large_block_allocator(const large_block_allocator<Other> &) {}

    Value *allocate(std::size_t count)
    {
        void *block = ::operator new(count * sizeof(Value), alignment_of(count));
        if (is_large(count))
            madvise(block, count * sizeof(Value), MADV_HUGEPAGE);
        return static_cast<Value *>(block);
    }
    void deallocate(Value *block, std::size_t count) { ::operator delete(block, alignment_of(count)); }

    template <typename Other> void construct(Other *where) noexcept { ::new (static_cast<void *>(where)) Other; }
    template <typename Other, typename Argument> void construct(Other *where, const Argument &argument)
    {
        ::new (static_cast<void *>(where)) Other(argument);
    }

    friend bool operator==(const large_block_allocator &, const large_block_allocator &) { return true; }
    friend bool operator!=(const large_block_allocator &, const large_block_allocator &) { return false; }

private:
    static constexpr std::size_t large_page = std::size_t{2} << 20;
    static bool is_large(std::size_t count) { return count * sizeof(Value) >= 2 * large_page; }
    static std::align_val_t alignment_of(std::size_t count)
    {
        return std::align_val_t(is_large(count) ? large_page : alignof(std::max_align_t));
    }
};

using byte_block = std::vector<unsigned char, large_block_allocator<unsigned char>>;

// A block, or for a page that is the same all over a block again and again.
class page_data {
public:
    page_data() = default;
    explicit page_data(byte_block block) : block_(std::move(block)), size_(block_.size()) {}
    // `block` is not empty.
    page_data(byte_block block, std::size_t size) : block_(std::move(block)), size_(size) {}

    [[nodiscard]] std::size_t size() const { return size_; }

    // `first` + `count` is at most the size.
    void copy(std::size_t first, std::size_t count, void *out) const;

private:
    byte_block block_;
    std::size_t size_ = 0;
};

} // namespace virtual_scanner

#endif
