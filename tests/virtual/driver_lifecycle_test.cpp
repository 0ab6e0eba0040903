// SPDX-License-Identifier: MIT
// The virtual driver from initialisation to its end: listing, handles, events, and that nothing is left behind.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace driver_test {

namespace {

std::ptrdiff_t entries_of(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

// Zero under sanitizers, whose own check of leaks takes over.
std::size_t bytes_in_use()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// A frontend that notes what it is told.
class listener {
public:
    explicit listener(int answer_to_listening) : answer_(answer_to_listening) {}

    static int callback(void *handle, int event, void *data, unsigned int *, void *parameter)
    {
        auto *self = static_cast<listener *>(parameter);
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        const std::lock_guard<std::mutex> guard(self->lock_);
        self->all_signals_were_blocked_ = self->all_signals_were_blocked_ && sigismember(&blocked, SIGTERM) == 1 &&
                                          sigismember(&blocked, SIGUSR1) == 1;
        self->had_data_ = self->had_data_ || data != nullptr;
        self->heard_.push_back({handle, event});
        self->changed_.notify_one();
        return event == KX_EVENT_IS_LISTENED ? self->answer_ : 0;
    }

    std::pair<void *, int> next()
    {
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard, [this] { return !heard_.empty(); });
        const auto first = heard_.front();
        heard_.pop_front();
        return first;
    }

    std::size_t waiting()
    {
        const std::lock_guard<std::mutex> guard(lock_);
        return heard_.size();
    }

    bool all_signals_were_blocked_ = true;
    bool had_data_ = false;

private:
    int answer_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<std::pair<void *, int>> heard_;
};

int ignore_event(void *, int, void *, unsigned int *, void *)
{
    return 0;
}

int uninitialize_in_event(void *, int, void *, unsigned int *, void *parameter)
{
    *static_cast<int *>(parameter) = kx_scanner_uninitialize();
    return 0;
}

} // namespace

TEST(driver_lifecycle, lists_one_sheetfed_scanner)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    int count = 0;
    EXPECT_EQ(258, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_EQ(1, count);
    _device records[3];
    std::memset(records, 0xAA, sizeof records);
    count = 3;
    EXPECT_EQ(0, kx_scanner_enum(records, &count, 0));
    EXPECT_EQ(1, count);
    EXPECT_STREQ("virtual:duplex-feeder", records[0].name);
    EXPECT_STREQ("Pelsane", records[0].vendor);
    EXPECT_STREQ("Virtual Duplex Feeder", records[0].model);
    EXPECT_STREQ("sheetfed scanner", records[0].type);
    EXPECT_EQ('\xAA', records[1].name[0]);
    EXPECT_EQ(256, kx_scanner_enum(records, nullptr, 0));
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, is_not_ready_before_and_after)
{
    void *handle = nullptr;
    int count = 0;
    EXPECT_EQ(276, kx_scanner_enum(nullptr, &count, 0));
    EXPECT_EQ(276, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(276, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
}

TEST(driver_lifecycle, opens_by_name_or_the_first_device)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    void *handle = nullptr;
    char need_auth = 1;
    EXPECT_EQ(0, kx_scanner_open(&handle, "virtual:duplex-feeder", 0, nullptr, nullptr, nullptr, &need_auth));
    EXPECT_EQ(0, need_auth);
    EXPECT_EQ(0, kx_scanner_get_status(handle, 0));
    EXPECT_EQ(0, kx_scanner_close(handle, 1));
    EXPECT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_close(handle, 0));
    EXPECT_EQ(256, kx_scanner_open(&handle, "virtual", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(256, kx_scanner_open(&handle, nullptr, 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(256, kx_scanner_open(nullptr, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, recognises_handles_that_are_not_open)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    void *stale = nullptr;
    {
        const scanner device;
        stale = device.handle();
    }
    const scanner other;
    EXPECT_NE(stale, other.handle());
    char buffer[64] = "";
    for (void *handle : {static_cast<void *>(nullptr), stale, reinterpret_cast<void *>(0x10),
                         reinterpret_cast<void *>(~std::uintptr_t{0})}) {
        long length = 64;
        EXPECT_EQ(256, kx_scanner_get_parameter(handle, nullptr, nullptr, &length, nullptr));
        EXPECT_EQ(256, kx_scanner_set_parameter(handle, "mode", buffer, &length));
        EXPECT_EQ(256, kx_scanner_get_status(handle, 0));
        EXPECT_EQ(256, kx_scanner_control(handle, 0x20000001, nullptr, nullptr));
        EXPECT_EQ(256, kx_scanner_start(handle, nullptr, -1));
        EXPECT_EQ(256, kx_scanner_get_img_info(handle, buffer, 24));
        EXPECT_EQ(256, kx_scanner_stop(handle));
        EXPECT_EQ(256, kx_scanner_close(handle, 1));
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, closes_what_is_open_at_its_end)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    void *handle = nullptr;
    ASSERT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(256, kx_scanner_get_status(handle, 0));
    EXPECT_EQ(256, kx_scanner_close(handle, 1));
}

TEST(driver_lifecycle, bears_double_calls)
{
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(0, kx_scanner_initialize(ignore_event, nullptr));
    EXPECT_EQ(0, kx_scanner_initialize(ignore_event, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, leaves_no_thread_behind)
{
    // The first thread of a process may bring one of a sanitizer's along.
    ASSERT_EQ(0, kx_scanner_initialize(ignore_event, nullptr));
    ASSERT_EQ(0, kx_scanner_uninitialize());
    const auto before = entries_of("/proc/self/task");
    for (int cycle = 0; cycle < 50; ++cycle) {
        ASSERT_EQ(0, kx_scanner_initialize(ignore_event, nullptr));
        EXPECT_EQ(before + 1, entries_of("/proc/self/task"));
        ASSERT_EQ(0, kx_scanner_uninitialize());
    }
    EXPECT_EQ(before, entries_of("/proc/self/task"));
}

TEST(driver_lifecycle, opens_up_to_256_devices_at_once)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    std::set<void *> handles;
    void *handle = nullptr;
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
        handles.insert(handle);
    }
    EXPECT_EQ(256U, handles.size());
    EXPECT_EQ(0xDE02, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, keeps_memory_and_descriptors_over_a_thousand_open_and_close)
{
    ASSERT_EQ(0, kx_scanner_initialize(ignore_event, nullptr));
    const auto cycle = [] {
        scanner device;
        device.set("resolution", 75);
        device.set_area(0, 0, 20, 20);
        device.scan();
    };
    for (int warm_up = 0; warm_up < 500; ++warm_up)
        cycle();
    const auto descriptors = entries_of("/proc/self/fd");
    const std::size_t bytes = bytes_in_use();
    for (int i = 0; i < 1000; ++i)
        cycle();
    EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
    EXPECT_LT(bytes_in_use(), bytes + 16384);
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_lifecycle, asks_first_whether_anyone_listens_and_then_reports_jobs)
{
    listener frontend(0);
    ASSERT_EQ(0, kx_scanner_initialize(listener::callback, &frontend));
    EXPECT_EQ((std::pair<void *, int>{nullptr, 1}), frontend.next());
    {
        scanner device;
        device.set("resolution", 75);
        device.set("page", "Front side");
        device.scan_all();
        EXPECT_EQ((std::pair<void *, int>{device.handle(), 0x100}), frontend.next());
        EXPECT_EQ((std::pair<void *, int>{device.handle(), 0x101}), frontend.next());
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(0U, frontend.waiting());
    EXPECT_TRUE(frontend.all_signals_were_blocked_);
    EXPECT_FALSE(frontend.had_data_);
}

TEST(driver_lifecycle, reports_nothing_when_nobody_listens)
{
    listener frontend(0xDE01);
    ASSERT_EQ(0, kx_scanner_initialize(listener::callback, &frontend));
    EXPECT_EQ((std::pair<void *, int>{nullptr, 1}), frontend.next());
    {
        scanner device;
        device.set("resolution", 75);
        device.scan_all();
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(0U, frontend.waiting());
}

TEST(driver_lifecycle, refuses_to_end_from_its_own_event)
{
    int answer = -1;
    ASSERT_EQ(0, kx_scanner_initialize(uninitialize_in_event, &answer));
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ(268, answer);
}

TEST(driver_lifecycle, ends_once_for_callers_on_two_threads)
{
    listener frontend(0);
    for (int cycle = 0; cycle < 100; ++cycle) {
        ASSERT_EQ(0, kx_scanner_initialize(listener::callback, &frontend));
        std::thread other([] { EXPECT_EQ(0, kx_scanner_uninitialize()); });
        EXPECT_EQ(0, kx_scanner_uninitialize());
        other.join();
    }
}

TEST(driver_lifecycle, notes_at_its_start_who_uses_it)
{
    const captured_log log;
    EXPECT_EQ(0, kx_scanner_set_sane_info("backend", "1.2"));
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
    EXPECT_NE(std::string::npos, log.text().find("used by backend 1.2\n"));
}

TEST(driver_lifecycle, ends_a_call_that_is_still_under_way_at_its_end)
{
    const temporary_folder folder;
    const std::string path = write_file(folder.file("profile.json"), R"({
        "device": {"name": "test:slow", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
        "pages_per_minute": 0.01, "papers": {}, "information": {}, "options": []})");
    const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
    listener frontend(0);
    ASSERT_EQ(0, kx_scanner_initialize(listener::callback, &frontend));
    void *handle = nullptr;
    ASSERT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    int answer = 0;
    std::thread scanning([&] { answer = kx_scanner_start(handle, nullptr, -1); });
    EXPECT_EQ((std::pair<void *, int>{nullptr, 1}), frontend.next());
    EXPECT_EQ((std::pair<void *, int>{handle, 0x100}), frontend.next());
    EXPECT_EQ(0, kx_scanner_uninitialize());
    scanning.join();
    EXPECT_EQ(SANE_STATUS_CANCELLED, answer);
}

TEST(driver_lifecycle, describes_every_code)
{
    std::set<std::string> texts;
    for (const int code : {0,   2,   256, 258, 259,    260,    261,    262,    266,    268,   269,
                           270, 276, 277, 278, 0xDE00, 0xDE01, 0xDE02, 0xDE06, 0xDE07, 0xDE0A}) {
        const char *text = kx_scanner_err_description(code);
        ASSERT_NE(nullptr, text);
        EXPECT_EQ(std::string::npos, std::string(text).find("Unknown")) << code;
        texts.insert(text);
    }
    EXPECT_EQ(21U, texts.size());
    EXPECT_STREQ("There is no paper in the feeder.", kx_scanner_err_description(0xDE07));
    EXPECT_STREQ("Unknown result code 4711.", kx_scanner_err_description(4711));
    EXPECT_EQ(kx_scanner_err_description(4711), kx_scanner_err_description(4711));
    EXPECT_STREQ("Unknown result code -1.", kx_scanner_err_description(-1));
}

TEST(driver_lifecycle, tells_its_version_and_takes_the_users)
{
    EXPECT_EQ(0x01000000U, kx_scanner_get_version());
    EXPECT_EQ(0, kx_scanner_set_sane_info("backend", "1.0"));
    EXPECT_EQ(0, kx_scanner_set_sane_info(nullptr, nullptr));
}

} // namespace driver_test
