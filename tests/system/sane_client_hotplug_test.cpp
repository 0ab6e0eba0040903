// SPDX-License-Identifier: MIT
// Scanners that are plugged in and pulled out while an application runs.
#include "commander.h"
#include "sane_client.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <semaphore.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace system_test {

namespace fs = std::filesystem;

namespace {

sem_t notices;

void count_notice(int)
{
    sem_post(&notices);
}

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

std::vector<std::string> listed_names()
{
    const SANE_Device **list = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_get_devices(&list, SANE_FALSE));
    std::vector<std::string> names;
    for (; list != nullptr && *list != nullptr; ++list)
        names.emplace_back((*list)->name);
    return names;
}

std::ptrdiff_t entries_of(const char *folder)
{
    const fs::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

} // namespace

// An application with the scanner open that listens for the notice of changed devices itself.
class client_hotplug : public sane_client {
protected:
    client_hotplug()
    {
        if (::mkdtemp(folder_.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        fs::create_directory(folder_ + "/profiles");
        plug("duplex-feeder");
        set_variable("PELVIRTUAL_PROFILES", folder_ + "/profiles");
        set_variable("PELVIRTUAL_CONTROL", folder_ + "/control");
        sem_init(&notices, 0, 0);
    }
    ~client_hotplug() override
    {
        sigaction(SIGUSR1, &before_, nullptr);
        fs::remove_all(folder_);
    }

    void SetUp() override
    {
        open();
        struct sigaction action{};
        action.sa_handler = count_notice;
        sigaction(SIGUSR1, &action, &before_);
    }

    void plug(const std::string &name) const
    {
        std::ifstream file(PELSANE_PROFILE);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::string own = "virtual:duplex-feeder";
        text.replace(text.find(own), own.size(), "virtual:" + name);
        std::ofstream(folder_ + "/profiles/" + name + ".json") << text;
    }
    void unplug(const std::string &name) const { fs::remove(folder_ + "/profiles/" + name + ".json"); }

    [[nodiscard]] surroundings::commander control() const { return surroundings::commander(folder_ + "/control"); }

    SANE_Status read_some() const
    {
        std::array<SANE_Byte, 1000> buffer{};
        SANE_Int length = 0;
        return sane_read(handle(), buffer.data(), buffer.size(), &length);
    }

private:
    std::string folder_ = (fs::temp_directory_path() / "pelsane-hotplug-XXXXXX").string();
    struct sigaction before_{};
};

TEST_F(client_hotplug, finds_a_plugged_in_scanner_at_the_next_listing)
{
    EXPECT_EQ(std::vector<std::string>{"pelsane:virtual:duplex-feeder"}, listed_names());
    plug("second");
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ((std::vector<std::string>{"pelsane:virtual:duplex-feeder", "pelsane:virtual:second"}), listed_names());
    SANE_Handle second = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_open("pelsane:virtual:second", &second));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_start(second));
    sane_close(second);
    set("resolution", "75");
    EXPECT_EQ(620U * 877U * 3U, scan_page().size);
}

TEST_F(client_hotplug, ends_the_scan_of_a_pulled_out_scanner_with_an_io_error_and_lets_it_be_closed)
{
    set("resolution", "75");
    ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    ASSERT_EQ(SANE_STATUS_GOOD, read_some());
    unplug("duplex-feeder");
    ASSERT_TRUE(is_noticed());
    EXPECT_EQ(SANE_STATUS_IO_ERROR, read_some());
    sane_cancel(handle());
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_start(handle()));
    plug("duplex-feeder");
    ASSERT_TRUE(is_noticed());
    reopen();
    set("resolution", "75");
    EXPECT_EQ(620U * 877U * 3U, scan_page().size);
}

TEST_F(client_hotplug, ends_the_scan_of_a_scanner_that_vanishes_on_command)
{
    set("resolution", "75");
    ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    EXPECT_EQ("ok", control().command("on virtual:duplex-feeder vanish after 100 lines"));
    EXPECT_EQ(SANE_STATUS_IO_ERROR, read_page().end);
    EXPECT_EQ(std::vector<std::string>(), listed_names());
    EXPECT_EQ("ok", control().command("return"));
    EXPECT_EQ(std::vector<std::string>{"pelsane:virtual:duplex-feeder"}, listed_names());
    EXPECT_EQ(620U * 877U * 3U, scan_page().size);
}

TEST_F(client_hotplug, leaks_no_thread_or_descriptor)
{
    const auto threads = entries_of("/proc/self/task");
    const auto descriptors = entries_of("/proc/self/fd");
    for (int cycle = 0; cycle < 10; ++cycle) {
        ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
        unplug("duplex-feeder");
        ASSERT_TRUE(is_noticed());
        EXPECT_EQ(SANE_STATUS_IO_ERROR, read_some());
        plug("duplex-feeder");
        ASSERT_TRUE(is_noticed());
        reopen();
    }
    EXPECT_EQ(threads, entries_of("/proc/self/task"));
    EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
}

} // namespace system_test
