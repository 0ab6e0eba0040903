// SPDX-License-Identifier: MIT
// The order of sides. Whether both sides are scanned may change from page to page, so it is asked each time.
#include "feeder.h"

#include "image_file.h"

namespace virtual_scanner {

void feeder::fill()
{
    last_ = {};
    is_back_to_come_ = false;
    next_file_ = 0;
    files_.clear();
    if (!folder_.empty())
        files_ = list_images(folder_);
}

std::string feeder::source() const
{
    if (folder_.empty())
        return "the built-in document has " + std::to_string(sheets_) + " sheets";
    return "the folder " + folder_ + " has " + std::to_string(files_.size()) + " images";
}

std::optional<sheet_side> feeder::next(bool both_sides)
{
    sheet_side side;
    side.back = both_sides && is_back_to_come_;
    side.sheet = side.back ? last_.sheet : last_.sheet + 1;
    if (folder_.empty()) {
        if (side.sheet > sheets_)
            return std::nullopt;
    } else {
        if (next_file_ == files_.size())
            return std::nullopt;
        side.file = files_[next_file_++];
    }
    last_ = side;
    is_back_to_come_ = both_sides && !side.back;
    return side;
}

} // namespace virtual_scanner
