// SPDX-License-Identifier: MIT
// What an option of the virtual scanner is: the definition that the profile gives, without its current value.
#ifndef PELSANE_VIRTUAL_OPTION_H
#define PELSANE_VIRTUAL_OPTION_H

#include "dependency.h"
#include "text_value.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace virtual_scanner {

enum class option_type { boolean, integer, real, text, button, group };

// monostate: a button or a group. Texts are words of the default language.
using option_value = std::variant<std::monostate, bool, int, double, text_value>;

// What an option means to the scanner; `none`: it is kept and shown, and nothing follows from it.
enum class option_role {
    none,
    mode,
    resolution,
    left,
    top,
    right,
    bottom,
    paper,
    sides,
    source,
    job,
    page_limit,
    brightness,
    contrast,
    gamma,
    threshold,
    channel,
    invert,
    binarization,
    error_diffusion,
    despeckle,
    speckle_size,
    speckle_strength,
    sharpness,
    remove_moire,
    remove_halftone,
    correct_color,
    erase_background,
    background_range,
    show_through,
    show_through_level,
    straighten,
    erase_frame,
    frame_shape,
    frame_margin,
    fill_color,
    fill_holes,
    hole_range,
    hole_range_left,
    hole_range_right,
    dark_background,
    check_corners,
    corner_size,
    check_skew,
    skew_limit,
    check_staples,
    rotate_back,
    discard_blank,
    blank_limit,
    language,
    restore
};

struct number_range {
    double min;
    double max;
    double step; // 0: any value between the bounds
};

using assignments = std::vector<std::pair<std::string, option_value>>;

struct option_definition {
    std::string name;
    option_type type = option_type::group;
    int title = 0; // word ids
    int desc = 0;
    int size = 0;
    std::string category;
    std::optional<number_range> bounds;
    std::vector<option_value> values; // the allowed values in order; empty: not listed
    bool automatic = true;
    bool readonly = false;
    bool affects_image = false; // setting it changes the image parameters
    std::optional<int> answer;  // to a setting taken over as it is, in place of what follows from the change
    std::optional<int> fix_id;
    option_value initial;
    std::optional<dependency> depends;
    option_role role = option_role::none;
    std::map<std::string, std::string> meanings; // of the listed words, as its role takes them
    std::map<std::string, assignments> sets;     // value as text: what is set along with it
};

// The number under which frontends know the option, 0 for none: its own "fix-id", else by its name.
int well_known_id(const option_definition &option);

// The value of an integer or a real option.
double as_number(const option_value &value);

// The value as the conditions of other options test it: "%d", "%f", "true" or "false", the word; empty for none.
std::string to_condition_text(const option_value &value);

} // namespace virtual_scanner

#endif
