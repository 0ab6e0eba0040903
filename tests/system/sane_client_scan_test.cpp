// SPDX-License-Identifier: MIT
// An interactive application scans: page after page, with other settings in between, and gives up at any moment, by a
// signal or from another thread.
#include "sane_client.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <array>
#include <atomic>
#include <csignal>
#include <locale.h>
#include <sys/time.h>
#include <sys/types.h>
#include <thread>

namespace system_test {

class client_scan : public sane_client {};

TEST_F(client_scan, delivers_as_many_bytes_as_it_says)
{
    open();
    set("resolution", "75");
    for (int page_number = 1; page_number <= 6; ++page_number) {
        const delivered_page page = scan_page();
        EXPECT_EQ(SANE_STATUS_EOF, page.end) << page_number;
        EXPECT_EQ(0, page.last_length);
        EXPECT_EQ(620, page.parameters.pixels_per_line);
        EXPECT_EQ(877, page.parameters.lines);
        EXPECT_EQ(620U * 877U * 3U, page.size);
    }
    EXPECT_EQ(SANE_STATUS_NO_DOCS, scan_page().end);
    EXPECT_EQ(SANE_STATUS_EOF, scan_page().end) << "the feeder is full again";
}

TEST_F(client_scan, takes_other_settings_between_pages)
{
    open();
    set("resolution", "75");
    EXPECT_EQ(620U * 877U * 3U, scan_page().size);
    EXPECT_EQ(reload_all, set("mode", "Gray"));
    EXPECT_EQ(620U * 877U, scan_page().size);
    EXPECT_EQ(reload_all, set("mode", "Lineart"));
    EXPECT_EQ(78U * 877U, scan_page().size);
    EXPECT_EQ(reload_all, set("resolution", "150"));
    const delivered_page page = scan_page();
    EXPECT_EQ(1240, page.parameters.pixels_per_line);
    EXPECT_EQ(155, page.parameters.bytes_per_line);
    EXPECT_EQ(1754, page.parameters.lines);
    EXPECT_EQ(1, page.parameters.depth);
    EXPECT_EQ(155U * 1754U, page.size);
}

TEST_F(client_scan, keeps_a_started_page_as_it_was)
{
    open();
    set("resolution", "75");
    ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    set("mode", "Gray");
    const delivered_page page = read_page();
    EXPECT_EQ(SANE_FRAME_RGB, page.parameters.format);
    EXPECT_EQ(620U * 877U * 3U, page.size);
}

TEST_F(client_scan, reads_nothing_before_a_start)
{
    open();
    const delivered_page page = read_page();
    EXPECT_EQ(SANE_STATUS_INVAL, page.end);
    EXPECT_EQ(0, page.last_length);
}

TEST_F(client_scan, goes_on_while_devices_are_listed)
{
    open();
    set("resolution", "75");
    ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    const SANE_Device **list = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_get_devices(&list, SANE_TRUE));
    EXPECT_STREQ("pelsane:virtual:duplex-feeder", list[0]->name);
    EXPECT_EQ(620U * 877U * 3U, read_page().size);
}

class client_cancel : public sane_client {
protected:
    // Reads page after page, job after job, until a read does not end as a page does.
    SANE_Status scan_until_stopped()
    {
        for (;;) {
            const SANE_Status end = scan_page().end;
            if (end != SANE_STATUS_EOF && end != SANE_STATUS_NO_DOCS)
                return end;
        }
    }

    void expect_a_whole_job()
    {
        set("resolution", "75");
        set("mode", "Gray");
        for (int page = 1; page <= 6; ++page)
            EXPECT_EQ(620U * 877U, scan_page().size) << page;
        EXPECT_EQ(SANE_STATUS_NO_DOCS, scan_page().end);
    }
};

TEST_F(client_cancel, from_another_thread_ends_reading)
{
    open();
    ASSERT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    std::array<SANE_Byte, 1000> buffer{};
    SANE_Int length = 0;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_read(handle(), buffer.data(), 1000, &length));
    std::thread([this] { sane_cancel(handle()); }).join();
    EXPECT_EQ(SANE_STATUS_CANCELLED, sane_read(handle(), buffer.data(), 1000, &length));
    EXPECT_EQ(0, length);
    expect_a_whole_job();
}

TEST_F(client_cancel, from_another_thread_at_the_same_time_as_reads)
{
    open();
    for (int repetition = 0; repetition < 5; ++repetition) {
        std::atomic<bool> ended{false};
        std::thread stopper([this, &ended] {
            while (!ended)
                sane_cancel(handle());
        });
        EXPECT_EQ(SANE_STATUS_CANCELLED, scan_until_stopped());
        ended = true;
        stopper.join();
        // What was still cancelled after the last read holds for no page that is started now.
        EXPECT_EQ(SANE_STATUS_EOF, scan_page().end);
        sane_cancel(handle());
    }
    expect_a_whole_job();
}

TEST_F(client_cancel, from_another_thread_ends_the_wait_for_a_page)
{
    use_profile_with("\"feeder\": {", "\"pages_per_minute\": 60, \"feeder\": {");
    open();
    std::atomic<bool> ended{false};
    std::thread stopper([this, &ended] {
        while (!ended)
            sane_cancel(handle());
    });
    EXPECT_EQ(SANE_STATUS_CANCELLED, sane_start(handle()));
    ended = true;
    stopper.join();
    EXPECT_EQ(SANE_STATUS_GOOD, sane_start(handle()));
    sane_cancel(handle());
}

namespace {

SANE_Handle handle_to_cancel = nullptr;

extern "C" void cancel_on_signal(int)
{
    sane_cancel(handle_to_cancel);
}

void set_alarm_each_us(suseconds_t interval)
{
    const itimerval times{{0, interval}, {0, interval}};
    ASSERT_EQ(0, ::setitimer(ITIMER_REAL, &times, nullptr));
}

} // namespace

TEST_F(client_cancel, from_a_signal_handler_ends_reading)
{
    open();
    handle_to_cancel = handle();
    ASSERT_NE(SIG_ERR, std::signal(SIGALRM, cancel_on_signal));
    for (int repetition = 0; repetition < 5; ++repetition) {
        set_alarm_each_us(1000);
        EXPECT_EQ(SANE_STATUS_CANCELLED, scan_until_stopped());
        set_alarm_each_us(0);
        EXPECT_EQ(SANE_STATUS_EOF, scan_page().end);
        sane_cancel(handle());
    }
    ASSERT_NE(SIG_ERR, std::signal(SIGALRM, SIG_DFL));
    expect_a_whole_job();
}

TEST_F(client_cancel, twice_and_without_a_job_does_no_harm)
{
    open();
    sane_cancel(handle());
    sane_cancel(handle());
    expect_a_whole_job();
    sane_cancel(handle());
    reopen();
    expect_a_whole_job();
}

class client_locale : public sane_client {
protected:
    void SetUp() override
    {
        set_variable("LOCPATH", PELSANE_LOCALES);
        set_variable("LC_ALL", "de_DE.UTF-8");
        ASSERT_NE(nullptr, ::setlocale(LC_ALL, "")) << "the locale is missing in " PELSANE_LOCALES;
        ASSERT_STREQ(",", ::localeconv()->decimal_point);
    }
    ~client_locale() override { ::setlocale(LC_ALL, "C"); }
};

TEST_F(client_locale, with_commas_does_not_change_numbers)
{
    open();
    EXPECT_EQ(reload_image, set("br-x", "100.5"));
    EXPECT_EQ("100.5", get("br-x"));
    EXPECT_EQ(reload_options, set("is-custom-gamma", "true"));
    EXPECT_EQ(taken, set("gamma", "0.5"));
    EXPECT_EQ("0.5", get("gamma"));
    EXPECT_EQ(inexact, set("gamma", "7.25"));
    EXPECT_EQ("5", get("gamma"));
    EXPECT_EQ(taken, set_auto("gamma"));
    EXPECT_EQ("1", get("gamma"));
    EXPECT_EQ(reload_options, set("is-photo-mode", "true"));
    EXPECT_EQ("1.2", get("gamma"));
    EXPECT_STREQ(",", ::localeconv()->decimal_point);
}

TEST_F(client_locale, with_commas_does_not_change_limits)
{
    open();
    EXPECT_EQ(SANE_FIX(0.1), descriptor("gamma")->constraint.range->min);
    EXPECT_EQ(SANE_FIX(5.0), descriptor("gamma")->constraint.range->max);
    EXPECT_EQ(SANE_FIX(297.0), descriptor("br-x")->constraint.range->max);
}

TEST_F(client_locale, with_commas_does_not_change_conditions)
{
    open();
    EXPECT_TRUE(is_active("sharpen"));
    set("resolution", "600");
    EXPECT_FALSE(is_active("sharpen"));
    EXPECT_STREQ("Sides", descriptor("page")->title);
}

TEST_F(client_locale, with_commas_does_not_change_areas)
{
    open();
    set("resolution", "100");
    set("br-x", "50.8");
    set("br-y", "25.4");
    const delivered_page page = scan_page();
    EXPECT_EQ(200, page.parameters.pixels_per_line);
    EXPECT_EQ(100, page.parameters.lines);
}

} // namespace system_test
