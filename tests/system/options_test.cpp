// SPDX-License-Identifier: MIT
// What `scanimage -A` makes of the options: every one of them with its values, unit and state, in every surrounding.
#include "scanimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace system_test {

namespace {

// scanimage shows the right and bottom edges as the width and height of the area; "auto" stands first where an option
// can be set by the scanner (its own way to print a list of numbers then gives "auto||75").
const std::vector<std::string> option_lines{
    "--language 简体中文|English [English]",
    "--scan-mode auto|Until the feeder is empty|Given number of pages [Until the feeder is empty]",
    "--scan-count auto|1..500 (in steps of 1) [inactive]",
    "--page auto|Front side|Both sides|Both sides without blank pages [Both sides]",
    "--discardblank[=(auto|yes|no)] [no]",
    "--blank-sensitivity auto|1..100 (in steps of 1) [inactive]",
    "--is-rotate-bkg-180[=(auto|yes|no)] [no]",
    "--is-wait-scan[=(auto|yes|no)] [no] [advanced]",
    "--is-exchange[=(auto|yes|no)] [no] [advanced]",
    ("--paper auto|A3|8K|A4|A4 landscape|A5|A5 landscape|A6|A6 landscape|B4|B5|B5 landscape|B6|B6 "
     "landscape|16K|Original size [A4]"),
    "--is-custom-area[=(auto|yes|no)] [yes]",
    "-l auto|0..297mm [0]",
    "-t auto|0..420mm [0]",
    "-x auto|0..297mm [210]",
    "-y auto|0..420mm [297]",
    "--is-size-check[=(auto|yes|no)] [no] [advanced]",
    "--fold-type auto|Separate|Side by side|One above the other [Separate] [advanced]",
    "--is-split[=(auto|yes|no)] [no] [advanced]",
    "--mode auto|Color|Gray|Lineart [Color]",
    "--resolution auto||75|100|150|200|300|600dpi [200]",
    "--image-quality auto|Custom|Speed|Detail [Custom]",
    "--is-photo-mode[=(auto|yes|no)] [no]",
    "--brightness auto|-100..100 (in steps of 1) [0]",
    "--contrast auto|-100..100 (in steps of 1) [0]",
    "--is-custom-gamma[=(auto|yes|no)] [no]",
    "--gamma auto|0.0999908..5 [inactive]",
    "--threshold auto|0..255 (in steps of 1) [inactive]",
    "--reverse-bw[=(auto|yes|no)] [inactive]",
    "--filter auto|All colours|Drop red|Drop green|Drop blue [inactive]",
    "--sharpen auto|None|Sharpen|Sharpen more|Soften [None]",
    "--is-erase-bkg[=(auto|yes|no)] [no]",
    "--bkg-color-range auto|1..20 (in steps of 1) [inactive]",
    "--is-noise-optimize[=(auto|yes|no)] [inactive]",
    "--noise-size auto|1..50 (in steps of 1) [inactive]",
    "--anti-noise-level auto|1..20 (in steps of 1) [inactive]",
    "--color-correction[=(auto|yes|no)] [no] [advanced]",
    "--is-rid-morr[=(auto|yes|no)] [no]",
    "--is-rid-grid[=(auto|yes|no)] [inactive]",
    "--is-err-extension[=(auto|yes|no)] [inactive]",
    "--is-multiout[=(auto|yes|no)] [no] [advanced]",
    "--multiout-type auto|Colour and grey|Colour and black-and-white|Grey and black-and-white [inactive]",
    "--is-dark-sample[=(auto|yes|no)] [no] [advanced]",
    "--is-anti-permeate[=(auto|yes|no)] [no]",
    "--permeate-level auto|Weak|Medium|Strong [inactive]",
    "--is-anti-skew[=(auto|yes|no)] [yes]",
    "--is-erase-black-frame[=(auto|yes|no)] [yes]",
    "--bkg-fill-mode auto|Convex|Concave [Convex]",
    "--margin auto|2..30 (in steps of 1) [inactive]",
    "--is-fill-color[=(auto|yes|no)] [inactive]",
    "--is-rid-hole[=(auto|yes|no)] [no]",
    "--search-hole-range auto|1..50 (in steps of 1) [inactive]",
    "--search-hole-range-l auto|1..50 (in steps of 1) [10] [advanced]",
    "--search-hole-range-r auto|1..50 (in steps of 1) [10] [advanced]",
    "--is-ultrosonic[=(auto|yes|no)] [yes]",
    "--double-feed auto|Stop|Go on|Discard the page [Stop]",
    "--is-staple[=(auto|yes|no)] [no]",
    "--is-check-dog-ear[=(auto|yes|no)] [no]",
    "--dog-ear-size auto|5..50 (in steps of 1) [inactive]",
    "--is-check-askew[=(auto|yes|no)] [no]",
    "--askew-range auto|1..5 (in steps of 1) [inactive]",
    "--is-auto-strength[=(auto|yes|no)] [no] [advanced]",
    "--feed-strength-value auto|20..80 (in steps of 1) [inactive]",
    "--feed-strength auto|Weak|Normal|Strong [Normal] [advanced]",
    "--time-to-sleep auto|Never|Five minutes|Ten minutes|Half an hour|One hour [Never] [advanced]",
    "--is-lens-dirty[=(yes|no)] [no] [read-only]",
    "--token <string> [] [advanced]",
    "--clear-rollers [advanced]",
    "--restore-defaults",
};

std::vector<std::string> option_lines_of(const std::string &output)
{
    std::vector<std::string> options;
    for (const std::string &line : lines_of(output))
        if (line.rfind("    -", 0) == 0)
            options.push_back(line.substr(4));
    return options;
}

bool is_continuation(unsigned char byte)
{
    return (byte & 0xc0U) == 0x80U;
}

// Well-formed UTF-8 (as far as lengths go) without control characters but the line feed.
bool is_clean_text(const std::string &text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte < 0x20 && byte != '\n') || byte == 0x7f || is_continuation(byte) || byte >= 0xf8)
            return false;
        const std::size_t length = byte < 0x80 ? 1 : byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
        for (std::size_t next = 1; next < length; ++next)
            if (i + next >= text.size() || !is_continuation(static_cast<unsigned char>(text[i + next])))
                return false;
        i += length;
    }
    return true;
}

} // namespace

class options : public scanimage {
protected:
    outcome list(const arguments &settings = {}) const
    {
        arguments all{"-A", "-d", "pelsane:virtual:duplex-feeder"};
        all.insert(all.end(), settings.begin(), settings.end());
        outcome result = run(all);
        EXPECT_EQ(0, result.status) << result.messages;
        return result;
    }

    void expect_line(const outcome &result, const std::string &line) const
    {
        const auto lines = option_lines_of(result.output);
        EXPECT_NE(lines.end(), std::find(lines.begin(), lines.end(), line)) << line << "\n" << result.output;
    }
};

TEST_F(options, are_listed_with_values_units_and_states)
{
    EXPECT_EQ(option_lines, option_lines_of(list().output));
}

TEST_F(options, stand_in_their_groups)
{
    std::vector<std::string> groups;
    for (const std::string &line : lines_of(list().output))
        if (line.size() > 2 && line.rfind("  ", 0) == 0 && line[2] != ' ')
            groups.push_back(line);
    EXPECT_EQ((std::vector<std::string>{
                  "  Scan job:", "  Paper and area:", "  Image:", "  Edges and holes:", "  Feeder:", "  Service:"}),
              groups);
}

TEST_F(options, are_each_explained)
{
    const auto lines = lines_of(list().output);
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        if (lines[i].rfind("    -", 0) != 0)
            continue;
        EXPECT_TRUE(lines[i + 1].rfind("        ", 0) == 0 && lines[i + 1].size() > 10) << lines[i];
    }
}

TEST_F(options, are_clean_text_in_each_language)
{
    for (const char *language : {"en", "zh"}) {
        set_variable("PELLANG", language);
        const std::string text = list().output;
        EXPECT_TRUE(is_clean_text(text)) << text;
        EXPECT_FALSE(contains(text, "(null)")) << text;
        EXPECT_EQ(option_lines.size(), option_lines_of(text).size());
    }
}

TEST_F(options, speak_the_language_of_the_locale)
{
    set_variable("LC_ALL", "zh_CN.UTF-8");
    const outcome result = list();
    EXPECT_TRUE(contains(result.output, "\n  扫描作业:\n")) << result.output;
    expect_line(result, "--page auto|单面|双面|跳过空白页 [双面]");
}

TEST_F(options, are_the_same_under_a_locale_with_decimal_commas)
{
    set_variable("LOCPATH", PELSANE_LOCALES);
    set_variable("LC_ALL", "de_DE.UTF-8");
    EXPECT_EQ(option_lines, option_lines_of(list().output));
}

// The commas are the application's own, and show that the locale is in force; the numbers are the same ones.
TEST_F(options, have_the_same_numbers_in_an_application_with_decimal_commas)
{
    set_variable("LOCPATH", PELSANE_LOCALES);
    set_variable("LC_ALL", "de_DE.UTF-8");
    set_variable("LD_PRELOAD", PELSANE_PRELOADED " " PELSANE_LOCALIZED);
    const outcome result = list({"-l", "2,5", "-x", "100,5", "--is-custom-gamma=yes", "--gamma", "1,25"});
    expect_line(result, "-l auto|0..297mm [2,5]");
    expect_line(result, "-x auto|0..294,5mm [100,5]");
    expect_line(result, "--gamma auto|0,0999908..5 [1,25]");
    expect_line(result, "--resolution auto||75|100|150|200|300|600dpi [200]");
}

TEST_F(options, come_alive_with_those_that_they_depend_on)
{
    const outcome lineart = list({"--mode", "Lineart"});
    expect_line(lineart, "--threshold auto|0..255 (in steps of 1) [128]");
    expect_line(lineart, "--reverse-bw[=(auto|yes|no)] [no]");
    expect_line(lineart, "--filter auto|All colours|Drop red|Drop green|Drop blue [All colours]");
    expect_line(lineart, "--color-correction[=(auto|yes|no)] [inactive]");
    const outcome whole_sheet = list({"--is-custom-area=no"});
    expect_line(whole_sheet, "-l auto|0..297mm [inactive]");
    expect_line(whole_sheet, "-y auto|0..420mm [inactive]");
}

TEST_F(options, keep_what_was_set_before)
{
    const outcome result =
        list({"--resolution", "300", "--page", "Front side", "--brightness", "-20", "--token", "häß"});
    expect_line(result, "--resolution auto||75|100|150|200|300|600dpi [300]");
    expect_line(result, "--page auto|Front side|Both sides|Both sides without blank pages [Front side]");
    expect_line(result, "--brightness auto|-100..100 (in steps of 1) [-20]");
    expect_line(result, "--token <string> [häß] [advanced]");
}

TEST_F(options, go_back_to_their_defaults)
{
    const outcome result = list({"--resolution", "300", "--brightness", "7", "--restore-defaults"});
    EXPECT_EQ(option_lines, option_lines_of(result.output));
    expect_line(list({"--resolution", "300", "--resolution", "auto"}),
                "--resolution auto||75|100|150|200|300|600dpi [200]");
}

TEST_F(options, set_others_along)
{
    expect_line(list({"--image-quality", "Detail"}), "--resolution auto||75|100|150|200|300|600dpi [300]");
    const outcome photo = list({"--is-photo-mode=yes"});
    expect_line(photo, "--brightness auto|-100..100 (in steps of 1) [5]");
    expect_line(photo, "--contrast auto|-100..100 (in steps of 1) [10]");
}

TEST_F(options, refuse_a_value_that_is_not_allowed)
{
    const outcome result = run({"--dont-scan", "--mode", "Sepia"});
    EXPECT_NE(0, result.status);
    EXPECT_TRUE(contains(result.messages, "setting of option --mode failed (Invalid argument)")) << result.messages;
}

TEST_F(options, say_when_a_value_is_rounded)
{
    const outcome result = run({"--dont-scan", "--resolution", "123"});
    EXPECT_EQ(0, result.status);
    EXPECT_TRUE(contains(result.messages, "rounded value of resolution from 123 to 100")) << result.messages;
}

} // namespace system_test
