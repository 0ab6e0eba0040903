// SPDX-License-Identifier: MIT
// One line of the log, put together in memory of fixed size.
#ifndef PELSANE_COMMONLOG_LINE_H
#define PELSANE_COMMONLOG_LINE_H

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <string_view>

namespace commonlog {

// Lives on the stack; its functions neither allocate nor lock, so that a signal handler may log. What does not fit is
// cut, and the cut shows as "..." at the line's end.
class line {
public:
    void append(std::string_view text);

    // The moment in UTC, as in 2026-11-21T10:30:00.123Z. localtime_r would take the C library's time zone lock, which
    // the thread that a signal interrupted may hold.
    void append_time(const timespec &moment);

    // printf's way. A text that cannot be formatted is replaced by the format itself.
    void append_format(const char *format, va_list arguments) __attribute__((format(printf, 2, 0)));

    // Makes control characters harmless and adds the line end. The answer lives as long as the line, and is its last
    // use.
    [[nodiscard]] std::string_view finish();

private:
    void append_number(long value, int digits);
    void show_cut();
    void clean();

    // A write of this size reaches a pipe in one piece, whoever else writes to it.
    static constexpr std::size_t capacity = PIPE_BUF;
    static constexpr std::size_t text_capacity = capacity - 1;

    char buffer_[capacity]; // not cleared, for speed: what counts are the first length_ bytes
    std::size_t length_ = 0;
    bool is_cut_ = false;
};

} // namespace commonlog

#endif
