// SPDX-License-Identifier: MIT
// Widths are counted in columns of a terminal, since option texts are often Chinese.
// Tested by tests/tools/output_test.cpp.
#include "text_table.h"

#include "output.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace inspect {

text_table::text_table(const std::vector<std::string> &headings)
{
    add_row(headings);
}

void text_table::add_row(const std::vector<std::string> &cells)
{
    std::vector<std::string> printed;
    std::transform(cells.begin(), cells.end(), std::back_inserter(printed), printable);
    lines_.push_back({std::move(printed), false});
}

void text_table::add_title(const std::string &title)
{
    lines_.push_back({{printable(title)}, true});
}

std::vector<std::size_t> text_table::widths() const
{
    std::vector<std::size_t> widths(lines_.front().cells.size());
    for (const line &each : lines_)
        for (std::size_t column = 0; !each.is_title && column < widths.size(); ++column)
            widths[column] = std::max(widths[column], columns_of(each.cells[column]));
    return widths;
}

std::string text_table::text() const
{
    const std::vector<std::size_t> column_widths = widths();
    std::string text;
    for (const line &each : lines_) {
        std::string printed;
        for (std::size_t column = 0; column < each.cells.size(); ++column) {
            const std::string &cell = each.cells[column];
            printed += cell;
            if (!each.is_title)
                printed.append(column_widths[column] - columns_of(cell) + 2, ' ');
        }
        printed.erase(printed.find_last_not_of(' ') + 1);
        text += printed + "\n";
    }
    return text;
}

} // namespace inspect
