// SPDX-License-Identifier: MIT
// A sheet's wear against the limits that are set. A sheet on the glass passes no sensor. Tested by driver_mending_test.
#include "sheet_checks.h"

#include "feeder.h"
#include "page_settings.h"
#include "page_wear.h"

#include <cmath>
#include <string>

namespace virtual_scanner {

void check_sheet(const sheet_side &side, const page_settings &settings)
{
    if (!settings.wear || settings.from_glass)
        return;
    const page_wear &wear = *settings.wear;
    const std::string sheet = "sheet " + std::to_string(side.sheet);
    if (settings.checks.staples && is_stapled(wear, side))
        throw sheet_stopped(sheet + " is stapled");
    if (settings.checks.corners && folded_corner_of(wear, side) && wear.folded &&
        wear.folded->size_mm >= settings.checks.corner_mm)
        throw sheet_stopped(sheet + " has a folded corner");
    if (settings.checks.skew && std::abs(skew_of(wear, side)) > settings.checks.skew_degrees)
        throw sheet_stopped(sheet + " lies askew");
}

} // namespace virtual_scanner
