// SPDX-License-Identifier: MIT
// The options that decide about others, as Graphviz takes them.
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace inspect_test {
namespace {

using nlohmann::json;

class graph : public inspect_program {};

constexpr const char *graph_of_small_scanner = R"(digraph "test:small" {
    rankdir=LR;
    node [shape=box, fontname="sans-serif", fontsize=11];
    edge [fontname="sans-serif", fontsize=10];
    "mode" [label="mode\nColour mode", style="rounded,filled", fillcolor="#e3f1e3"];
    "threshold" [label="threshold\nThreshold", style="rounded,filled,dashed", fillcolor="#eeeeee", fontcolor="#777777"];
    "mode" -> "threshold" [label="==Lineart", style=dashed, color="#999999", fontcolor="#777777"];
}
)";

TEST_F(graph, shows_what_is_inactive_and_not_met)
{
    const outcome result = inspect({"graph"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, graph_of_small_scanner);
}

TEST_F(graph, shows_what_is_active_and_met)
{
    const outcome result = inspect({"graph", "test:small", "--set", "mode=Lineart"});
    EXPECT_TRUE(system_test::contains(
        result.output, R"("threshold" [label="threshold\nThreshold", style="rounded,filled", fillcolor="#e3f1e3"];)"));
    EXPECT_TRUE(system_test::contains(result.output, R"("mode" -> "threshold" [label="==Lineart", color="#2e7d32"];)"));
}

TEST_F(graph, says_how_several_conditions_are_combined)
{
    set_variable("PELVIRTUAL_PROFILES", PELSANE_PROFILE);
    const std::string text = inspect({"graph"}).output;
    EXPECT_TRUE(system_test::contains(text, "(one of them)\", "));
    EXPECT_TRUE(system_test::contains(text, "(all of them)\", "));
    EXPECT_TRUE(system_test::contains(text, R"("resolution" -> "sharpen" [label="<600", color="#2e7d32"];)"));
}

TEST_F(graph, says_the_same_to_scripts)
{
    const outcome result = inspect({"graph", "--json"});
    EXPECT_EQ(json::parse(result.output), json::parse(R"({"device": "test:small",
        "nodes": [{"option": "mode", "title": "Colour mode", "active": true, "rule": null},
                  {"option": "threshold", "title": "Threshold", "active": false, "rule": "any"}],
        "edges": [{"from": "mode", "to": "threshold", "test": "==Lineart", "state": "not-met"}]})"));
}

// Stands in for Graphviz's program, and leaves what it was given.
TEST_F(graph, draws_a_picture_with_dot)
{
    write_file("dot", "#!/bin/sh\necho \"<svg $1>\"\ncat\n");
    const outcome result = run_shell("chmod +x " + path("dot") + "; PATH=" + path("") +
                                     ":$PATH \"$INSPECT\" graph --svg " + path("options.svg"));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(system_test::read_file(path("options.svg")), std::string("<svg -Tsvg>\n") + graph_of_small_scanner);
}

TEST_F(graph, prints_a_picture)
{
    write_file("dot", "#!/bin/sh\necho \"<svg $1>\"\n");
    const outcome result =
        run_shell("chmod +x " + path("dot") + "; PATH=" + path("") + ":$PATH \"$INSPECT\" graph --svg -");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "<svg -Tsvg>\n");
    expect_failure(inspect({"graph", "--svg", "-", "--json"}), 2, "standard output cannot take both the file and JSON");
}

TEST_F(graph, says_that_dot_is_not_there)
{
    const outcome result = run_shell("PATH=/nonexistent \"$INSPECT\" graph --svg " + path("options.svg"));
    expect_failure(result, 10, "the picture cannot be drawn: \"dot\" of Graphviz: No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(path("options.svg")));
}

} // namespace
} // namespace inspect_test
