// SPDX-License-Identifier: MIT
// Memory for a value that has exactly the told size: it ends where an unreadable page begins, and another one stands in
// front. One byte too many, read or written, ends the process, under every compiler and without a sanitizer. For tests,
// fuzzers and whatever else reads and writes options as applications do; a buffer with some bytes to spare would hide
// what damages theirs.
#ifndef PELSANE_TESTS_GUARDED_MEMORY_H
#define PELSANE_TESTS_GUARDED_MEMORY_H

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

class guarded_memory {
public:
    // A size of 0 or less gives no byte at all, only an address. Throws std::bad_alloc. The address is as even as the
    // size is: words are aligned, a string begins anywhere, as in an application.
    explicit guarded_memory(long size, char filler = '\0')
        : size_(static_cast<std::size_t>(std::max(size, 0L))), pages_((size_ + page() - 1) / page()),
          start_(::mmap(nullptr, mapped(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (start_ == MAP_FAILED)
            throw std::bad_alloc();
        char *const first = static_cast<char *>(start_) + page();
        data_ = first + pages_ * page() - size_;
        if (pages_ == 0)
            return;
        if (::mprotect(first, pages_ * page(), PROT_READ | PROT_WRITE) != 0) {
            ::munmap(start_, mapped());
            throw std::bad_alloc();
        }
        std::memset(data_, filler, size_);
    }

    ~guarded_memory() { ::munmap(start_, mapped()); }
    guarded_memory(const guarded_memory &) = delete;
    guarded_memory &operator=(const guarded_memory &) = delete;

    // A string as an application puts it into an option's buffer: cut where its NUL would not fit, zeros behind it.
    static guarded_memory of_text(std::string_view text, long size) { return {size, text.substr(0, text_room(size))}; }
    // One that ends right behind its NUL, as saned has it, whatever the option's size is.
    static guarded_memory of_text(std::string_view text) { return {static_cast<long>(text.size()) + 1, text}; }
    static guarded_memory of_bytes(std::string_view bytes) { return {static_cast<long>(bytes.size()), bytes}; }
    template <typename Number> static guarded_memory of_number(Number number)
    {
        return of_bytes({reinterpret_cast<const char *>(&number), sizeof(number)});
    }
    static guarded_memory of_word(SANE_Word word) { return of_number(word); }

    [[nodiscard]] char *data() const { return data_; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] std::string bytes() const { return {data_, size_}; }

    // Up to the NUL. Without one, reading it as a C string would end the process, as an application's read would.
    [[nodiscard]] std::string text() const { return data_; }
    [[nodiscard]] bool is_terminated() const { return size_ != 0 && std::memchr(data_, '\0', size_) != nullptr; }

    [[nodiscard]] SANE_Word word() const
    {
        SANE_Word word = 0;
        std::memcpy(&word, data_, sizeof(word));
        return word;
    }

private:
    guarded_memory(long size, std::string_view content) : guarded_memory(size) { content.copy(data_, size_); }

    static std::size_t text_room(long size) { return size > 1 ? static_cast<std::size_t>(size) - 1 : 0; }
    static std::size_t page()
    {
        static const auto bytes = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
        return bytes;
    }
    [[nodiscard]] std::size_t mapped() const { return (pages_ + 2) * page(); }

    std::size_t size_;
    std::size_t pages_;
    void *start_;
    char *data_ = nullptr;
};

#endif
