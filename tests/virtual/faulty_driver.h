// SPDX-License-Identifier: MIT
// The virtual scanner with faults from the environment.
#ifndef PELSANE_TESTS_FAULTY_DRIVER_H
#define PELSANE_TESTS_FAULTY_DRIVER_H

#include "driver_fixture.h"
#include "kx_scanner.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <string>

namespace driver_test {

// The driver in use, in English, from construction to destruction.
class faulty_driver {
public:
    explicit faulty_driver(const std::string &faults) : faults_("PELVIRTUAL_FAULTS", faults.c_str())
    {
        langkit_set_language("en");
        EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    }
    ~faulty_driver() { EXPECT_EQ(0, kx_scanner_uninitialize()); }
    faulty_driver(const faulty_driver &) = delete;
    faulty_driver &operator=(const faulty_driver &) = delete;

private:
    environment_variable faults_;
};

struct small_scanner : scanner {
    small_scanner() { EXPECT_EQ(278, set("resolution", 75)); }
};

} // namespace driver_test

#endif
