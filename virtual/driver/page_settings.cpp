// SPDX-License-Identifier: MIT
// Options to page settings: the one place that knows which option acts how. Tested by driver_scanning_test.
#include "page_settings.h"

#include <algorithm>
#include <cmath>

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
    const auto found = description.papers.find(options.acting<std::string>(option_role::paper, ""));
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

void read_job(const option_store &options, page_settings &settings)
{
    const std::string sides = options.acting_meaning(option_role::sides, "front");
    settings.both_sides = sides != "front";
    settings.discard_blank = sides == "both-without-blank" || options.acting<bool>(option_role::discard_blank, false);
    settings.blank_limit = options.acting<int>(option_role::blank_limit, 20);
    settings.page_limit = options.acting_meaning(option_role::job, "all") == "counted"
                              ? options.acting<int>(option_role::page_limit, 0)
                              : 0;
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
    settings.threshold = options.acting<int>(option_role::threshold, 128);
    settings.channel = channel_of(options);
    settings.invert = options.acting<bool>(option_role::invert, false);
    settings.rotate_back = options.acting<bool>(option_role::rotate_back, false);
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
