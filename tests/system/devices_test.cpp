// SPDX-License-Identifier: MIT
// Several profiles, and profiles that guard their device, as a user of scanimage sees them.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <string>

namespace system_test {

class devices : public scanimage {
protected:
    // The folder of the shipped profiles.
    static std::string profiles()
    {
        const std::string duplex_feeder = PELSANE_PROFILE;
        return duplex_feeder.substr(0, duplex_feeder.rfind('/'));
    }
};

TEST_F(devices, are_all_listed)
{
    set_variable("PELVIRTUAL_PROFILES", profiles() + ":" + PELSANE_PROFILE);
    EXPECT_EQ("device `pelsane:virtual:duplex-feeder' is a Pelsane Virtual Duplex Feeder sheetfed scanner\n"
              "device `pelsane:virtual:flatbed-feeder' is a Pelsane Virtual Flatbed with Feeder flatbed scanner\n"
              "device `pelsane:virtual:large-format' is a Pelsane Virtual Large Format Feeder sheetfed scanner\n"
              "device `pelsane:virtual:simplex-feeder' is a Pelsane Virtual Simplex Feeder sheetfed scanner\n"
              "device `pelsane:virtual:duplex-feeder-2' is a Pelsane Virtual Duplex Feeder sheetfed scanner\n",
              run({"-L"}).output);
}

TEST_F(devices, have_the_sources_that_applications_look_for)
{
    set_variable("PELVIRTUAL_PROFILES", profiles());
    const outcome result = run({"-A", "-d", "pelsane:virtual:flatbed-feeder"});
    EXPECT_TRUE(contains(result.output, "--source auto|Flatbed|ADF Front|ADF Back|ADF Duplex [Flatbed]"))
        << result.output;
    EXPECT_TRUE(contains(result.output, "--mode auto|Color|Gray|Lineart [Color]")) << result.output;
    EXPECT_TRUE(contains(result.output, "--resolution auto||75|100|150|200|300|600dpi [150]")) << result.output;
}

TEST_F(devices, of_which_one_profile_is_broken_are_the_others)
{
    write_file("broken.json", "{}");
    set_variable("PELVIRTUAL_PROFILES", path("broken.json") + ":" + PELSANE_PROFILE);
    const outcome result = run({"-L"});
    EXPECT_EQ("device `pelsane:virtual:duplex-feeder' is a Pelsane Virtual Duplex Feeder sheetfed scanner\n",
              result.output);
}

TEST_F(devices, that_deny_access_say_so)
{
    use_profile_with("\"feeder\": {", "\"access\": \"denied\", \"feeder\": {");
    const outcome result = run({"-d", "pelsane:virtual:duplex-feeder", "--resolution", "75"});
    EXPECT_EQ(1, result.status);
    EXPECT_TRUE(contains(result.messages, "open of device pelsane:virtual:duplex-feeder failed: "
                                          "Access to resource has been denied"))
        << result.messages;
}

TEST_F(devices, that_ask_for_access_are_opened_when_nobody_refuses)
{
    use_profile_with("\"feeder\": {", "\"access\": \"asks-once\", \"feeder\": {");
    const outcome result = scan_batch({"-d", "pelsane:virtual:duplex-feeder", "--resolution", "75"});
    EXPECT_TRUE(contains(result.messages, "Batch terminated, 6 pages scanned")) << result.messages;
    EXPECT_EQ(6U, pages().size());
}

} // namespace system_test
