// SPDX-License-Identifier: MIT
// Profiles that come and go while the driver is in use: the next listing, the notice, and what is open.
#include "driver_fixture.h"
#include "frontend.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <ios>
#include <optional>
#include <ostream>
#include <semaphore.h>
#include <string>
#include <thread>
#include <vector>

namespace driver_test {

namespace {

sem_t notices;

void count_notice(int)
{
    sem_post(&notices);
}

// A handler for the device-change notice, for its own lifetime.
class notice_handler {
public:
    explicit notice_handler(void (*handler)(int))
    {
        sem_init(&notices, 0, 0);
        struct sigaction action{};
        action.sa_handler = handler;
        sigaction(SIGUSR1, &action, &before_);
    }
    ~notice_handler()
    {
        sigaction(SIGUSR1, &before_, nullptr);
        sem_destroy(&notices);
    }
    notice_handler(const notice_handler &) = delete;
    notice_handler &operator=(const notice_handler &) = delete;

private:
    struct sigaction before_{};
};

bool is_noticed()
{
    timespec end{};
    clock_gettime(CLOCK_REALTIME, &end);
    end.tv_sec += 60;
    while (sem_timedwait(&notices, &end) != 0)
        if (errno != EINTR)
            return false;
    return true;
}

using names = std::vector<std::string>;

// The list, once it is as expected or patience is at its end.
names names_when(const names &expected)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    names found = device_names();
    for (; found != expected && std::chrono::steady_clock::now() < end; found = device_names())
        std::this_thread::yield();
    return found;
}

} // namespace

class hotplug : public ::testing::Test {
protected:
    hotplug() : handler_(count_notice)
    {
        std::filesystem::create_directory(path(""));
        write("b.json", small_profile("test:b"));
        profiles_.emplace("PELVIRTUAL_PROFILES", path("").c_str());
    }
    ~hotplug() override { EXPECT_EQ(0, kx_scanner_uninitialize()); }
    void SetUp() override { ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr)); }

    std::string path(const std::string &name) const { return folder_.file("profiles/" + name); }
    void write(const std::string &name, const std::string &text) const { write_file(path(name), text); }
    void remove(const std::string &name) const { std::filesystem::remove(path(name)); }

    temporary_folder folder_;
    notice_handler handler_;
    std::optional<environment_variable> profiles_;
};

TEST_F(hotplug, lists_a_device_that_came)
{
    EXPECT_EQ(names({"test:b"}), device_names());
    write("a.json", small_profile("test:a"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:a", "test:b"}), device_names());
    void *device = open_device("test:a");
    EXPECT_EQ(0, kx_scanner_start(device, nullptr, -1));
}

TEST_F(hotplug, lists_no_device_that_went)
{
    remove("b.json");
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names(), device_names());
    void *handle = nullptr;
    EXPECT_EQ(256, kx_scanner_open(&handle, "test:b", 0, nullptr, nullptr, nullptr, nullptr));
}

TEST_F(hotplug, lists_a_rewritten_device_as_it_is_now_and_leaves_the_opened_one_as_it_was)
{
    void *device = open_device("test:b");
    write("b.json", small_profile("test:b", "", "Rewritten"));
    ASSERT_TRUE(is_noticed());
    const std::vector<_device> devices = list_devices();
    ASSERT_EQ(1U, devices.size());
    EXPECT_STREQ("test:b", devices[0].name);
    EXPECT_STREQ("Rewritten", devices[0].model);
    EXPECT_EQ(0, kx_scanner_get_status(device, 0));
}

TEST_F(hotplug, takes_moved_files_and_links)
{
    write_file(folder_.file("elsewhere.json"), small_profile("test:c"));
    std::filesystem::create_symlink(folder_.file("elsewhere.json"), path("link.json"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:b", "test:c"}), device_names());
    std::filesystem::rename(path("link.json"), folder_.file("link.json"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:b"}), device_names());
    write_file(folder_.file("elsewhere.json"), small_profile("test:d"));
    std::filesystem::rename(folder_.file("elsewhere.json"), path("d.json"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:b", "test:d"}), device_names());
}

TEST_F(hotplug, waits_until_a_file_is_whole)
{
    const std::string text = small_profile("test:a");
    std::ofstream file(path("a.json"), std::ios::binary);
    file << text.substr(0, 20) << std::flush;
    write("c.json", small_profile("test:c"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:b", "test:c"}), device_names());
    file << text.substr(20);
    file.close();
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:a", "test:b", "test:c"}), device_names());
}

TEST_F(hotplug, gives_no_notice_of_what_changes_no_device)
{
    write("broken.json", "{");
    write("readme.txt", "nothing");
    write("c.json", small_profile("test:c"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(0, kx_scanner_uninitialize());
    int further = -1;
    sem_getvalue(&notices, &further);
    EXPECT_EQ(0, further);
}

TEST_F(hotplug, lets_an_open_device_vanish_with_its_profile)
{
    void *device = open_device("test:b");
    ASSERT_EQ(0, kx_scanner_start(device, nullptr, -1));
    std::vector<char> buffer(1000);
    long count = 1000;
    ASSERT_EQ(0, kx_scanner_read_img_data(device, buffer.data(), &count));
    remove("b.json");
    ASSERT_TRUE(is_noticed());
    count = 1000;
    EXPECT_EQ(269, kx_scanner_read_img_data(device, buffer.data(), &count));
    EXPECT_EQ(0, count);
    EXPECT_EQ(269, kx_scanner_start(device, nullptr, -1));
    EXPECT_EQ(0, kx_scanner_stop(device));
    EXPECT_EQ(0, kx_scanner_close(device, 1));
}

TEST_F(hotplug, leaves_a_device_gone_whose_faults_are_ended)
{
    const environment_variable control("PELVIRTUAL_CONTROL", folder_.file("control").c_str());
    ASSERT_EQ(0, kx_scanner_uninitialize());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    void *device = open_device("test:b");
    remove("b.json");
    ASSERT_TRUE(is_noticed());
    for (const char *command : {"clear", "return"}) {
        EXPECT_EQ("ok", commander(folder_.file("control")).command(command));
        EXPECT_EQ(0xDE00, kx_scanner_get_status(device, 0)) << command;
    }
}

TEST_F(hotplug, brings_a_device_back_under_its_name)
{
    remove("b.json");
    ASSERT_TRUE(is_noticed());
    write("b.json", small_profile("test:b"));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names({"test:b"}), device_names());
    EXPECT_EQ(0, kx_scanner_start(open_device("test:b"), nullptr, -1));
}

TEST_F(hotplug, lets_open_devices_vanish_with_their_folder)
{
    void *device = open_device("test:b");
    std::filesystem::remove_all(path(""));
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(names(), device_names());
    EXPECT_EQ(269, kx_scanner_start(device, nullptr, -1));
    EXPECT_EQ(0, kx_scanner_close(device, 1));
}

TEST_F(hotplug, does_not_end_a_process_that_has_no_handler)
{
    for (void (*handler)(int) : {SIG_DFL, SIG_IGN}) {
        const notice_handler none(handler);
        write("a.json", small_profile("test:a"));
        EXPECT_EQ(names({"test:a", "test:b"}), names_when({"test:a", "test:b"}));
        remove("a.json");
        EXPECT_EQ(names({"test:b"}), names_when({"test:b"}));
    }
}

TEST_F(hotplug, tells_of_many_changes_in_the_end)
{
    names expected;
    for (int i = 10; i < 60; ++i) {
        write(std::to_string(i) + ".json", small_profile("test:" + std::to_string(i)));
        expected.push_back("test:" + std::to_string(i));
    }
    expected.emplace_back("test:b");
    EXPECT_EQ(expected, names_when(expected));
}

TEST_F(hotplug, ends_with_the_driver)
{
    ASSERT_EQ(0, kx_scanner_uninitialize());
    const auto threads = entries_of("/proc/self/task");
    const auto descriptors = entries_of("/proc/self/fd");
    for (int cycle = 0; cycle < 20; ++cycle) {
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        write("a.json", small_profile("test:a"));
        ASSERT_TRUE(is_noticed());
        remove("a.json");
        ASSERT_EQ(0, kx_scanner_uninitialize());
        while (sem_trywait(&notices) == 0)
            ;
    }
    EXPECT_EQ(threads, entries_of("/proc/self/task"));
    EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
}

} // namespace driver_test
