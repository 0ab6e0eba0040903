// SPDX-License-Identifier: MIT
// What a profile says about the state of its sheets, and what of that a given sheet has.
#ifndef PELSANE_VIRTUAL_PAGE_WEAR_H
#define PELSANE_VIRTUAL_PAGE_WEAR_H

#include "feeder.h"

#include <cstdint>
#include <optional>

namespace virtual_scanner {

enum class sheet_edge { left, top, right, bottom };
enum class sheet_corner { top_left, top_right, bottom_left, bottom_right };

struct punched_holes {
    int count = 0;
    sheet_edge side = sheet_edge::left; // of the front
};

struct dog_ears {
    double size_mm = 0; // of the folded triangle's legs
    int every = 1;      // n: sheets n, 2n, 3n, ...
};

// New paper that lies straight, as long as nothing else is said.
struct page_wear {
    std::uint64_t seed = 0;
    double skew_degrees = 0; // at most, to either side
    punched_holes holes;
    int blank_backs = 0; // n: the backs of sheets n, 2n, 3n, ... are blank; 0: none
    int staples = 0;     // n: sheets n, 2n, 3n, ... are stapled; 0: none
    sheet_color background{255, 255, 255};
    double shine_through = 0; // 0 to 1: how dark black print of the other side is seen
    std::optional<dog_ears> folded;
    int noise = 0;   // grey levels to either side
    int dust = 0;    // specks a page
    int behind = 32; // grey of what lies behind the sheets
};

// A row of reproducible numbers.
class wear_numbers {
public:
    explicit wear_numbers(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next();

    // From 0 to 1, without 1.
    double next_share() { return static_cast<double>(next() >> 11) * 0x1p-53; }

private:
    std::uint64_t state_;
};

// The numbers of a sheet that decide about one kind of wear; those of other sheets and kinds are others.
enum class wear_kind { skew, corner, noise, dust };
wear_numbers numbers_of(const page_wear &wear, const sheet_side &side, wear_kind kind);

// Clockwise on the side at hand.
double skew_of(const page_wear &wear, const sheet_side &side);

// The edge with the holes and the folded corner as they are seen on the side at hand.
sheet_edge hole_edge_of(const page_wear &wear, const sheet_side &side);
std::optional<sheet_corner> folded_corner_of(const page_wear &wear, const sheet_side &side);

bool is_blank_back(const page_wear &wear, const sheet_side &side);
bool is_stapled(const page_wear &wear, const sheet_side &side);

} // namespace virtual_scanner

#endif
