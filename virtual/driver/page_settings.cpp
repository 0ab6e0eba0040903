// SPDX-License-Identifier: MIT
// Options to page settings: the one place that knows which option acts how. Tested by driver_scanning_test.
#include "page_settings.h"

#include "feeder.h"
#include "option.h"
#include "option_store.h"
#include "profile.h"
#include "text_value.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace virtual_scanner {

namespace {

color_mode mode_of(const option_store &options)
{
    const std::string mode = options.acting_meaning(option_role::mode, "color");
    if (mode == "lineart")
        return color_mode::lineart;
    return mode == "gray" ? color_mode::gray : color_mode::color;
}

color_channel channel_of(const option_store &options)
{
    const std::string channel = options.acting_meaning(option_role::channel, "luminance");
    if (channel == "red")
        return color_channel::red;
    if (channel == "green")
        return color_channel::green;
    return channel == "blue" ? color_channel::blue : color_channel::luminance;
}

paper_size paper_of(const option_store &options, const profile &description)
{
    const auto found = description.papers.find(options.acting<text_value>(option_role::paper, ""));
    return found != description.papers.end() ? found->second : a4_paper;
}

area_mm area_of(const option_store &options, const paper_size &paper)
{
    if (!options.is_active(option_role::left))
        return {0, 0, paper.width_mm, paper.height_mm};
    const auto [left, right] = std::minmax(
        {options.acting<double>(option_role::left, 0), options.acting<double>(option_role::right, paper.width_mm)});
    const auto [top, bottom] = std::minmax(
        {options.acting<double>(option_role::top, 0), options.acting<double>(option_role::bottom, paper.height_mm)});
    return {left, top, right, bottom};
}

// Of both sides without blank ones the blank ones are dropped later.
sheet_sides sides_of(const std::string &meaning)
{
    if (meaning == "back")
        return sheet_sides::back;
    return meaning == "front" || meaning == "flatbed" ? sheet_sides::front : sheet_sides::both;
}

void read_job(const option_store &options, page_settings &settings)
{
    const std::string source = options.acting_meaning(option_role::source, "");
    const std::string sides = options.acting_meaning(option_role::sides, source.empty() ? "front" : source);
    settings.from_glass = source == "flatbed";
    settings.sides = sides_of(sides);
    settings.discard_blank = sides == "both-without-blank" || options.acting<bool>(option_role::discard_blank, false);
    settings.blank_limit = options.acting<int>(option_role::blank_limit, 20);
    settings.page_limit = options.acting_meaning(option_role::job, "all") == "counted"
                              ? options.acting<int>(option_role::page_limit, 0)
                              : 0;
}

// The lightest tones, which print of the other side has.
int light_limit_of(const option_store &options)
{
    if (!options.acting<bool>(option_role::show_through, false))
        return 255;
    const std::string level = options.acting_meaning(option_role::show_through_level, "medium");
    if (level == "weak")
        return 224;
    return level == "strong" ? 160 : 192;
}

sheet_mending mending_of(const option_store &options, int dpi)
{
    sheet_mending mending{};
    mending.straighten = options.acting<bool>(option_role::straighten, false);
    mending.erase_frame = options.acting<bool>(option_role::erase_frame, false);
    mending.shape = options.acting_meaning(option_role::frame_shape, "convex") == "concave" ? frame_shape::concave
                                                                                            : frame_shape::convex;
    mending.margin_mm = options.acting<int>(option_role::frame_margin, 0) * 25.4 / dpi;
    mending.fill_color = options.acting<bool>(option_role::fill_color, false);
    mending.fill_holes = options.acting<bool>(option_role::fill_holes, false);
    const int range = options.acting<int>(option_role::hole_range, 10);
    mending.holes = {options.acting<int>(option_role::hole_range_left, range),
                     options.acting<int>(option_role::hole_range_right, range), range};
    mending.correct_color = options.acting<bool>(option_role::correct_color, false);
    mending.erase_background = options.acting<bool>(option_role::erase_background, false);
    mending.background_range = options.acting<int>(option_role::background_range, 5);
    return mending;
}

point_filters filters_of(const option_store &options)
{
    point_filters filters{};
    const std::string sharpness = options.acting_meaning(option_role::sharpness, "none");
    if (sharpness == "sharpen")
        filters.sharpness = sharpness_step::sharpen;
    else if (sharpness == "sharpen-more")
        filters.sharpness = sharpness_step::sharpen_more;
    else if (sharpness == "soften")
        filters.sharpness = sharpness_step::soften;
    filters.remove_moire = options.acting<bool>(option_role::remove_moire, false);
    filters.remove_halftone = options.acting<bool>(option_role::remove_halftone, false);
    return filters;
}

binarization binarization_of(const option_store &options)
{
    constexpr int strong = 10;
    binarization result{};
    const std::string method = options.acting_meaning(option_role::binarization, "fixed");
    if (method != "fixed")
        result.method = method == "otsu" ? threshold_method::otsu : threshold_method::adaptive;
    result.threshold = options.acting<int>(option_role::threshold, 128);
    result.error_diffusion = options.acting<bool>(option_role::error_diffusion, false);
    if (options.acting<bool>(option_role::despeckle, false))
        result.speckle_size = options.acting<int>(option_role::speckle_size, 3);
    result.light_specks = options.acting<int>(option_role::speckle_strength, 1) > strong;
    return result;
}

sheet_checks checks_of(const option_store &options)
{
    return {options.acting<bool>(option_role::check_corners, false), options.acting<int>(option_role::corner_size, 0),
            options.acting<bool>(option_role::check_skew, false), options.acting<int>(option_role::skew_limit, 0),
            options.acting<bool>(option_role::check_staples, false)};
}

} // namespace

page_settings settings_of(const option_store &options, const profile &description)
{
    page_settings settings{};
    settings.mode = mode_of(options);
    settings.dpi = options.acting<int>(option_role::resolution, 200);
    settings.paper = paper_of(options, description);
    settings.area = area_of(options, settings.paper);
    settings.brightness = options.acting<int>(option_role::brightness, 0);
    settings.contrast = options.acting<int>(option_role::contrast, 0);
    settings.gamma = options.acting<double>(option_role::gamma, 1.0);
    settings.light_limit = light_limit_of(options);
    settings.black_white = binarization_of(options);
    settings.channel = channel_of(options);
    settings.invert = options.acting<bool>(option_role::invert, false);
    settings.rotate_back = options.acting<bool>(option_role::rotate_back, false);
    settings.mending = mending_of(options, settings.dpi);
    settings.filters = filters_of(options);
    settings.checks = checks_of(options);
    settings.dark_background = options.acting<bool>(option_role::dark_background, false);
    settings.wear = description.pages;
    read_job(options, settings);
    return settings;
}

int to_points(double mm, int dpi)
{
    return static_cast<int>(std::lround(mm * dpi / 25.4));
}

image_format format_of(const area_mm &area, const page_settings &settings)
{
    const int width = std::max(1, to_points(area.right - area.left, settings.dpi));
    const int height = std::max(1, to_points(area.bottom - area.top, settings.dpi));
    switch (settings.mode) {
    case color_mode::color:
        return {settings.mode, width, height, width * 3, 8};
    case color_mode::gray:
        return {settings.mode, width, height, width, 8};
    case color_mode::lineart:
        break;
    }
    return {settings.mode, width, height, (width + 7) / 8, 1};
}

} // namespace virtual_scanner
