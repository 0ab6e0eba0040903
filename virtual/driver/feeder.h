// SPDX-License-Identifier: MIT
// The automatic document feeder: which side of which sheet comes next.
#ifndef PELSANE_VIRTUAL_FEEDER_H
#define PELSANE_VIRTUAL_FEEDER_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace virtual_scanner {

struct sheet_side {
    int sheet = 0; // from 1
    bool back = false;
    std::string file; // empty: the built-in document's
};

class feeder {
public:
    // An empty folder name: the built-in document of `sheets` sheets.
    feeder(std::string folder, int sheets) : folder_(std::move(folder)), sheets_(sheets) {}

    // Puts all sheets in again; files are listed afresh. Throws image_error when the folder cannot be read.
    void fill();

    // Whether there is no sheet at all, and in words where the sheets come from.
    [[nodiscard]] bool is_empty() const { return folder_.empty() ? sheets_ == 0 : files_.empty(); }
    [[nodiscard]] std::string source() const;

    // The next side, none when the feeder is empty. With both sides a sheet's back follows its front, and every side
    // takes one file; the last sheet's back is left out when there is no file for it. A sheet that was fed for its
    // front alone has gone: its back does not follow when both sides are asked for later.
    std::optional<sheet_side> next(bool both_sides);

private:
    std::string folder_;
    int sheets_;
    std::vector<std::string> files_;
    std::size_t next_file_ = 0;
    sheet_side last_;
    bool is_back_to_come_ = false; // the last side is a front, of a sheet fed for both
};

} // namespace virtual_scanner

#endif
