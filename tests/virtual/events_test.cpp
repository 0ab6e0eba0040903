// SPDX-License-Identifier: MIT
// Events: which codes and data they come with, to whom, when, and what they change in the scanner.
#include "driver_fixture.h"
#include "frontend.h"
#include "kx_scanner.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace driver_test {

class driver_events : public ::testing::Test {
protected:
    driver_events() : control_("PELVIRTUAL_CONTROL", path_.c_str()) { langkit_set_language("en"); }
    ~driver_events() override { EXPECT_EQ(0, kx_scanner_uninitialize()); }

    void start() { ASSERT_EQ(0, kx_scanner_initialize(frontend::callback, &heard_)); }
    void start_with(const std::string &profile)
    {
        profiles_.emplace("PELVIRTUAL_PROFILES", write_file(folder_.file("p.json"), profile).c_str());
        start();
    }

    temporary_folder folder_;
    std::string path_ = folder_.file("control");
    environment_variable control_;
    std::optional<environment_variable> profiles_;
    frontend heard_;
};

TEST_F(driver_events, come_with_their_codes_and_without_data)
{
    start();
    const scanner device;
    commander control(path_);
    const std::pair<const char *, int> codes[] = {
        {"event paper-in", 0x103},     {"event paper-out", 0x104}, {"event cover-open", 0x105},
        {"event cover-closed", 0x106}, {"event sleep", 0x107},     {"event wake", 0x108},
        {"event 0x123", 0x123},        {"event 777", 777},
    };
    for (const auto &[command, code] : codes) {
        EXPECT_EQ("ok", control.command(command));
        EXPECT_EQ((heard_event{device.handle(), code, 0, 0}), heard_.next()) << command;
    }
}

TEST_F(driver_events, of_a_button_say_which)
{
    start();
    const scanner device;
    commander control(path_);
    EXPECT_EQ("ok", control.command("event button"));
    EXPECT_EQ((heard_event{device.handle(), 0x102, 1, 4}), heard_.next());
    EXPECT_EQ("ok", control.command("event button 7"));
    EXPECT_EQ((heard_event{device.handle(), 0x102, 7, 4}), heard_.next());
}

TEST_F(driver_events, of_one_line_come_in_their_order)
{
    start();
    const scanner device;
    commander control(path_);
    EXPECT_EQ("ok", control.command("event button 1; event sleep; event button 2; event wake"));
    for (const int code : {0x102, 0x107, 0x102, 0x108})
        EXPECT_EQ(code, heard_.next().event);
}

TEST_F(driver_events, come_to_the_open_handles_of_the_device_that_is_named)
{
    const std::string places = write_file(folder_.file("one.json"), small_profile("test:one")) + ":" +
                               write_file(folder_.file("two.json"), small_profile("test:two"));
    const environment_variable profiles("PELVIRTUAL_PROFILES", places.c_str());
    start();
    void *one = open_device("test:one");
    void *two = open_device("test:two");
    void *also_two = open_device("test:two");
    commander control(path_);
    EXPECT_EQ("ok", control.command("on test:two event button 3; on test:one event sleep; event wake"));
    const heard_event expected[] = {{two, 0x102, 3, 4}, {also_two, 0x102, 3, 4}, {one, 0x107, 0, 0},
                                    {one, 0x108, 0, 0}, {two, 0x108, 0, 0},      {also_two, 0x108, 0, 0}};
    for (const heard_event &each : expected)
        EXPECT_EQ(each, heard_.next());
}

TEST_F(driver_events, keep_a_scanner_with_an_open_cover_from_starting_until_it_is_closed)
{
    start();
    scanner device;
    device.set("resolution", 75);
    commander control(path_);
    ASSERT_EQ("ok", control.command("event cover-open"));
    EXPECT_EQ(0x105, heard_.next().event);
    EXPECT_EQ(0xDE06, device.start());
    EXPECT_EQ(0xDE06, device.start());
    ASSERT_EQ("ok", control.command("event cover-closed"));
    EXPECT_EQ(0x106, heard_.next().event);
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_events, empty_and_fill_the_feeder)
{
    start();
    scanner device;
    device.set("resolution", 75);
    commander control(path_);
    ASSERT_EQ("ok", control.command("event paper-out"));
    EXPECT_EQ(0x104, heard_.next().event);
    EXPECT_EQ(0xDE07, device.start());
    EXPECT_EQ(0xDE07, device.start());
    ASSERT_EQ("ok", control.command("event paper-in"));
    EXPECT_EQ(0x103, heard_.next().event);
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_events, of_a_profile_come_after_their_time_to_each_handle)
{
    using clock = std::chrono::steady_clock;
    start_with(small_profile("test:timed", R"("faults": ["event button 2 after 60 ms", "event wake after 20 ms"], )"));
    for (int opening = 0; opening < 2; ++opening) {
        const auto before = clock::now();
        void *device = open_device("");
        EXPECT_EQ((heard_event{device, 0x108, 0, 0}), heard_.next());
        EXPECT_GE(clock::now() - before, std::chrono::milliseconds(20));
        EXPECT_EQ((heard_event{device, 0x102, 2, 4}), heard_.next());
        EXPECT_GE(clock::now() - before, std::chrono::milliseconds(60));
        EXPECT_EQ(0, kx_scanner_close(device, 1));
    }
}

TEST_F(driver_events, of_a_closed_handle_do_not_come)
{
    start_with(small_profile("test:timed", R"("faults": ["event button after 80 ms every 5 ms 3 times"], )"));
    EXPECT_EQ(0, kx_scanner_close(open_device(""), 1));
    void *device = open_device("");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ((heard_event{device, 0x102, 1, 4}), heard_.next());
    EXPECT_EQ(0U, heard_.waiting());
}

TEST_F(driver_events, of_the_environment_come_to_the_device_that_is_named)
{
    const environment_variable faults("PELVIRTUAL_FAULTS", "on test:timed event button 4; on another event sleep");
    start_with(small_profile("test:timed"));
    void *device = open_device("");
    commander control(path_);
    ASSERT_EQ("ok", control.command("event wake after 20 ms"));
    EXPECT_EQ((heard_event{device, 0x102, 4, 4}), heard_.next());
    EXPECT_EQ((heard_event{device, 0x108, 0, 0}), heard_.next());
}

TEST_F(driver_events, that_repeat_end_with_clear)
{
    start();
    const scanner device;
    commander control(path_);
    EXPECT_EQ("ok", control.command("event button every 1 ms"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(0x102, heard_.next().event);
    EXPECT_EQ("ok", control.command("clear; event sleep; event wake after 30 ms"));
    int code = 0x102;
    while (code == 0x102)
        code = heard_.next().event;
    EXPECT_EQ(0x107, code);
    EXPECT_EQ(0x108, heard_.next().event);
    EXPECT_EQ(0U, heard_.waiting());
}

TEST_F(driver_events, change_the_scanner_also_when_nobody_listens)
{
    const environment_variable no_control("PELVIRTUAL_CONTROL", nullptr);
    const std::string file = write_file(folder_.file("p.json"),
                                        small_profile("test:timed", R"("faults": ["event cover-open after 20 ms"], )"));
    const environment_variable profiles("PELVIRTUAL_PROFILES", file.c_str());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    scanner device;
    const auto end = std::chrono::steady_clock::now() + patience;
    int answer = 0;
    while (answer != 0xDE06 && std::chrono::steady_clock::now() < end) {
        answer = device.start();
        device.stop();
    }
    EXPECT_EQ(0xDE06, answer);
}

TEST_F(driver_events, leave_no_thread_or_descriptor_behind)
{
    std::filesystem::create_directory(folder_.file("profiles"));
    write_file(folder_.file("profiles/p.json"),
               small_profile("test:timed", R"("faults": ["event button every 1 ms", "event wake after 1 s"], )"));
    const environment_variable profiles("PELVIRTUAL_PROFILES", folder_.file("profiles").c_str());
    start(); // the first thread of a process may bring one of a sanitizer's along
    ASSERT_EQ(0, kx_scanner_uninitialize());
    const auto threads = entries_of("/proc/self/task");
    const auto descriptors = entries_of("/proc/self/fd");
    for (int cycle = 0; cycle < 50; ++cycle) {
        start();
        EXPECT_EQ(threads + 1, entries_of("/proc/self/task"));
        open_device("");
        commander control(path_);
        ASSERT_EQ("ok: test:timed", control.command("devices"));
        ASSERT_EQ(0, kx_scanner_uninitialize());
    }
    EXPECT_EQ(threads, entries_of("/proc/self/task"));
    EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
}

TEST_F(driver_events, need_no_thread_when_none_can_come)
{
    const environment_variable no_control("PELVIRTUAL_CONTROL", nullptr);
    const auto threads = entries_of("/proc/self/task");
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(threads, entries_of("/proc/self/task"));
}

// Runs in a forked process; the status is 0 when all is as it should be.
int end_inherited_driver(void *device, std::ptrdiff_t descriptors)
{
    if (entries_of("/proc/self/fd") != descriptors)
        return 1;
    if (kx_scanner_close(device, 1) != 0)
        return 2;
    return kx_scanner_uninitialize() == 0 ? 0 : 3;
}

TEST_F(driver_events, are_not_for_a_forked_process_which_can_end_the_driver)
{
    const auto descriptors = entries_of("/proc/self/fd");
    start();
    const scanner device;
    commander control(path_);
    EXPECT_EQ("ok", control.command("event button every 1 ms"));
    for (int i = 0; i < 20; ++i) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            alarm(60);
            _exit(end_inherited_driver(device.handle(), descriptors + 1)); // the commander's
        }
        int status = -1;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_EQ(0, status);
    }
    EXPECT_TRUE(std::filesystem::exists(path_));
    EXPECT_EQ("ok", control.command("clear; event wake"));
    while (heard_.next().event != 0x108)
        ;
}

} // namespace driver_test
