// SPDX-License-Identifier: MIT
// An option's name is a key, too. When an option came back under its old name, its descriptor got a new copy of the
// name, and the key that had just been used for the look-up was gone.
#include "option_device.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

namespace {

constexpr const char *flag = R"({"type":"bool","size":4,"title":"Flag","cur":false})";

} // namespace

TEST_F(option_device, keeps_the_name_of_an_option_across_a_reload)
{
    open_with("flag", flag);
    const char *const name = descriptor(1)->name;
    scripted::change_language();
    EXPECT_EQ(name, descriptor(1)->name);
    EXPECT_STREQ("flag", name);
}

TEST_F(option_device, keeps_the_name_that_an_option_is_looked_up_with)
{
    open_with("flag", flag);
    const char *const name = descriptor(1)->name;
    scripted::remove_option(1);
    scripted::change_language();
    scripted::set_option(1, "flag", flag);
    const SANE_Option_Descriptor *const found = descriptor(name);
    ASSERT_NE(nullptr, found);
    EXPECT_EQ(name, found->name);
    SANE_Word value = 1;
    EXPECT_EQ(SANE_STATUS_GOOD, control(name, SANE_ACTION_GET_VALUE, &value));
    EXPECT_EQ(0, value);
}
