// SPDX-License-Identifier: MIT
// Seed, sheet and side in, wear out: the same for the same input, on every machine. What belongs to the sheet (skew,
// holes, corners) is the same on both sides, mirrored on the back; noise and dust are each side's own. Tested by
// driver_wear_test.
#include "page_wear.h"

#include "feeder.h"

#include <cstdint>
#include <optional>

namespace virtual_scanner {

namespace {

bool is_multiple(int sheet, int every)
{
    return every > 0 && sheet % every == 0;
}

sheet_edge mirrored(sheet_edge edge)
{
    if (edge == sheet_edge::left)
        return sheet_edge::right;
    return edge == sheet_edge::right ? sheet_edge::left : edge;
}

sheet_corner mirrored(sheet_corner corner)
{
    switch (corner) {
    case sheet_corner::top_left:
        return sheet_corner::top_right;
    case sheet_corner::top_right:
        return sheet_corner::top_left;
    case sheet_corner::bottom_left:
        return sheet_corner::bottom_right;
    case sheet_corner::bottom_right:
        break;
    }
    return sheet_corner::bottom_left;
}

} // namespace

// splitmix64: neighbouring seeds give unrelated rows.
std::uint64_t wear_numbers::next()
{
    state_ += 0x9e3779b97f4a7c15U;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9U;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111ebU;
    return mixed ^ (mixed >> 31);
}

wear_numbers numbers_of(const page_wear &wear, const sheet_side &side, wear_kind kind)
{
    const bool is_of_the_side = kind == wear_kind::noise || kind == wear_kind::dust;
    wear_numbers numbers(wear.seed);
    for (const auto part : {static_cast<std::uint64_t>(side.sheet), static_cast<std::uint64_t>(kind),
                            static_cast<std::uint64_t>(is_of_the_side && side.back)})
        numbers = wear_numbers(numbers.next() + part);
    return numbers;
}

double skew_of(const page_wear &wear, const sheet_side &side)
{
    const double front = (2 * numbers_of(wear, side, wear_kind::skew).next_share() - 1) * wear.skew_degrees;
    return side.back ? -front : front;
}

sheet_edge hole_edge_of(const page_wear &wear, const sheet_side &side)
{
    return side.back ? mirrored(wear.holes.side) : wear.holes.side;
}

std::optional<sheet_corner> folded_corner_of(const page_wear &wear, const sheet_side &side)
{
    if (!wear.folded || !is_multiple(side.sheet, wear.folded->every))
        return std::nullopt;
    const auto corner = static_cast<sheet_corner>(numbers_of(wear, side, wear_kind::corner).next() % 4);
    return side.back ? mirrored(corner) : corner;
}

bool is_blank_back(const page_wear &wear, const sheet_side &side)
{
    return side.back && is_multiple(side.sheet, wear.blank_backs);
}

bool is_stapled(const page_wear &wear, const sheet_side &side)
{
    return is_multiple(side.sheet, wear.staples);
}

} // namespace virtual_scanner
