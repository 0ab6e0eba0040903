// SPDX-License-Identifier: MIT
// A scanned page, from the scanner's lines to a file.
#ifndef PELSANE_INSPECT_PAGE_H
#define PELSANE_INSPECT_PAGE_H

#include "scanner.h"

#include <sane/sane.h>

#include <functional>
#include <string>
#include <vector>

namespace inspect {

enum class file_format { png, tiff, pnm };

// By a word ("png") or the ending of a file's name; throws failure for any other.
[[nodiscard]] file_format format_named(const std::string &word);
[[nodiscard]] file_format format_of_file(const std::string &path);

struct page {
    SANE_Parameters parameters; // lines: as many as there are
    int expected_lines;         // as the scanner told before; negative when it did not
    int dpi;                    // 0 when it is not known
    std::vector<unsigned char> data;
};

// Is told the share of the page that has come, 0 to 1; 0 as long as the length is not known.
using progress_listener = std::function<void(double)>;

// Reads a page that was started. Throws failure; one with exit_status::interrupted after a cancel.
[[nodiscard]] page read_page(const scanner &device, int dpi, const progress_listener &progress);

// Writes the page under the name, whole or not at all. Throws failure.
void write_page(const page &scanned, const std::string &path, file_format format);

} // namespace inspect

#endif
