// SPDX-License-Identifier: MIT
// Reads until the scanner says that the page ends. The parameters are checked before they are used, and what comes
// beyond the lines that they tell is left out; a page that ends early is as long as what came.
// Tested by tests/tools/scan_test.cpp.
#include "failure.h"
#include "interruption.h"
#include "page.h"
#include "sane_pelsane.h"
#include "scanner.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace inspect {

namespace {

constexpr SANE_Int read_size = 256 * 1024;
constexpr int most_points = 1 << 20; // each way

int samples_of(const SANE_Parameters &parameters)
{
    return parameters.format == SANE_FRAME_RGB ? 3 : 1;
}

bool is_supported(const SANE_Parameters &parameters)
{
    if (parameters.format == SANE_FRAME_RGB)
        return parameters.depth == 8;
    return parameters.format == SANE_FRAME_GRAY &&
           (parameters.depth == 1 || parameters.depth == 8 || parameters.depth == 16);
}

void require_usable(const SANE_Parameters &parameters)
{
    if (!is_supported(parameters))
        throw failure(exit_status::device_failed, "the scanner sends a kind of image that is not supported");
    const int points = parameters.pixels_per_line;
    const bool sensible = points > 0 && points <= most_points && parameters.lines <= most_points;
    if (!sensible || parameters.bytes_per_line < (points * samples_of(parameters) * parameters.depth + 7) / 8)
        throw failure(exit_status::device_failed, "the scanner's image parameters contradict each other");
}

void require_not_interrupted()
{
    if (interruption::happened())
        throw failure(exit_status::interrupted, "interrupted");
}

} // namespace

page read_page(const scanner &device, int dpi, const progress_listener &progress)
{
    SANE_Parameters parameters{};
    device.check(sane_pelsane_get_parameters(device.handle(), &parameters), "image parameters");
    require_usable(parameters);
    page scanned{parameters, parameters.lines, dpi, {}};
    const auto line = static_cast<std::size_t>(parameters.bytes_per_line);
    const std::size_t expected = line * static_cast<std::size_t>(std::max(parameters.lines, 0));
    std::vector<unsigned char> block(read_size);
    for (SANE_Status status = SANE_STATUS_GOOD; status != SANE_STATUS_EOF;) {
        SANE_Int length = 0;
        status = sane_pelsane_read(device.handle(), block.data(), read_size, &length);
        require_not_interrupted();
        if (status != SANE_STATUS_EOF)
            device.check(status, "reading the page");
        scanned.data.insert(scanned.data.end(), block.begin(), block.begin() + std::clamp(length, 0, read_size));
        if (scanned.data.size() > line * most_points)
            throw failure(exit_status::device_failed, "the scanner's page does not end");
        progress(expected > 0 ? std::min(1.0, double(scanned.data.size()) / double(expected)) : 0);
    }
    const auto lines = static_cast<int>(scanned.data.size() / line);
    scanned.parameters.lines = scanned.expected_lines < 0 ? lines : std::min(lines, scanned.expected_lines);
    if (scanned.parameters.lines == 0)
        throw failure(exit_status::device_failed, "the scanner sent a page without an image");
    return scanned;
}

} // namespace inspect
