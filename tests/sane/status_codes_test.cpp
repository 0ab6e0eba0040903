// SPDX-License-Identifier: MIT
// Driver codes to statuses and back, as they show at the entry points.
#include "backend_test.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <utility>

namespace {

class status_codes : public backend_test {};

} // namespace

TEST_F(status_codes, driver_codes_become_statuses)
{
    const std::pair<int, SANE_Status> cases[] = {
        {0, SANE_STATUS_GOOD},
        {256, SANE_STATUS_INVAL},
        {258, SANE_STATUS_NO_MEM},
        {259, SANE_STATUS_ACCESS_DENIED},
        {260, SANE_STATUS_GOOD},
        {261, SANE_STATUS_GOOD},
        {262, SANE_STATUS_GOOD},
        {266, SANE_STATUS_EOF},
        {268, SANE_STATUS_INVAL},
        {269, SANE_STATUS_IO_ERROR},
        {270, SANE_STATUS_IO_ERROR},
        {277, SANE_STATUS_GOOD},
        {278, SANE_STATUS_GOOD},
        {56833, SANE_STATUS_UNSUPPORTED},
        {56834, SANE_STATUS_DEVICE_BUSY},
        {56838, SANE_STATUS_COVER_OPEN},
        {56839, SANE_STATUS_NO_DOCS},
        {56842, SANE_STATUS_JAMMED},
    };
    init();
    const SANE_Handle device = open();
    for (const auto &[code, status] : cases) {
        scripted::answer("kx_scanner_start", code, 1);
        EXPECT_EQ(status, sane_pelsane_start(device)) << code;
    }
}

TEST_F(status_codes, unknown_driver_codes_pass_through)
{
    init();
    const SANE_Handle device = open();
    for (const int code : {-1, 2, 12, 255, 257, 263, 265, 267, 271, 276, 279, 56832, 56835, 56837, 56840, 56843}) {
        scripted::answer("kx_scanner_start", code, 1);
        EXPECT_EQ(code, sane_pelsane_start(device));
    }
}

TEST_F(status_codes, statuses_become_driver_codes_for_their_texts)
{
    const std::pair<int, std::string> cases[] = {
        {0, "error 0"},    {1, "error 56833"}, {2, "error 2"},     {3, "error 56834"}, {4, "error 256"},
        {5, "error 266"},  {6, "error 56842"}, {7, "error 56839"}, {8, "error 56838"}, {9, "error 269"},
        {10, "error 258"}, {11, "error 259"},  {12, "error 12"},   {-1, "error -1"},   {276, "error 276"},
    };
    for (const auto &[status, text] : cases) {
        EXPECT_EQ(text, sane_pelsane_err_desc(static_cast<SANE_Status>(status)));
        EXPECT_EQ(text, sane_pelsane_strstatus(static_cast<SANE_Status>(status)));
    }
}
