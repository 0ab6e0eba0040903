// SPDX-License-Identifier: MIT
// The order of sides. Which sides are scanned may change from page to page, so it is asked each time.
#include "feeder.h"

#include "image_file.h"

#include <optional>
#include <string>
#include <utility>

namespace virtual_scanner {

void feeder::fill()
{
    last_ = {};
    is_back_to_come_ = false;
    next_file_ = 0;
    files_.clear();
    if (has_files())
        files_ = list_images(properties_.source.folder);
}

std::string feeder::source() const
{
    if (has_files())
        return "the folder " + properties_.source.folder + " has " + std::to_string(files_.size()) + " images";
    return "the built-in document has " + std::to_string(properties_.sheets) + " sheets";
}

std::optional<std::string> feeder::next_file()
{
    if (next_file_ == files_.size() && properties_.endless)
        next_file_ = 0;
    if (next_file_ == files_.size())
        return std::nullopt;
    return files_[next_file_++];
}

// Of the file that comes next, without taking it; empty when there is none.
std::string feeder::following_file() const
{
    if (next_file_ < files_.size())
        return files_[next_file_];
    return properties_.endless ? files_.front() : std::string();
}

std::optional<sheet_side> feeder::next(sheet_sides sides)
{
    const bool is_second = sides == sheet_sides::both && is_back_to_come_;
    sheet_side side;
    side.back = is_second || sides == sheet_sides::back;
    side.sheet = is_second ? last_.sheet : last_.sheet + 1;
    side.color = properties_.source.color;
    if (has_files()) {
        auto file = next_file();
        if (!file)
            return std::nullopt;
        side.file = std::move(*file);
        if (sides == sheet_sides::both)
            side.other_file = is_second ? last_.file : following_file();
    } else if (is_empty() || (side.sheet > properties_.sheets && !properties_.endless)) {
        return std::nullopt;
    }
    last_ = side;
    is_back_to_come_ = sides == sheet_sides::both && !side.back;
    return side;
}

void feeder::eject()
{
    if (is_back_to_come_ && has_files())
        next_file();
    is_back_to_come_ = false;
}

std::optional<sheet_side> sheet_on_glass(const sheet_source &source)
{
    feeder glass({source, 1, false});
    glass.fill();
    return glass.next(sheet_sides::front);
}

} // namespace virtual_scanner
