// SPDX-License-Identifier: MIT
// What tests through the entry points start from: a fresh script, and a backend that is stopped again afterwards.
#ifndef PELSANE_TESTS_BACKEND_TEST_H
#define PELSANE_TESTS_BACKEND_TEST_H

#include "pauses.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

class backend_test : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        pauses::forget();
    }
    void TearDown() override { sane_pelsane_exit(); }

    static void init()
    {
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
        scripted::forget_record();
    }

    // Opens a device and forgets what that recorded.
    static SANE_Handle open(const char *name = "virtual:1")
    {
        SANE_Handle handle = nullptr;
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open(name, &handle));
        scripted::forget_record();
        return handle;
    }

    static SANE_Handle handle_of(std::uintptr_t value) { return reinterpret_cast<SANE_Handle>(value); }
};

using texts = std::vector<std::string>;

#endif
