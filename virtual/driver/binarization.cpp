// SPDX-License-Identifier: MIT
// The ways to black and white that look at more than one point: a threshold found from the page's greys, one for each
// neighbourhood, error diffusion; and specks taken out of the result. Tested by driver_mending_test.
#include "binarization.h"

#include "page_settings.h"
#include "pix.h"

#include <algorithm>
#include <cstddef>

namespace virtual_scanner {

namespace {

// One threshold for the page, at the valley between its dark and its light greys.
pix_ptr by_otsu(Pix *gray)
{
    constexpr l_float32 near_the_best = 0.1F;
    Pix *result = nullptr;
    pixOtsuAdaptiveThreshold(gray, std::max(16, pixGetWidth(gray)), std::max(16, pixGetHeight(gray)), 0, 0,
                             near_the_best, nullptr, &result);
    return own(result);
}

// A threshold from mean and spread of the greys within a few millimetres, in tiles that bound the memory.
pix_ptr by_neighbourhood(Pix *gray, int dpi)
{
    constexpr l_float32 spread_weight = 0.34F;
    const int smallest = std::min(pixGetWidth(gray), pixGetHeight(gray));
    const int half_window = std::min(std::max(4, dpi / 12), (smallest - 3) / 2 - 1);
    if (half_window < 2)
        return by_otsu(gray);
    const int tile = std::max(600, 2 * half_window + 4);
    const std::size_t of_a_tile = std::size_t{64} * static_cast<std::size_t>(tile) * static_cast<std::size_t>(tile);
    return own_with_room(bytes_in_color(gray) / 4 + of_a_tile, [&] {
        Pix *result = nullptr;
        pixSauvolaBinarizeTiled(gray, half_window, spread_weight, std::max(1, pixGetWidth(gray) / tile),
                                std::max(1, pixGetHeight(gray) / tile), nullptr, &result);
        return result;
    });
}

pix_ptr black_and_white(Pix *gray, const binarization &settings, int dpi)
{
    if (settings.error_diffusion)
        return own(pixDitherToBinary(gray));
    switch (settings.method) {
    case threshold_method::otsu:
        return by_otsu(gray);
    case threshold_method::adaptive:
        return by_neighbourhood(gray, dpi);
    case threshold_method::fixed:
        break;
    }
    return own(pixThresholdToBinary(gray, settings.threshold));
}

// Black specks that are at most `size` points wide and high.
pix_ptr without_specks(Pix *image, int size)
{
    return own(pixSelectBySize(image, size, size, 8, L_SELECT_IF_EITHER, L_SELECT_IF_GT, nullptr));
}

} // namespace

bool is_plain(const binarization &settings)
{
    return settings.method == threshold_method::fixed && !settings.error_diffusion && settings.speckle_size == 0;
}

pix_ptr binarize(Pix *gray, const binarization &settings, int dpi)
{
    pix_ptr result = black_and_white(gray, settings, dpi);
    if (settings.speckle_size == 0)
        return result;
    result = without_specks(result.get(), settings.speckle_size);
    if (!settings.light_specks)
        return result;
    const pix_ptr negative = own(pixInvert(nullptr, result.get()));
    return own(pixInvert(nullptr, without_specks(negative.get(), settings.speckle_size).get()));
}

} // namespace virtual_scanner
