// SPDX-License-Identifier: MIT
// A scanner made of a captured profile shows what the captured one showed.
#include "backend.h"
#include "capture.h"
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace inspect_test {
namespace {

using nlohmann::json;

class capture : public inspect_program {
protected:
    [[nodiscard]] std::string shown_by(const std::string &command, const std::string &device) const
    {
        const outcome result = inspect({command, device});
        EXPECT_EQ(result.status, 0) << result.messages;
        return result.output;
    }

    // What the commands print of a scanner, and then of the one made of its capture, is the same.
    void expect_same_after_capture(const std::string &device)
    {
        set_variable("PELVIRTUAL_PROFILES", PELSANE_PROFILES);
        const std::vector<std::string> commands{"options", "graph", "lint"};
        std::vector<std::string> original;
        original.reserve(commands.size());
        for (const std::string &command : commands)
            original.push_back(shown_by(command, device));
        const outcome captured = inspect({"capture", device, "-o", path("captured.json")});
        EXPECT_EQ(captured.status, 0);
        EXPECT_EQ(captured.messages, "");
        set_variable("PELVIRTUAL_PROFILES", path("captured.json"));
        for (std::size_t at = 0; at < commands.size(); ++at)
            EXPECT_EQ(shown_by(commands[at], device), original[at]);
    }

    [[nodiscard]] json captured_option(const std::string &name) const
    {
        const json profile = json::parse(inspect({"capture"}).output);
        for (const json &option : profile["options"])
            if (option["name"] == name)
                return option;
        return nullptr;
    }
};

TEST_F(capture, of_the_duplex_feeder_shows_the_same)
{
    expect_same_after_capture("virtual:duplex-feeder");
}

TEST_F(capture, of_the_simplex_feeder_shows_the_same)
{
    expect_same_after_capture("virtual:simplex-feeder");
}

TEST_F(capture, of_the_flatbed_shows_the_same)
{
    expect_same_after_capture("virtual:flatbed-feeder");
}

TEST_F(capture, of_the_large_format_scanner_shows_the_same)
{
    expect_same_after_capture("virtual:large-format");
}

TEST_F(capture, shows_the_same_in_the_drivers_own_language)
{
    set_variable("PELLANG", "zh");
    expect_same_after_capture("virtual:duplex-feeder");
}

TEST_F(capture, holds_what_can_be_seen_of_the_scanner)
{
    const outcome result = inspect({"capture"});
    EXPECT_EQ(result.status, 0);
    const json profile = json::parse(result.output);
    EXPECT_EQ(profile["device"],
              json({{"name", "test:small"}, {"vendor", "Pelsane"}, {"model", "Small"}, {"type", "sheetfed scanner"}}));
    EXPECT_EQ(profile["papers"],
              json::parse(R"({"A4": {"width": 210, "height": 297}, "A6": {"width": 105, "height": 148}})"));
    EXPECT_EQ(profile["information"],
              json::parse(R"({"total-cnt": {"value": 12}, "dev-sn": {"value": "S1"}, "free-buf": {"value": 67108864},
                              "original-image": {"value": 1, "writable": true}})"));
    EXPECT_EQ(profile["options"].size(), 11U);
}

TEST_F(capture, writes_options_in_the_words_of_the_language)
{
    EXPECT_EQ(captured_option("page"),
              json::parse(R"({"name": "page", "type": "string", "title": 1005, "desc": 2005, "size": 16,
                  "range": ["Front side", "Both sides"], "default": "Front side", "image": true, "means": "sides",
                  "meanings": {"Front side": "front", "Both sides": "both"}})"));
    EXPECT_EQ(captured_option("gamma"), json::parse(R"({"name": "gamma", "type": "float", "title": 1029, "desc": 2029,
                  "range": {"min": 0.5, "max": 2.5, "step": 0.25}, "default": 1.0, "cat": "advanced",
                  "means": "gamma"})"));
    EXPECT_EQ(captured_option("threshold"),
              json::parse(R"({"name": "threshold", "type": "int", "title": 1030, "desc": 2030,
                  "range": {"min": 0, "max": 255, "step": 1}, "default": 128, "readonly": true,
                  "depend_or": ["mode==Lineart"], "means": "threshold"})"));
    EXPECT_EQ(captured_option("clear-rollers"),
              json::parse(R"({"name": "clear-rollers", "type": "button", "title": 1073, "desc": 2073,
                  "cat": "advanced", "fix-id": 34960})"));
}

TEST_F(capture, scans_like_the_original)
{
    EXPECT_EQ(inspect({"capture", "-o", path("captured.json")}).status, 0);
    set_variable("PELVIRTUAL_PROFILES", path("captured.json"));
    const outcome result = inspect({"scan", "-o", path("page.png"), "--set", "mode=Gray", "--set", "resolution=75"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(system_test::read_file(path("page.png")).substr(1, 3), "PNG");
}

TEST_F(capture, tells_what_the_profile_does_not_say)
{
    set_variable("PELVIRTUAL_FAULTS", "garbage(gamma) as broken");
    const outcome result = inspect({"capture", "-o", path("captured.json")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.messages, "pelsane-inspect: not captured: option 9 cannot be read: it is missing, and those after "
                               "it have other numbers\n");
    EXPECT_EQ(json::parse(system_test::read_file(path("captured.json")))["options"].size(), 10U);
}

TEST_F(capture, leaves_out_what_identifies_a_scanner_when_asked_to)
{
    const json profile = json::parse(inspect({"capture", "--anonymous"}).output);
    EXPECT_EQ(profile["information"], json::parse(R"({"total-cnt": {"value": 12}, "free-buf": {"value": 67108864},
                              "original-image": {"value": 1, "writable": true}})"));
}

TEST_F(capture, writes_titles_and_descriptions_as_a_catalogue)
{
    EXPECT_EQ(inspect({"capture", "-o", path("captured.json"), "--catalogue", path("texts.json")}).status, 0);
    const json catalogue = json::parse(system_test::read_file(path("texts.json")));
    EXPECT_EQ(catalogue["language"], "en");
    EXPECT_EQ(catalogue["words"]["1022"], "Colour mode");
    EXPECT_EQ(catalogue["words"]["2029"], "Above 1 lightens, below 1 darkens the middle tones");
}

TEST_F(capture, leaves_no_file_where_it_cannot_be_written)
{
    expect_failure(inspect({"capture", "-o", path("missing/captured.json")}), 10,
                   path("missing/captured.json") + ": No such file or directory");
}

// The option that is made of a text, and what is said of it, of a driver that contradicts itself.
inspect::captured_options captured_from(const std::string &name, const std::string &description)
{
    const inspect::backend sane;
    return inspect::capture_options({{1, name, description}});
}

TEST(captured_options, have_no_bounds_of_texts)
{
    const auto captured = captured_from("mode", R"({"type": "string", "size": 16, "default": "Gray",
        "range": {"min": "Color", "max": "Lineart"}})");
    EXPECT_EQ(captured.options[0]["range"], inspect::json_value({"Color", "Lineart"}));
    EXPECT_EQ(captured.losses, std::vector<std::string>{"mode: its default is not allowed: \"Color\" instead"});
}

TEST(captured_options, tell_losses_of_texts_that_are_no_text)
{
    const auto captured = captured_from("mode", "{\"type\": \"string\", \"size\": 16, \"default\": \"Gr\xe4u\", "
                                                "\"range\": [\"Gr\xe4y\"]}");
    EXPECT_EQ(captured.losses,
              std::vector<std::string>{"mode: its default is not allowed: \"Gr\xef\xbf\xbdy\" instead"});
}

TEST(captured_options, end_at_32_bits)
{
    const auto captured = captured_from("speed", R"({"type": "int", "size": 4, "default": 1e300,
        "range": [1e300, -1e300, 7]})");
    EXPECT_EQ(captured.options[0]["range"], inspect::json_value({2147483647, -2147483647 - 1, 7}));
    EXPECT_EQ(captured.losses, std::vector<std::string>());
}

} // namespace
} // namespace inspect_test
