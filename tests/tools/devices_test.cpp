// SPDX-License-Identifier: MIT
// The list of scanners, and which one is meant.
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace inspect_test {
namespace {

class devices : public inspect_program {};

TEST_F(devices, are_listed_with_the_versions)
{
    const outcome result = inspect({"devices"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "Backend pelsane 1.0.24289, driver 1.0.0.0\n"
                             "\n"
                             "Device      Vendor   Model  Type\n"
                             "test:small  Pelsane  Small  sheetfed scanner\n");
    EXPECT_EQ(result.messages, "");
}

TEST_F(devices, are_listed_for_scripts)
{
    EXPECT_EQ(inspect({"devices", "--json"}).output, R"({
  "backend": "1.0.24289",
  "driver": "1.0.0.0",
  "devices": [
    {
      "name": "test:small",
      "vendor": "Pelsane",
      "model": "Small",
      "type": "sheetfed scanner"
    }
  ]
}
)");
}

TEST_F(devices, none_is_a_status_of_its_own)
{
    std::filesystem::create_directory(path("nothing"));
    set_variable("PELVIRTUAL_PROFILES", path("nothing"));
    const outcome result = inspect({"devices"});
    expect_failure(result, 3, "no scanner was found");
    EXPECT_EQ(result.output, "Backend pelsane 1.0.24289, driver 1.0.0.0\n");
    expect_failure(inspect({"options"}), 3, "no scanner was found");
}

TEST_F(devices, none_is_an_empty_list_for_scripts)
{
    std::filesystem::create_directory(path("nothing"));
    set_variable("PELVIRTUAL_PROFILES", path("nothing"));
    const outcome result = inspect({"devices", "--json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(system_test::contains(result.output, "\"devices\": []"));
}

TEST_F(devices, one_is_meant_by_each_of_its_names)
{
    EXPECT_EQ(inspect({"get", "resolution"}).output, "75\n");
    EXPECT_EQ(inspect({"get", "test:small", "resolution"}).output, "75\n");
    EXPECT_EQ(inspect({"get", "pelsane:test:small", "resolution"}).output, "75\n");
}

TEST_F(devices, one_that_is_not_listed_is_refused)
{
    expect_failure(inspect({"get", "test:large", "resolution"}), 3, "there is no scanner \"test:large\"");
}

TEST_F(devices, several_have_to_be_told_apart)
{
    set_variable("PELVIRTUAL_PROFILES", std::string(PELSANE_SMALL_SCANNER) + ":" + PELSANE_SMALL_SCANNER);
    expect_failure(inspect({"get", "resolution"}), 2,
                   "there are several scanners, name one of them: test:small, test:small-2");
    EXPECT_EQ(inspect({"get", "test:small-2", "resolution"}).output, "75\n");
}

} // namespace
} // namespace inspect_test
