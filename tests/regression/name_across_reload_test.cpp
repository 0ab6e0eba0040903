// SPDX-License-Identifier: MIT
// A reload released the text of an option's name. scanimage parses its command line with these texts, and since it sets
// a value automatically without asking for info flags, it read the released ones.
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

namespace {

class name_across_reload : public option_device {};

} // namespace

TEST_F(name_across_reload, stays_where_it_is)
{
    open_with("resolution", R"({"type":"int","size":4,"auto":true,"default":75,"cur":100})");
    scripted::answer_write("resolution", 262);
    const char *const name = descriptor(1)->name;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(control(1, SANE_ACTION_SET_AUTO, nullptr), SANE_STATUS_GOOD);
        EXPECT_EQ(descriptor(1)->name, name);
        EXPECT_STREQ(name, "resolution");
    }
}
