// SPDX-License-Identifier: MIT
// Where lines go: standard error, or a file that is appended to.
#ifndef PELSANE_COMMONLOG_OUTPUT_H
#define PELSANE_COMMONLOG_OUTPUT_H

#include <initializer_list>
#include <string_view>

namespace commonlog {

class output {
public:
    // path null: standard error. A file that cannot be opened, or a pipe, is reported on standard error, with the
    // reason and once per process, and standard error is used instead.
    explicit output(const char *path);
    ~output();
    output(const output &) = delete;
    output &operator=(const output &) = delete;

    // One write for the whole line, so that lines of several threads and processes do not mix; more only when the
    // system took a part of it. What cannot be written is dropped: a log must not fail its application.
    void write(std::string_view line) const;

private:
    int file_; // negative: standard error
};

// The log's own word to the user, on standard error, whatever the level.
void complain(std::initializer_list<std::string_view> parts);

} // namespace commonlog

#endif
