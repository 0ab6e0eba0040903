// SPDX-License-Identifier: MIT
// Stopping a job: from the reading thread, another thread and a signal handler, while the scanner waits and while it
// does not.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <sys/time.h>
#include <thread>

namespace driver_test {

class driver_cancel : public driver_running {
protected:
    static int read_some(scanner &device, long *length)
    {
        static unsigned char buffer[1000];
        return kx_scanner_read_img_data(device.handle(), buffer, length);
    }
};

// A device whose pages take more than an hour to pass.
class driver_cancel_of_a_slow_device : public ::testing::Test {
protected:
    driver_cancel_of_a_slow_device()
        : profile_("PELVIRTUAL_PROFILES", write_file(folder_.file("slow.json"), R"({
              "device": {"name": "slow", "vendor": "v", "model": "m", "type": "t"},
              "pages_per_minute": 0.01,
              "papers": {}, "information": {}, "options": []})")
                                              .c_str())
    {
    }
    void SetUp() override { ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr)); }
    void TearDown() override { EXPECT_EQ(0, kx_scanner_uninitialize()); }

    temporary_folder folder_;
    environment_variable profile_;
};

TEST_F(driver_cancel, ends_the_page_once_and_fills_the_feeder)
{
    scanner device;
    device.set("resolution", 75);
    device.scan();
    ASSERT_EQ(0, device.start());
    EXPECT_EQ(0, device.stop());
    long length = 1000;
    EXPECT_EQ(2, read_some(device, &length));
    EXPECT_EQ(0, length);
    length = 1000;
    EXPECT_EQ(268, read_some(device, &length));
    EXPECT_EQ(0, length);
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_cancel, in_the_middle_of_a_page_lets_the_next_start_succeed)
{
    scanner device;
    device.set("resolution", 75);
    ASSERT_EQ(0, device.start());
    long length = 1000;
    EXPECT_EQ(0, read_some(device, &length));
    device.stop();
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_cancel, without_a_job_is_harmless)
{
    scanner device;
    device.set("resolution", 75);
    device.stop();
    device.stop();
    EXPECT_EQ(6U, device.scan_all().size());
    device.stop();
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_cancel, gives_back_the_parameters_of_the_settings)
{
    scanner device;
    device.set("resolution", 75);
    ASSERT_EQ(0, device.start());
    device.set("resolution", 150);
    EXPECT_EQ(620, device.parameters().pixels_per_line);
    device.stop();
    EXPECT_EQ(1240, device.parameters().pixels_per_line);
}

TEST_F(driver_cancel, of_a_handle_that_is_not_open_does_nothing)
{
    EXPECT_EQ(256, kx_scanner_stop(nullptr));
    EXPECT_EQ(256, kx_scanner_stop(reinterpret_cast<void *>(0x1234)));
    void *stale = nullptr;
    {
        const scanner closed;
        stale = closed.handle();
    }
    scanner device; // in the place of the closed one
    device.set("resolution", 75);
    ASSERT_EQ(0, device.start());
    EXPECT_EQ(256, kx_scanner_stop(stale));
    device.read();
}

TEST_F(driver_cancel, of_one_device_leaves_another_alone)
{
    scanner one;
    scanner other;
    one.set("resolution", 75);
    other.set("resolution", 75);
    ASSERT_EQ(0, one.start());
    ASSERT_EQ(0, other.start());
    one.stop();
    other.read();
}

TEST_F(driver_cancel, from_another_thread_ends_a_job)
{
    scanner device;
    device.set("resolution", 75);
    std::atomic<bool> reading{false};
    std::atomic<bool> ended{false};
    std::thread other([&] {
        while (!reading)
            std::this_thread::yield();
        while (!ended) { // a stop between two jobs ends neither
            kx_scanner_stop(device.handle());
            std::this_thread::yield();
        }
    });
    int answer = 0;
    while (answer == 0 || answer == 0xDE07 || answer == 266) {
        answer = device.start();
        while (answer == 0) {
            long length = 1000;
            answer = read_some(device, &length);
            reading = true;
        }
    }
    ended = true;
    other.join();
    EXPECT_EQ(2, answer);
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(driver_cancel_of_a_slow_device, comes_with_its_closing)
{
    const scanner device;
    auto answer = std::async(std::launch::async, [&] { return kx_scanner_start(device.handle(), nullptr, -1); });
    EXPECT_EQ(std::future_status::timeout, answer.wait_for(std::chrono::milliseconds(50)));
    EXPECT_EQ(0, kx_scanner_close(device.handle(), 1));
    EXPECT_EQ(2, answer.get());
}

TEST_F(driver_cancel_of_a_slow_device, from_another_thread_wakes_a_start_that_waits)
{
    scanner device;
    std::atomic<bool> ended{false};
    std::thread other([&] {
        // A stop before the start begins belongs to the job before it, so it is repeated until it is heard.
        while (!ended) {
            kx_scanner_stop(device.handle());
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(2, device.start());
    ended = true;
    other.join();
}

void *device_to_stop;
volatile std::sig_atomic_t alarms;

void stop_in_handler(int)
{
    kx_scanner_stop(device_to_stop);
    alarms = alarms + 1;
}

TEST_F(driver_cancel_of_a_slow_device, from_a_signal_handler_wakes_a_start_that_waits)
{
    scanner device;
    device_to_stop = device.handle();
    struct sigaction action{};
    struct sigaction before{};
    action.sa_handler = stop_in_handler;
    ASSERT_EQ(0, sigaction(SIGALRM, &action, &before));
    itimerval every_millisecond{};
    every_millisecond.it_value.tv_usec = 1000;
    every_millisecond.it_interval.tv_usec = 1000;
    ASSERT_EQ(0, setitimer(ITIMER_REAL, &every_millisecond, nullptr));
    EXPECT_EQ(2, device.start());
    const itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GE(alarms, 1);
}

} // namespace driver_test
