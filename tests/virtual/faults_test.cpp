// SPDX-License-Identifier: MIT
// Faults of the virtual scanner's jobs, as the backend meets them: what is answered, what was delivered before, and
// that the scanner is well again afterwards.
#include "driver_fixture.h"
#include "faulty_driver.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

namespace driver_test {
namespace {

constexpr int line_bytes = 620 * 3; // at 75 dpi
constexpr int page_lines = 877;

struct reading {
    int answer; // of the read that ended it
    std::size_t bytes;
};

reading read_all(const scanner &device, long at_once = 65536)
{
    std::vector<unsigned char> buffer(static_cast<std::size_t>(at_once));
    for (std::size_t bytes = 0;;) {
        long length = at_once;
        const int answer = kx_scanner_read_img_data(device.handle(), buffer.data(), &length);
        if (answer != 0) {
            EXPECT_EQ(0, length);
            return {answer, bytes};
        }
        EXPECT_GT(length, 0);
        bytes += static_cast<std::size_t>(length);
    }
}

void expect_reading(int answer, std::size_t lines, const reading &done)
{
    EXPECT_EQ(answer, done.answer);
    EXPECT_EQ(lines * line_bytes, done.bytes);
}

void expect_whole_job(scanner &device)
{
    EXPECT_EQ(6U, device.scan_all().size());
}

using milliseconds = std::chrono::milliseconds;

template <typename Call> milliseconds time_of(Call call)
{
    const auto begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
}

// Makes a call while another thread asks for a stop again and again: one before the call belongs to what came before.
template <typename Call> void while_stopping(scanner &device, Call call)
{
    std::atomic<bool> has_ended{false};
    std::thread other([&] {
        while (!has_ended) {
            device.stop();
            std::this_thread::yield();
        }
    });
    call();
    has_ended = true;
    other.join();
}

int open_answer(const char *name, bool *asked = nullptr)
{
    void *handle = nullptr;
    char need_auth = 7;
    const int answer = kx_scanner_open(&handle, name, 0, nullptr, nullptr, nullptr, &need_auth);
    if (asked != nullptr)
        *asked = need_auth != 0;
    EXPECT_EQ(answer == 0, handle != nullptr);
    if (handle != nullptr) {
        EXPECT_EQ(0, kx_scanner_close(handle, 1));
    }
    return answer;
}

int listed_devices()
{
    int count = 0;
    const int answer = kx_scanner_enum(nullptr, &count, 1);
    EXPECT_EQ(count == 0 ? 0 : 258, answer);
    return count;
}

} // namespace

TEST(faults, jam_leaves_the_lines_before_it_and_ends_the_job)
{
    const faulty_driver driver("jam after 100 lines");
    small_scanner device;
    ASSERT_EQ(0, device.start());
    expect_reading(0xDE0A, 100, read_all(device));
    expect_reading(268, 0, read_all(device));
    expect_whole_job(device);
}

TEST(faults, jam_counts_the_lines_of_the_whole_job)
{
    const faulty_driver driver("jam after 1000 lines");
    small_scanner device;
    device.scan();
    ASSERT_EQ(0, device.start());
    expect_reading(0xDE0A, 1000 - page_lines, read_all(device, 1000));
    expect_whole_job(device);
}

TEST(faults, jam_at_once_leaves_nothing)
{
    const faulty_driver driver("jam");
    small_scanner device;
    ASSERT_EQ(0, device.start());
    expect_reading(0xDE0A, 0, read_all(device));
    expect_whole_job(device);
}

TEST(faults, jam_at_a_page_or_sheet_comes_with_its_first_line)
{
    for (const char *faults : {"jam after 2 pages", "jam after 1 sheet"}) {
        const faulty_driver driver(faults);
        small_scanner device;
        device.scan();
        device.scan();
        ASSERT_EQ(0, device.start()) << faults;
        expect_reading(0xDE0A, 0, read_all(device));
        expect_whole_job(device);
    }
}

TEST(faults, come_as_often_as_they_are_said_to)
{
    {
        const faulty_driver driver("jam after 3 lines 2 times");
        small_scanner device;
        for (int job = 0; job < 2; ++job) {
            ASSERT_EQ(0, device.start());
            expect_reading(0xDE0A, 3, read_all(device));
        }
        expect_whole_job(device);
    }
    const faulty_driver driver("jam after 3 lines always");
    small_scanner device;
    for (int job = 0; job < 10; ++job) {
        ASSERT_EQ(0, device.start());
        expect_reading(0xDE0A, 3, read_all(device));
    }
}

TEST(faults, belong_to_the_device_and_not_to_a_handle)
{
    const faulty_driver driver("jam after 3 lines");
    {
        const small_scanner other;
    }
    small_scanner one;
    small_scanner two;
    ASSERT_EQ(0, one.start());
    ASSERT_EQ(0, two.start());
    expect_reading(0xDE0A, 3, read_all(two));
    expect_reading(266, page_lines, read_all(one));
}

TEST(faults, double_feed_is_told_as_a_jam_at_its_sheet)
{
    const faulty_driver driver("double feed after 1 sheet");
    small_scanner device;
    device.scan();
    device.scan();
    EXPECT_EQ(0xDE0A, device.start());
    expect_reading(268, 0, read_all(device));
    expect_whole_job(device);
}

TEST(faults, empty_feeder_ends_the_job_after_its_sheets)
{
    const faulty_driver driver("empty after 2 sheets");
    small_scanner device;
    EXPECT_EQ(4U, device.scan_all().size());
    expect_whole_job(device);
}

TEST(faults, empty_feeder_may_be_so_from_the_beginning_or_after_pages)
{
    {
        const faulty_driver driver("empty 2 times");
        small_scanner device;
        EXPECT_EQ(0xDE07, device.start());
        EXPECT_EQ(0xDE07, device.start());
        expect_whole_job(device);
    }
    const faulty_driver driver("empty after 3 pages");
    small_scanner device;
    EXPECT_EQ(3U, device.scan_all().size());
    expect_whole_job(device);
}

TEST(faults, open_cover_stays_open)
{
    const faulty_driver driver("cover open");
    small_scanner device;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0xDE06, device.start());
    EXPECT_EQ(0xDE06, small_scanner().start());
}

TEST(faults, cover_open_once_is_closed_at_the_next_start)
{
    const faulty_driver driver("cover open once");
    small_scanner device;
    EXPECT_EQ(0xDE06, device.start());
    expect_whole_job(device);
}

TEST(faults, cover_opened_between_pages_ends_the_job)
{
    const faulty_driver driver("cover open after 2 pages once");
    small_scanner device;
    device.scan();
    device.scan();
    EXPECT_EQ(0xDE06, device.start());
    expect_reading(268, 0, read_all(device));
    expect_whole_job(device);
}

TEST(faults, end_with_their_remedies)
{
    const faulty_driver driver(
        "cover open; empty always; cover closed; filled; jam; vanish; return; on virtual:none jam");
    small_scanner device;
    ASSERT_EQ(0, device.start());
    expect_reading(0xDE0A, 0, read_all(device));
    expect_whole_job(device);
}

TEST(faults, end_all_at_once)
{
    const faulty_driver driver("cover open; jam; set_parameter answers io always; garbage; vanish; clear");
    small_scanner device;
    EXPECT_EQ(75, device.option("resolution").at("cur"));
    expect_whole_job(device);
}

TEST(faults, stall_holds_a_read_up_for_its_time)
{
    const faulty_driver driver("stall 300 ms after 10 lines");
    small_scanner device;
    ASSERT_EQ(0, device.start());
    std::vector<unsigned char> buffer(std::size_t{100} * line_bytes);
    long length = static_cast<long>(buffer.size());
    EXPECT_EQ(0, kx_scanner_read_img_data(device.handle(), buffer.data(), &length));
    EXPECT_EQ(10 * line_bytes, length);
    reading rest{};
    EXPECT_LE(milliseconds(300), time_of([&] { rest = read_all(device); }));
    expect_reading(266, page_lines - 10, rest);
    EXPECT_EQ(5U, device.scan_all().size());
}

TEST(faults, stall_ends_with_a_stop)
{
    const faulty_driver driver("stall 3600 s after 10 lines");
    small_scanner device;
    ASSERT_EQ(0, device.start());
    std::vector<unsigned char> buffer(std::size_t{10} * line_bytes);
    long length = static_cast<long>(buffer.size());
    ASSERT_EQ(0, kx_scanner_read_img_data(device.handle(), buffer.data(), &length));
    EXPECT_EQ(10 * line_bytes, length);
    while_stopping(device, [&] { expect_reading(2, 0, read_all(device)); });
    read_all(device);                         // which may answer a last stop
    expect_reading(268, 0, read_all(device)); // no further job: it meets the stall where a stop came before it
}

TEST(faults, slow_start_holds_every_job_up)
{
    const faulty_driver driver("slow start 200 ms");
    small_scanner device;
    for (int job = 0; job < 2; ++job) {
        EXPECT_LE(milliseconds(200), time_of([&] { EXPECT_EQ(0, device.start()); }));
        device.stop();
    }
}

TEST(faults, slow_start_ends_with_a_stop)
{
    const faulty_driver driver("slow start 3600 s once");
    small_scanner device;
    while_stopping(device, [&] { EXPECT_EQ(2, device.start()); });
    expect_whole_job(device);
}

TEST(faults, stop_of_a_slow_start_leaves_the_faults_after_it)
{
    const faulty_driver driver("slow start 3600 s once; empty once");
    small_scanner device;
    while_stopping(device, [&] { EXPECT_EQ(2, device.start()); });
    EXPECT_EQ(0xDE07, device.start());
    expect_whole_job(device);
}

TEST(faults, vanished_device_answers_every_call_with_failure_and_can_be_closed)
{
    const faulty_driver driver("vanish after 50 lines");
    EXPECT_EQ(1, listed_devices());
    void *handle = nullptr;
    ASSERT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, kx_scanner_start(handle, nullptr, -1));
    std::vector<unsigned char> buffer(10000000);
    long length = static_cast<long>(buffer.size());
    EXPECT_EQ(0, kx_scanner_read_img_data(handle, buffer.data(), &length));
    EXPECT_EQ(50 * 1654 * 3, length);
    for (int i = 0; i < 2; ++i) {
        length = 1000;
        EXPECT_EQ(269, kx_scanner_read_img_data(handle, buffer.data(), &length));
        EXPECT_EQ(0, length);
    }
    SANE_Parameters parameters{};
    length = 4;
    int resolution = 75;
    EXPECT_EQ(269, kx_scanner_get_img_info(handle, &parameters, 24));
    EXPECT_EQ(269, kx_scanner_start(handle, nullptr, -1));
    EXPECT_EQ(269, kx_scanner_set_parameter(handle, "resolution", &resolution, &length));
    EXPECT_EQ(269, kx_scanner_get_parameter(handle, nullptr, nullptr, &length, nullptr));
    EXPECT_EQ(269, kx_scanner_control(handle, 0x20000001, nullptr, nullptr));
    EXPECT_EQ(0xDE00, kx_scanner_get_status(handle, 0));
    EXPECT_EQ(0, listed_devices());
    EXPECT_EQ(256, open_answer("")); // there is no first device
    EXPECT_EQ(269, open_answer("virtual:duplex-feeder"));
    EXPECT_EQ(0, kx_scanner_stop(handle));
    EXPECT_EQ(0, kx_scanner_close(handle, 1));
    EXPECT_EQ(256, kx_scanner_close(handle, 1));
}

TEST(faults, vanished_device_is_there_again_with_the_next_driver)
{
    {
        const faulty_driver driver("vanish");
        EXPECT_EQ(0, listed_devices());
        EXPECT_EQ(269, open_answer("virtual:duplex-feeder"));
    }
    const faulty_driver driver("");
    EXPECT_EQ(1, listed_devices());
    EXPECT_EQ(0, open_answer(""));
}

TEST(faults, deny_refuses_without_a_question)
{
    const faulty_driver driver("deny");
    bool asked = true;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(259, open_answer("", &asked));
        EXPECT_FALSE(asked);
    }
    EXPECT_EQ(1, listed_devices());
}

TEST(faults, ask_asks_once)
{
    const faulty_driver driver("ask");
    bool asked = false;
    EXPECT_EQ(259, open_answer("", &asked));
    EXPECT_TRUE(asked);
    EXPECT_EQ(0, open_answer("", &asked));
    EXPECT_FALSE(asked);
}

TEST(faults, deny_is_for_the_device_that_it_names)
{
    const faulty_driver driver("on virtual:another deny; on virtual:duplex-feeder ask");
    EXPECT_EQ(259, open_answer(""));
    EXPECT_EQ(0, open_answer(""));
}

TEST(faults, are_met_as_often_as_they_are_said_to_by_all_handles_together)
{
    const faulty_driver driver("jam after 3 lines 20 times");
    std::atomic<int> jams{0};
    const auto scan = [&jams](scanner &device) {
        for (int job = 0; job < 15; ++job) {
            EXPECT_EQ(0, device.start());
            if (read_all(device).answer == 0xDE0A)
                ++jams;
            device.stop();
        }
    };
    small_scanner one;
    small_scanner two;
    std::thread other([&] { scan(one); });
    scan(two);
    other.join();
    EXPECT_EQ(20, jams);
}

} // namespace driver_test
