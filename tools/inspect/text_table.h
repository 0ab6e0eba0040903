// SPDX-License-Identifier: MIT
// Columns of text, as wide as what stands in them.
#ifndef PELSANE_INSPECT_TEXT_TABLE_H
#define PELSANE_INSPECT_TEXT_TABLE_H

#include <cstddef>
#include <string>
#include <vector>

namespace inspect {

class text_table {
public:
    explicit text_table(const std::vector<std::string> &headings);

    // As many cells as there are headings; they are made printable.
    void add_row(const std::vector<std::string> &cells);
    // A line of its own over the rows that follow.
    void add_title(const std::string &title);

    // Two spaces between columns, none at the end of a line.
    [[nodiscard]] std::string text() const;

private:
    struct line {
        std::vector<std::string> cells; // a title has one
        bool is_title;
    };

    [[nodiscard]] std::vector<std::size_t> widths() const;

    std::vector<line> lines_;
};

} // namespace inspect

#endif
