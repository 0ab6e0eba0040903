// SPDX-License-Identifier: MIT
// The description of a virtual scanner, read from JSON; the format is described in virtual/README.md.
#ifndef PELSANE_VIRTUAL_PROFILE_H
#define PELSANE_VIRTUAL_PROFILE_H

#include "command.h"
#include "feeder.h"
#include "option.h"
#include "page_wear.h"
#include "text_value.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace virtual_scanner {

struct device_identity {
    std::string name; // at most 255 bytes each
    std::string vendor;
    std::string model;
    std::string type;
};

// How a device answers when it is opened.
enum class access_rule { open, asks_once, denied };

struct paper_size {
    double width_mm;
    double height_mm;
    bool original; // the sheet's own size instead; width and height are those of the largest sheet
};

// Of the built-in document, and of a scanner without papers.
inline constexpr paper_size a4_paper{210, 297, false};

struct information_value {
    std::variant<text_value, long long> value;
    bool writable;
};

struct profile {
    device_identity device;
    access_rule access = access_rule::open;
    double pages_per_minute = 0; // 0: as fast as it can
    feeder_properties feeder;
    sheet_source glass;
    std::optional<page_wear> pages; // none: sheets that are new, straight and as large as the scanned area
    std::map<std::string, paper_size> papers;
    std::map<std::string, information_value> information;
    std::vector<command> faults;            // the device begins with them
    std::vector<option_definition> options; // in the order of their numbers, from 1
};

// What is wrong with a profile: "file: place: reason".
struct profile_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The text of a profile's file. Throws profile_error.
std::string read_profile_file(const std::string &path);

// `file` is said in messages, and folders that the profile names start at its folder. Throws profile_error.
profile parse_profile(std::string_view text, const std::string &file);

// The text of virtual/profiles/duplex_feeder.json.
extern const std::string_view builtin_profile;

} // namespace virtual_scanner

#endif
