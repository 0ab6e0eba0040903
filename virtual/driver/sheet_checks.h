// SPDX-License-Identifier: MIT
// The feeder's sensors for sheets that had better not go through.
#ifndef PELSANE_VIRTUAL_SHEET_CHECKS_H
#define PELSANE_VIRTUAL_SHEET_CHECKS_H

#include "feeder.h"
#include "page_settings.h"

#include <stdexcept>

namespace virtual_scanner {

// A sheet was stopped; says which and why.
struct sheet_stopped : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws sheet_stopped for a sheet that the settings ask to be stopped: by what the profile says of it, as a sensor in
// the paper path feels it, not by its image.
void check_sheet(const sheet_side &side, const page_settings &settings);

} // namespace virtual_scanner

#endif
