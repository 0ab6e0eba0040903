// SPDX-License-Identifier: MIT
// Pages in files: how many, what is on them, and that nothing half-done is left behind.
#include "image.h"
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

namespace inspect_test {
namespace {

namespace fs = std::filesystem;

class scan : public inspect_program {
protected:
    // The names in a new folder for pages.
    [[nodiscard]] std::vector<std::string> files() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(path("pages")))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    scan() { fs::create_directory(path("pages")); }

    [[nodiscard]] std::string page(const std::string &name) const { return path("pages/" + name); }
};

TEST_F(scan, writes_one_page)
{
    const outcome result = inspect({"scan", "-o", page("a.png")});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, page("a.png") + ": 310 x 437, gray, 8 bits\n");
    // Events that are still on their way at the end are not waited for.
    EXPECT_TRUE(std::regex_match(result.messages, std::regex("(event 0x10[01]\n)*"))) << result.messages;
    EXPECT_EQ(files(), std::vector<std::string>{"a.png"});
}

TEST_F(scan, writes_all_pages_with_their_numbers)
{
    const outcome result = inspect({"scan", "test:small", "-o", page("%03d.pgm"), "--set", "page=Both sides"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(files(), (std::vector<std::string>{"001.pgm", "002.pgm", "003.pgm", "004.pgm"}));
}

TEST_F(scan, writes_no_more_pages_than_asked_for)
{
    EXPECT_EQ(inspect({"scan", "-o", page("p%d.pgm"), "--count", "1"}).status, 0);
    EXPECT_EQ(files(), std::vector<std::string>{"p1.pgm"});
}

TEST_F(scan, writes_every_kind_of_image_in_every_format)
{
    use_small_scanner_with("#ffffff", "#ffcc00");
    struct {
        const char *mode;
        int depth;
        const char *kind;
        system_test::rgb point;
    } const kinds[] = {{"Color", 32, "color", {255, 204, 0}},
                       {"Gray", 8, "gray, 8 bits", {196, 196, 196}},
                       {"Lineart", 1, "black and white", {255, 255, 255}}};
    for (const auto &kind : kinds)
        for (const std::string name : {"a.png", "a.tiff", "a.pnm"}) {
            const outcome result = inspect({"scan", "-o", page(name), "--set", std::string("mode=") + kind.mode});
            EXPECT_EQ(result.output, page(name) + ": 310 x 437, " + kind.kind + "\n");
            const auto image = system_test::read_image(page(name));
            ASSERT_NE(image, nullptr) << name;
            EXPECT_EQ(pixGetWidth(image.get()), 310);
            EXPECT_EQ(pixGetHeight(image.get()), 437);
            EXPECT_EQ(pixGetDepth(image.get()), kind.depth) << name;
            EXPECT_EQ(system_test::color_at(image.get(), 50, 50, 75), kind.point) << name << kind.mode;
        }
}

TEST_F(scan, keeps_black_black)
{
    use_small_scanner_with("#ffffff", "#000000");
    for (const std::string name : {"a.png", "a.tiff", "a.pbm"}) {
        EXPECT_EQ(inspect({"scan", "-o", page(name), "--set", "mode=Lineart"}).status, 0);
        const auto image = system_test::read_image(page(name));
        ASSERT_NE(image, nullptr) << name;
        EXPECT_EQ(system_test::color_at(image.get(), 50, 50, 75), system_test::black) << name;
    }
}

TEST_F(scan, writes_the_resolution)
{
    EXPECT_EQ(inspect({"scan", "-o", page("a.png"), "--set", "resolution=150"}).status, 0);
    const auto image = system_test::read_image(page("a.png"));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(pixGetXRes(image.get()), 150);
    EXPECT_EQ(pixGetWidth(image.get()), 620);
}

TEST_F(scan, takes_the_format_from_the_option_first)
{
    EXPECT_EQ(inspect({"scan", "-o", page("a"), "--format", "pnm"}).status, 0);
    EXPECT_EQ(system_test::read_file(page("a")).substr(0, 2), "P5");
}

TEST_F(scan, prints_a_line_of_json_for_each_page)
{
    const outcome result = inspect({"scan", "-o", page("a.png"), "--json"});
    const std::string line =
        R"({"file":")" + page("a.png") + R"(","width":310,"height":437,"depth":8,"color":false,"complete":true})";
    EXPECT_TRUE(system_test::contains(result.output, line + "\n")) << result.output;
    EXPECT_EQ(result.messages, "");
}

TEST_F(scan, prints_a_line_of_json_for_each_event)
{
    set_variable("PELVIRTUAL_FAULTS", "stall 600 s after 10 lines");
    const outcome result = run_shell("exec 3< <(exec \"$INSPECT\" scan -o a.png --json); read -r line <&3\n"
                                     "echo \"$line\"; kill $!; wait $!; echo $?");
    const std::regex lines(R"(\{"time":"[0-9TZ:.-]+","event":256,"data":""\}\n130\n)");
    EXPECT_TRUE(std::regex_match(result.output, lines)) << result.output;
    EXPECT_EQ(result.messages, "pelsane-inspect: interrupted\n");
}

TEST_F(scan, replaces_a_file_that_was_there)
{
    write_file("pages/a.pgm", "old");
    fs::create_symlink("a.pgm", page("link.pgm"));
    EXPECT_EQ(inspect({"scan", "-o", page("link.pgm")}).status, 0);
    EXPECT_TRUE(fs::is_symlink(page("link.pgm")));
    EXPECT_EQ(system_test::read_file(page("a.pgm")).substr(0, 2), "P5");
}

TEST_F(scan, leaves_the_pages_before_a_jam)
{
    set_variable("PELVIRTUAL_FAULTS", "jam after 500 lines");
    const outcome result = inspect({"scan", "-o", page("p%d.pgm")});
    EXPECT_EQ(result.status, 6);
    EXPECT_TRUE(system_test::contains(result.messages, "pelsane-inspect: test:small: reading the page: "))
        << result.messages;
    EXPECT_EQ(files(), std::vector<std::string>{"p1.pgm"});
}

TEST_F(scan, says_that_there_is_no_paper)
{
    set_variable("PELVIRTUAL_FAULTS", "empty");
    const outcome result = inspect({"scan", "-o", page("p%d.pgm")});
    EXPECT_EQ(result.status, 9);
    EXPECT_TRUE(system_test::contains(result.messages, "pelsane-inspect: test:small: page 1: ")) << result.messages;
    EXPECT_TRUE(files().empty());
}

TEST_F(scan, says_that_the_scanner_vanished)
{
    set_variable("PELVIRTUAL_FAULTS", "vanish after 100 lines");
    const outcome result = inspect({"scan", "-o", page("a.pgm")});
    EXPECT_EQ(result.status, 7);
    EXPECT_TRUE(
        system_test::contains(result.messages, "pelsane-inspect: test:small: reading the page: the scanner has gone\n"))
        << result.messages;
    EXPECT_TRUE(files().empty());
}

TEST_F(scan, ends_at_an_interrupt_and_leaves_no_file)
{
    set_variable("PELVIRTUAL_FAULTS", "stall 600 s after 10 lines");
    std::signal(SIGHUP, SIG_DFL); // where these tests run under nohup
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto program = start(command_of({"scan", "-o", page("a.pgm")}));
        ASSERT_TRUE(program->wait_for_message("event 0x100"));
        program->send_signal(signal);
        EXPECT_EQ(program->wait(), 130);
        EXPECT_TRUE(system_test::contains(program->messages(), "pelsane-inspect: interrupted\n"))
            << program->messages();
        EXPECT_TRUE(files().empty());
    }
}

TEST_F(scan, says_why_a_file_cannot_be_written)
{
    // before a page is fed: there are no events
    expect_failure(inspect({"scan", "-o", path("missing/a.png")}), 10,
                   path("missing/a.png") + ": No such file or directory");
    expect_failure(inspect({"scan", "-o", path("pages"), "--format", "png"}), 10, path("pages") + ": Is a directory");
    const outcome full = inspect({"scan", "-o", "/dev/full", "--format", "png"});
    EXPECT_EQ(full.status, 10);
    EXPECT_TRUE(system_test::contains(full.messages, "pelsane-inspect: /dev/full: No space left on device\n"));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(scan, prints_a_page)
{
    const outcome result = run_shell("\"$INSPECT\" scan -o - --format pnm >'" + page("a.pgm") + "'");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(system_test::contains(result.messages, "-: 310 x 437, gray, 8 bits\n")) << result.messages;
    EXPECT_EQ(files(), std::vector<std::string>{"a.pgm"});
    const auto image = system_test::read_image(page("a.pgm"));
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(pixGetWidth(image.get()), 310);
    EXPECT_EQ(pixGetHeight(image.get()), 437);
    const outcome full = run_shell("\"$INSPECT\" scan -o - --format pnm >/dev/full");
    EXPECT_EQ(full.status, 10);
    EXPECT_TRUE(system_test::contains(full.messages, "pelsane-inspect: standard output: No space left on device\n"));
}

TEST_F(scan, prints_either_pages_or_json)
{
    expect_failure(inspect({"scan", "-o", "-", "--format", "png", "--json"}), 2,
                   "standard output cannot take both the file and JSON");
}

TEST_F(scan, refuses_a_number_of_pages_that_is_none)
{
    const outcome result = inspect({"scan", "-o", page("p%d.pgm"), "--count", "0"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.messages,
              "--count: Value 0 is no number from 1 to 2147483647\nRun with --help for more information.\n");
}

TEST_F(scan, knows_three_formats)
{
    expect_failure(inspect({"scan", "-o", "-"}), 2, "the name \"-\" tells no file format: it is chosen with --format");
    expect_failure(inspect({"scan", "-o", "a.b/page"}), 2,
                   "the name \"a.b/page\" tells no file format: it is chosen with --format");
    expect_failure(inspect({"scan", "-o", "a.doc"}), 2, "\"doc\" is no known file format (png, tiff, pnm)");
    expect_failure(inspect({"scan", "-o", "a.png", "--count", "2"}), 2,
                   "the file needs \"%d\" in its name for more than one page");
}

} // namespace
} // namespace inspect_test
