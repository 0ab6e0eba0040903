// SPDX-License-Identifier: MIT
// The automatic document feeder: which side of which sheet comes next.
#ifndef PELSANE_VIRTUAL_FEEDER_H
#define PELSANE_VIRTUAL_FEEDER_H

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace virtual_scanner {

struct sheet_color {
    unsigned char red;
    unsigned char green;
    unsigned char blue;
};

// What sheets show: one colour, else the images of a folder, else (without its name) the built-in document.
struct sheet_source {
    std::optional<sheet_color> color;
    std::string folder;
};

struct sheet_side {
    int sheet = 0; // from 1
    bool back = false;
    std::string file;                 // without it and without a colour: the built-in document's
    std::optional<sheet_color> color; // all over the sheet
    std::string other_file;           // of its other side, when both are scanned
};

// Which sides of a sheet are scanned.
enum class sheet_sides { front, back, both };

struct feeder_properties {
    sheet_source source;
    int sheets = 3;       // but for a folder, which has its own number
    bool endless = false; // sheets that went through lie in it again
};

class feeder {
public:
    explicit feeder(feeder_properties properties) : properties_(std::move(properties)) {}

    // Puts all sheets in again; files are listed afresh. Throws image_error when the folder cannot be read.
    void fill();

    // Whether there is no sheet at all, and in words where the sheets come from.
    [[nodiscard]] bool is_empty() const { return has_files() ? files_.empty() : properties_.sheets == 0; }
    [[nodiscard]] std::string source() const;

    // The next side, none when the feeder is empty. With both sides a sheet's back follows its front, and every side
    // takes one file; the last sheet's back is left out when there is no file for it. A sheet that was fed for one side
    // alone has gone: its back does not follow when both sides are asked for later.
    std::optional<sheet_side> next(sheet_sides sides);

    // Puts the sheet at hand out: a back that was to follow does not.
    void eject();

private:
    bool has_files() const { return !properties_.source.color && !properties_.source.folder.empty(); }
    std::optional<std::string> next_file();
    std::string following_file() const;

    feeder_properties properties_;
    std::vector<std::string> files_;
    std::size_t next_file_ = 0;
    sheet_side last_;
    bool is_back_to_come_ = false; // the last side is a front, of a sheet fed for both
};

// The sheet that lies on the glass, again and again; none when the folder has no image. Throws image_error when the
// folder cannot be read.
std::optional<sheet_side> sheet_on_glass(const sheet_source &source);

} // namespace virtual_scanner

#endif
