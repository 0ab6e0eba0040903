// SPDX-License-Identifier: MIT
// What the logging library's stand-in writes, when, and where to.
#include "commonlog_fixture.h"
#include "line.h"
#include "surroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace commonlog_fixture;

std::string utc_text(timespec moment)
{
    tm parts = {};
    gmtime_r(&moment.tv_sec, &parts);
    std::array<char, 64> text{};
    const std::size_t length = strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ", static_cast<int>(moment.tv_nsec / 1000000));
    return text.data();
}

std::string utc_now()
{
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return utc_text(now);
}

} // namespace

TEST(commonlog, is_silent_by_default)
{
    const log_environment environment(nullptr);
    EXPECT_EQ(standard_error_of([] { backend_log().say_everything(); }), "");
}

TEST(commonlog, opens_no_file_while_silent)
{
    const temporary_folder folder;
    const log_environment environment(nullptr, folder.file("log"));
    backend_log().say_everything();
    EXPECT_FALSE(fs::exists(folder.file("log")));
}

TEST(commonlog, writes_time_level_origin_and_message)
{
    const log_environment environment("warn");
    const std::string before = utc_now();
    const std::string line = standard_error_of([] {
        const backend_log log;
        log.library.warn(log.handle, "paper %s, tray %d", "jam", 2);
    });
    const std::string after = utc_now();

    EXPECT_TRUE(std::regex_match(
        line, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z warn Vantoscan/driver: "
                         "paper jam, tray 2\n")))
        << line;
    const std::string time = line.substr(0, before.size());
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
}

TEST(commonlog, writes_any_date)
{
    const struct {
        timespec moment;
        const char *text;
    } dates[] = {
        {{0, 0}, "1970-01-01T00:00:00.000Z\n"},          {{951782399, 999999999}, "2000-02-28T23:59:59.999Z\n"},
        {{951782400, 0}, "2000-02-29T00:00:00.000Z\n"},  {{951868800, 1000000}, "2000-03-01T00:00:00.001Z\n"},
        {{1735689599, 0}, "2024-12-31T23:59:59.000Z\n"}, {{4107542400, 0}, "2100-03-01T00:00:00.000Z\n"},
        {{-1, 0}, "1969-12-31T23:59:59.000Z\n"},
    };
    for (const auto &date : dates) {
        commonlog::line line;
        line.append_time(date.moment);
        EXPECT_EQ(std::string(line.finish()), date.text);
    }
}

TEST(commonlog, writes_messages_from_its_level_on)
{
    EXPECT_EQ(messages_of("debug", say_everything),
              (texts{"a debug message", "an info message", "a warning", "a critical message"}));
    EXPECT_EQ(messages_of("info", say_everything), (texts{"an info message", "a warning", "a critical message"}));
    EXPECT_EQ(messages_of("warn", say_everything), (texts{"a warning", "a critical message"}));
    EXPECT_EQ(messages_of("critical", say_everything), (texts{"a critical message"}));
}

TEST(commonlog, names_each_level)
{
    const temporary_folder folder;
    const log_environment environment("debug", folder.file("log"));
    backend_log().say_everything();
    const texts lines = lines_of(folder.file("log"));
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_NE(lines[0].find("Z debug Vantoscan/driver: a debug message"), std::string::npos);
    EXPECT_NE(lines[1].find("Z info Vantoscan/driver: an info message"), std::string::npos);
    EXPECT_NE(lines[2].find("Z warn Vantoscan/driver: a warning"), std::string::npos);
    EXPECT_NE(lines[3].find("Z critical Vantoscan/driver: a critical message"), std::string::npos);
}

TEST(commonlog, follows_the_convention_of_sane_backends)
{
    const struct {
        const char *number;
        long messages;
    } levels[] = {{"0", 0}, {"1", 1}, {"2", 2}, {"3", 3}, {"4", 4}, {"128", 4}, {"99999999999999999999", 4}};
    for (const auto &level : levels) {
        const log_environment environment(nullptr, "", level.number);
        const std::string written = standard_error_of([] { backend_log().say_everything(); });
        EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), level.messages) << level.number;
    }
}

TEST(commonlog, prefers_its_own_level_to_the_convention)
{
    const temporary_folder folder;
    const log_environment environment("critical", folder.file("log"), "4");
    backend_log().say_everything();
    EXPECT_EQ(lines_of(folder.file("log")).size(), 1U);
}

TEST(commonlog, takes_an_empty_level_for_none)
{
    const temporary_folder folder;
    const log_environment environment("", folder.file("log"), "1");
    backend_log().say_everything();
    EXPECT_EQ(lines_of(folder.file("log")).size(), 1U);
}

TEST(commonlog, reports_an_unknown_level_once_and_stays_silent)
{
    const log_environment environment("loud");
    const std::string written = standard_error_of([] {
        const backend_log first;
        first.say_everything();
        backend_log().say_everything();
    });
    EXPECT_EQ(written, "pelsane log: unknown level in PELLOG_LEVEL: loud; nothing is logged\n");
}

TEST(commonlog, reports_a_number_that_is_none)
{
    for (const std::string number : {"-1", "2x", "+2", " 2"}) {
        const log_environment environment(nullptr, "", number.c_str());
        EXPECT_EQ(standard_error_of([] { backend_log().say_everything(); }),
                  "pelsane log: unknown level in SANE_DEBUG_PELSANE: " + number + "; nothing is logged\n");
    }
}

TEST(commonlog, appends_to_its_file)
{
    const temporary_folder folder;
    std::ofstream(folder.file("log")) << "earlier\n";
    const log_environment environment("critical", folder.file("log"));
    EXPECT_EQ(standard_error_of([] { backend_log().say_everything(); }), "");
    const texts lines = lines_of(folder.file("log"));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], "earlier");
    EXPECT_EQ(message_of(lines[1]), "a critical message");
}

TEST(commonlog, keeps_its_file_to_the_user_and_to_the_process)
{
    const temporary_folder folder;
    const log_environment environment("debug", folder.file("log"));
    const backend_log log;
    struct stat status = {};
    ASSERT_EQ(stat(folder.file("log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0077U, 0U);

    int descriptor = -1;
    for (const auto &entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry.path(), gone) == folder.file("log"))
            descriptor = std::stoi(entry.path().filename().string());
    }
    ASSERT_GE(descriptor, 0);
    EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_NE(fcntl(descriptor, F_GETFL) & O_APPEND, 0);
}

TEST(commonlog, uses_standard_error_when_the_file_cannot_be_opened)
{
    const temporary_folder folder;
    const std::string path = folder.file("missing/log");
    const log_environment environment("critical", path);
    const std::string written = standard_error_of([] {
        const backend_log first;
        const backend_log second;
        first.say_everything();
    });
    const std::string report =
        "pelsane log: cannot open log file " + path + ": No such file or directory; standard error is used\n";
    ASSERT_EQ(written.substr(0, report.size()), report);
    const std::string rest = written.substr(report.size());
    EXPECT_EQ(message_of(rest), "a critical message\n");
}

TEST(commonlog, writes_each_message_at_once)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_DIRECT | O_CLOEXEC), 0); // each write is a packet of its own
    const log_environment environment("warn");
    {
        const redirected_descriptor redirected(STDERR_FILENO, ends[1]);
        const backend_log log;
        log.library.warn(log.handle, "%s", std::string(3000, 'x').c_str());
        log.library.critical(log.handle, "second");
    }
    std::array<char, 8192> packet{};
    const auto read_packet = [&] {
        const ssize_t length = read(ends[0], packet.data(), packet.size());
        return message_of({packet.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))});
    };
    EXPECT_EQ(read_packet(), std::string(3000, 'x') + "\n");
    EXPECT_EQ(read_packet(), "second\n");
    close(ends[0]);
    close(ends[1]);
}

TEST(commonlog, cuts_a_long_message_visibly)
{
    const temporary_folder folder;
    const log_environment environment("warn", folder.file("log"));
    {
        const backend_log log;
        log.library.warn(log.handle, "%s", std::string(100000, 'x').c_str());
        log.library.warn(log.handle, "next");
    }
    const texts lines = lines_of(folder.file("log"));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].size(), 4095U);
    EXPECT_EQ(lines[0].substr(4080), "xxxxxxxxxxxx...");
    EXPECT_EQ(message_of(lines[1]), "next");
}

TEST(commonlog, writes_a_message_that_just_fits_whole)
{
    for (const std::size_t length : {4095U, 4096U}) {
        commonlog::line line;
        line.append(std::string(length, 'x'));
        const std::string expected = length == 4095 ? std::string(4095, 'x') : std::string(4092, 'x') + "...";
        EXPECT_EQ(std::string(line.finish()), expected + "\n");
    }
}

TEST(commonlog, cuts_between_characters)
{
    for (std::size_t lead = 0; lead < 3; ++lead) {
        commonlog::line line;
        std::string text(lead, 'x');
        while (text.size() < 5000)
            text += "纸";
        line.append(text);
        const std::size_t whole = lead + (4092 - lead) / 3 * 3;
        EXPECT_EQ(std::string(line.finish()), text.substr(0, whole) + "...\n");
    }
}

TEST(commonlog, makes_control_characters_harmless)
{
    const texts messages = messages_of("warn", [](const backend_log &log) {
        log.library.warn(log.handle, "%s", "one\ntwo\r\nthree\tfour");
        log.library.warn(log.handle, "%s", "\x1b[31mred\x07\x7f");
        log.library.warn(log.handle, "%s",
                         "\xC2\x9B"
                         "1mbold");
        log.library.warn(log.handle, "%s", "双面 §é");
    });
    EXPECT_EQ(messages, (texts{"one two  three four", "?[31mred??", "??1mbold", "双面 §é"}));
}

TEST(commonlog, makes_names_harmless_and_short)
{
    const temporary_folder folder;
    const log_environment environment("warn", folder.file("log"));
    const commonlog_library library;
    const std::string long_name(5000, 'n');
    for (const char *name : {"dri\nver", long_name.c_str(), static_cast<const char *>(nullptr)}) {
        void *log = library.enable(0, "o", name);
        library.warn(log, "message");
        library.disable(log);
    }
    const texts lines = lines_of(folder.file("log"));
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].substr(24), " warn o/dri ver: message");
    EXPECT_EQ(lines[1].substr(24), " warn o/" + std::string(126, 'n') + ": message");
    EXPECT_EQ(lines[2].substr(24), " warn o/: message");
}

TEST(commonlog, writes_the_format_when_it_cannot_be_formatted)
{
    EXPECT_EQ(messages_of("debug",
                          [](const backend_log &log) { log.library.debug(log.handle, "wide %ls", L"\u53cc\u9762"); }),
              texts{"wide %ls"});
}

TEST(commonlog, ignores_a_null_log)
{
    const log_environment environment("debug");
    EXPECT_EQ(standard_error_of([] {
                  const commonlog_library library;
                  library.debug(nullptr, "message");
                  library.info(nullptr, "message");
                  library.warn(nullptr, "message");
                  library.critical(nullptr, "message");
                  library.disable(nullptr);
              }),
              "");
}

TEST(commonlog, keeps_logs_apart)
{
    const temporary_folder folder;
    const commonlog_library library;
    void *first = nullptr;
    void *second = nullptr;
    {
        const log_environment environment("warn", folder.file("first"));
        first = library.enable(0, "a", "one");
    }
    {
        const log_environment environment("debug", folder.file("second"));
        second = library.enable(0, "b", "two");
    }
    library.debug(first, "not wanted");
    library.debug(second, "wanted");
    library.disable(second);
    library.warn(first, "still there");
    library.disable(first);

    const texts first_lines = lines_of(folder.file("first"));
    ASSERT_EQ(first_lines.size(), 1U);
    EXPECT_EQ(first_lines[0].substr(24), " warn a/one: still there");
    const texts second_lines = lines_of(folder.file("second"));
    ASSERT_EQ(second_lines.size(), 1U);
    EXPECT_EQ(second_lines[0].substr(24), " debug b/two: wanted");
}

TEST(commonlog, is_gone_after_its_last_user)
{
    {
        const commonlog_library library;
        library.disable(library.enable(0, "Vantoscan", "driver"));
    }
    void *left = dlopen(COMMONLOG_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_EQ(left, nullptr);
}
