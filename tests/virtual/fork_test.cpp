// SPDX-License-Identifier: MIT
// A process that was forked while the driver was in use begins anew.
#include "driver_fixture.h"
#include "frontend.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <string>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace driver_test {

namespace {

// The status is 0 when all is as it should be.
int scan_afresh(const std::string &path)
{
    setenv("PELVIRTUAL_CONTROL", path.c_str(), 1);
    frontend own;
    if (kx_scanner_uninitialize() != 0 || kx_scanner_initialize(frontend::callback, &own) != 0)
        return 1;
    void *opened = open_device("");
    if (kx_scanner_start(opened, nullptr, -1) != 0 || !(own.next() == heard_event{opened, 0x100, 0, 0}))
        return 2;
    if (commander(path).command("event button 2") != "ok" || !(own.next() == heard_event{opened, 0x102, 2, 4}))
        return 3;
    return kx_scanner_uninitialize() == 0 && !std::filesystem::exists(path) ? 0 : 4;
}

// Forks in the frontend's function; the parameter takes the child.
int fork_in_callback(void *, int event, void *, unsigned int *, void *parameter)
{
    if (event == KX_EVENT_IS_LISTENED)
        return 0;
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(kx_scanner_uninitialize());
    }
    static_cast<std::promise<pid_t> *>(parameter)->set_value(child);
    return 0;
}

} // namespace

TEST(forked_process, has_events_and_commands_of_its_own)
{
    const temporary_folder folder;
    const environment_variable control("PELVIRTUAL_CONTROL", folder.file("parent").c_str());
    frontend heard;
    ASSERT_EQ(0, kx_scanner_initialize(frontend::callback, &heard));
    void *device = open_device("");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(60);
        _exit(scan_afresh(folder.file("child")));
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(0U, heard.waiting());
    EXPECT_EQ("ok", commander(folder.file("parent")).command("event wake"));
    EXPECT_EQ((heard_event{device, 0x108, 0, 0}), heard.next());
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(forked_process, of_a_callback_can_end_the_driver)
{
    std::promise<pid_t> forked;
    ASSERT_EQ(0, kx_scanner_initialize(fork_in_callback, &forked));
    void *device = open_device("");
    EXPECT_EQ(0, kx_scanner_start(device, nullptr, -1)); // which is an event
    const pid_t child = forked.get_future().get();
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

} // namespace driver_test
