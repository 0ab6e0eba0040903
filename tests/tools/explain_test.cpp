// SPDX-License-Identifier: MIT
// Why an option is greyed out, in words.
#include "inspect.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace inspect_test {
namespace {

using nlohmann::json;

class explain : public inspect_program {
protected:
    explain() { set_variable("PELVIRTUAL_PROFILES", PELSANE_PROFILE); }
};

TEST_F(explain, shows_the_condition_that_is_not_met)
{
    const outcome result = inspect({"explain", "scan-count"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, R"(scan-count (Pages to scan) is inactive.
It is active when this holds:

Condition                         Now                        Holds
scan-mode==Given number of pages  Until the feeder is empty  no

Nothing depends on it.
)");
}

TEST_F(explain, follows_masters_that_are_inactive_themselves)
{
    EXPECT_EQ(inspect({"explain", "anti-noise-level"}).output, R"(anti-noise-level (Noise level) is inactive.
It is active when all of these hold:

Condition                Now    Holds
noise-size>2             3      no, noise-size is inactive
is-noise-optimize==true  false  no, is-noise-optimize is inactive

noise-size is active when this holds:

Condition                Now    Holds
is-noise-optimize==true  false  no, is-noise-optimize is inactive

is-noise-optimize is active when this holds:

Condition      Now    Holds
mode==Lineart  Color  no

Nothing depends on it.
)");
}

TEST_F(explain, ends_where_options_depend_on_each_other)
{
    EXPECT_EQ(inspect({"explain", "search-hole-range-l", "--set", "search-hole-range-l=30", "--set",
                       "search-hole-range-r=30", "--set", "is-rid-hole=on"})
                  .output,
              R"(search-hole-range-l (Hole distance, left) is inactive.
It is active when one of these holds:

Condition                Now   Holds
is-rid-hole!=true        true  no
search-hole-range-r<=25  30    no, search-hole-range-r is inactive

search-hole-range-r is active when one of these holds:

Condition                Now   Holds
is-rid-hole!=true        true  no
search-hole-range-l<=25  30    no, search-hole-range-l is inactive

What depends on it:

Option               Condition                Active
search-hole-range-r  search-hole-range-l<=25  no
)");
}

TEST_F(explain, takes_identifiers_and_settings)
{
    const outcome result = inspect({"explain", "virtual:duplex-feeder", "34851", "--set", "mode=Lineart"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, R"(threshold (Threshold) is active.
It is active when this holds:

Condition      Now      Holds
mode==Lineart  Lineart  yes

Nothing depends on it.
)");
}

TEST_F(explain, lists_what_depends_on_an_option)
{
    EXPECT_EQ(inspect({"explain", "resolution"}).output, R"(resolution (Resolution) is active.
It has no conditions.

What depends on it:

Option       Condition                        Active
sharpen      resolution>=100, resolution<600  yes
is-rid-morr  resolution==[100,600]            yes
is-rid-grid  resolution!=[150,600]            no
)");
}

TEST_F(explain, knows_the_options_that_the_backend_adds)
{
    EXPECT_EQ(inspect({"explain", "page-width"}).output, R"(page-width (Page Width) is active.
It has no conditions.

Nothing depends on it.
)");
}

TEST_F(explain, says_the_same_to_scripts)
{
    const json document = json::parse(inspect({"explain", "--json", "bkg-color-range"}).output);
    EXPECT_EQ(document, json::parse(R"({"device": "virtual:duplex-feeder", "option": "bkg-color-range", "number": 35,
        "title": "Background tolerance", "active": false,
        "reasons": [{"option": "bkg-color-range", "rule": "any", "conditions": [
            {"master": "is-erase-bkg", "test": "==true", "value": "false", "state": "not-met"}]}],
        "ignored": [], "dependent": []})"));
}

TEST_F(explain, knows_no_other_options)
{
    expect_failure(inspect({"explain", "sharpness"}), 4, "there is no option \"sharpness\"");
}

} // namespace
} // namespace inspect_test
