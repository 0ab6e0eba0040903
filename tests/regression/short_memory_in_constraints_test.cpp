// SPDX-License-Identifier: MIT
// When memory ran short while an option's range or conditions were copied out of its text, the option was described
// without them and kept so: an application could set any value, and the option was always active.
#include "option_device.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstdlib>
#include <string>

namespace {

// Allocations of cJSON until the one that fails.
int left = 0;

void *allocate(std::size_t size)
{
    return left-- == 0 ? nullptr : std::malloc(size);
}

class short_memory_in_constraints : public option_device {
protected:
    // Looks option 2 up while each allocation of the parser fails in turn, and once with enough memory; answers how
    // often there was a descriptor, and checks it.
    template <typename Check> int look_up_with_little_memory(Check check)
    {
        cJSON_Hooks hooks = {allocate, std::free};
        int times_described = 0;
        bool is_enough = false;
        for (int nth = 0; !is_enough; ++nth) {
            handle_ = open();
            cJSON_InitHooks(&hooks);
            left = nth;
            const SANE_Option_Descriptor *const found = descriptor(2);
            is_enough = left >= 0;
            cJSON_InitHooks(nullptr);
            if (found != nullptr) {
                ++times_described;
                check(*found);
            }
            sane_pelsane_close(handle_);
        }
        return times_described;
    }

    // Describes the option only when it is asked for: a device tells fewer options than it has.
    static void set_late_option(const std::string &description)
    {
        scripted::set_option(1, "size", R"({"type": "string", "size": 8, "cur": "A5"})");
        scripted::set_option(2, "late", description);
        scripted::set_option_count(2);
    }
};

} // namespace

TEST_F(short_memory_in_constraints, option_keeps_its_range_or_is_not_described)
{
    init();
    set_late_option(R"({"type": "int", "size": 4, "range": {"min": 1, "max": 9}, "cur": 2})");
    const int times_described = look_up_with_little_memory(
        [](const SANE_Option_Descriptor &found) { EXPECT_EQ(found.constraint_type, SANE_CONSTRAINT_RANGE); });
    EXPECT_EQ(times_described, 1);
}

TEST_F(short_memory_in_constraints, option_keeps_its_conditions_or_is_not_described)
{
    init();
    for (const char *const key : {"depend_or", "depend_and"}) {
        set_late_option(R"({"type": "int", "size": 4, "cur": 2, ")" + std::string(key) + R"(": ["size==A4"]})");
        const int times_described = look_up_with_little_memory([&](const SANE_Option_Descriptor &found) {
            EXPECT_EQ(set_text(1, "A5"), SANE_STATUS_GOOD);
            EXPECT_FALSE(SANE_OPTION_IS_ACTIVE(found.cap)) << key;
        });
        EXPECT_EQ(times_described, 1) << key;
    }
}
