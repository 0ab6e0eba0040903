// SPDX-License-Identifier: MIT
// The description of a virtual scanner, read from JSON; the format is described in virtual/README.md.
#ifndef PELSANE_VIRTUAL_PROFILE_H
#define PELSANE_VIRTUAL_PROFILE_H

#include "option.h"

#include <map>
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

struct feeder_properties {
    int sheets = 3;       // of the built-in document
    int page_time_ms = 0; // how long a page takes to pass; a stop ends the wait
};

struct paper_size {
    double width_mm;
    double height_mm;
    bool original; // the sheet's own size instead; width and height are those of the largest sheet
};

// Of the built-in document, and of a scanner without papers.
inline constexpr paper_size a4_paper{210, 297, false};

struct information_value {
    std::variant<std::string, long long> value;
    bool writable;
};

struct profile {
    device_identity device;
    feeder_properties feeder;
    std::map<std::string, paper_size> papers;
    std::map<std::string, information_value> information;
    std::vector<option_definition> options; // in the order of their numbers, from 1
};

// What is wrong with a profile: "file: place: reason".
struct profile_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The profile in the file that PELVIRTUAL_PROFILE names, else the built-in one. Throws profile_error.
profile load_profile();

// `file` is said in messages only. Throws profile_error.
profile parse_profile(std::string_view text, const std::string &file);

// The text of virtual/profiles/duplex_feeder.json.
extern const std::string_view builtin_profile;

} // namespace virtual_scanner

#endif
