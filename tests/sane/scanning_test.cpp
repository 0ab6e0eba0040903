// SPDX-License-Identifier: MIT
// Parameters, start, read, cancel and io_control: what reaches the driver and what comes back.
#include "backend_test.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

namespace {

class scanning : public backend_test {
protected:
    SANE_Handle device_ = nullptr;

    void SetUp() override
    {
        backend_test::SetUp();
        init();
        device_ = open();
    }
};

SANE_Handle device_to_cancel = nullptr;

void cancel_on_signal(int)
{
    sane_pelsane_cancel(device_to_cancel);
}

const SANE_Handle unknown_handle = reinterpret_cast<SANE_Handle>(0xDEAD);

// Makes a read wait in the driver until it is stopped, as a feeder does.
class waiting_read {
public:
    waiting_read()
    {
        scripted::on().read_img_data = [this](void *, void *, long *count) -> std::optional<int> {
            std::unique_lock<std::mutex> held(lock_);
            is_reading_ = true;
            changed_.notify_all();
            changed_.wait(held, [this] { return is_stopped_; });
            *count = 0;
            return 266;
        };
        scripted::on().stop = [this](void *) -> std::optional<int> {
            const std::lock_guard<std::mutex> held(lock_);
            is_stopped_ = true;
            changed_.notify_all();
            return 0;
        };
    }

    void wait_until_reading()
    {
        std::unique_lock<std::mutex> held(lock_);
        changed_.wait(held, [this] { return is_reading_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool is_reading_ = false;
    bool is_stopped_ = false;
};

const std::pair<int, int> translations[] = {{0, 0},     {256, 4},   {266, 5},   {268, 4},   {269, 9},
                                            {56838, 8}, {56839, 7}, {56842, 6}, {276, 276}, {-1, -1}};

} // namespace

// ===== parameters =====

TEST_F(scanning, parameters_are_filled_by_the_driver)
{
    scripted::set_parameters({SANE_FRAME_RGB, SANE_TRUE, 7440, 2480, 3508, 8});
    SANE_Parameters filled = {};
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_parameters(device_, &filled));
    EXPECT_EQ(SANE_FRAME_RGB, filled.format);
    EXPECT_EQ(SANE_TRUE, filled.last_frame);
    EXPECT_EQ(7440, filled.bytes_per_line);
    EXPECT_EQ(2480, filled.pixels_per_line);
    EXPECT_EQ(3508, filled.lines);
    EXPECT_EQ(8, filled.depth);
    EXPECT_EQ(texts({"kx_scanner_get_img_info(0x100000002,info,24)"}), scripted::record());
}

TEST_F(scanning, image_information_is_filled_by_the_driver)
{
    scripted::set_parameters({SANE_FRAME_GRAY, SANE_TRUE, 100, 100, 200, 8});
    SANE_Image filled = {};
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_parameters_ex(device_, &filled));
    EXPECT_EQ(200, filled.parameters.lines);
    EXPECT_EQ(1, filled.driver_data[0]);
    EXPECT_EQ(24, filled.driver_data[23]);
    EXPECT_EQ(texts({"kx_scanner_get_img_info(0x100000002,info,48)"}), scripted::record());
}

TEST_F(scanning, parameters_without_a_record_are_refused_without_a_driver_call)
{
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_get_parameters(device_, nullptr));
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_get_parameters_ex(device_, nullptr));
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_get_parameters(unknown_handle, nullptr));
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(scanning, parameters_of_an_unknown_handle_are_the_drivers_to_refuse)
{
    SANE_Parameters parameters = {};
    SANE_Image image = {};
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_get_parameters(unknown_handle, &parameters));
    scripted::answer("kx_scanner_get_img_info", 269, 1);
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_pelsane_get_parameters_ex(unknown_handle, &image));
    EXPECT_EQ(texts({"kx_scanner_get_img_info(null,info,24)", "kx_scanner_get_img_info(null,info,48)"}),
              scripted::record());
}

TEST_F(scanning, answers_to_parameters_are_translated)
{
    for (const auto &[code, status] : translations) {
        scripted::answer("kx_scanner_get_img_info", code, 2);
        SANE_Parameters parameters = {};
        SANE_Image image = {};
        EXPECT_EQ(status, sane_pelsane_get_parameters(device_, &parameters)) << code;
        EXPECT_EQ(status, sane_pelsane_get_parameters_ex(device_, &image)) << code;
    }
}

// ===== start =====

TEST_F(scanning, start_is_logged_and_reaches_the_driver)
{
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(device_));
    EXPECT_EQ(texts({"Info: [ sane_start... ]", "kx_scanner_start(0x100000002,null,-1)"}), scripted::record());
}

TEST_F(scanning, start_of_an_unknown_handle_is_logged_and_refused)
{
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(unknown_handle));
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(nullptr));
    EXPECT_EQ(texts(2, "Info: [ sane_start... ]"), scripted::record());
}

TEST_F(scanning, answers_to_start_are_translated)
{
    for (const auto &[code, status] : translations) {
        scripted::answer("kx_scanner_start", code, 1);
        EXPECT_EQ(status, sane_pelsane_start(device_)) << code;
    }
}

// ===== read =====

TEST_F(scanning, reads_a_page_to_its_end_and_then_the_next)
{
    scripted::bytes page(10000);
    for (std::size_t i = 0; i < page.size(); ++i)
        page[i] = static_cast<unsigned char>(i % 251);
    scripted::set_image(page);
    for (int page_number = 0; page_number < 2; ++page_number) {
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(device_));
        scripted::bytes received;
        SANE_Byte buffer[4096];
        SANE_Int length = 0;
        SANE_Status status = SANE_STATUS_GOOD;
        while ((status = sane_pelsane_read(device_, buffer, 4096, &length)) == SANE_STATUS_GOOD)
            received.insert(received.end(), buffer, buffer + length);
        EXPECT_EQ(SANE_STATUS_EOF, status);
        EXPECT_EQ(0, length);
        EXPECT_EQ(page, received) << page_number;
    }
}

TEST_F(scanning, read_tells_the_driver_the_room_there_is)
{
    SANE_Byte buffer[16];
    SANE_Int length = -1;
    scripted::answer("kx_scanner_read_img_data", 0, 1, 7);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_read(device_, buffer, 16, &length));
    EXPECT_EQ(7, length);
    EXPECT_EQ(texts({"kx_scanner_read_img_data(0x100000002,buffer,16)"}), scripted::record());
}

TEST_F(scanning, read_without_a_length_pointer_still_tells_the_room)
{
    SANE_Byte buffer[16];
    scripted::answer("kx_scanner_read_img_data", 0, 1, 7);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_read(device_, buffer, 16, nullptr));
    scripted::answer("kx_scanner_read_img_data", 266, 1, 0);
    EXPECT_EQ(SANE_STATUS_EOF, sane_pelsane_read(device_, buffer, 16, nullptr));
    EXPECT_EQ(texts(2, "kx_scanner_read_img_data(0x100000002,buffer,16)"), scripted::record());
}

TEST_F(scanning, read_of_an_unknown_handle_keeps_the_room_as_length)
{
    SANE_Byte buffer[16];
    SANE_Int length = -1;
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_read(unknown_handle, buffer, 16, &length));
    EXPECT_EQ(16, length);
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_read(unknown_handle, buffer, 16, nullptr));
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(scanning, count_of_a_read_that_ends_or_fails_is_the_drivers)
{
    SANE_Byte buffer[16];
    for (const auto &[code, status] : translations) {
        SANE_Int length = -1;
        scripted::answer("kx_scanner_read_img_data", code, 1, 5);
        EXPECT_EQ(status, sane_pelsane_read(device_, buffer, 16, &length)) << code;
        EXPECT_EQ(5, length) << code;
    }
}

TEST_F(scanning, count_of_a_read_is_cut_to_32_bits)
{
    SANE_Byte buffer[16];
    SANE_Int length = -1;
    scripted::answer("kx_scanner_read_img_data", 0, 1, 0x100000005);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_read(device_, buffer, 16, &length));
    EXPECT_EQ(5, length);
}

TEST_F(scanning, room_of_a_read_is_widened_with_its_sign)
{
    SANE_Byte buffer[16];
    SANE_Int length = 0;
    scripted::answer("kx_scanner_read_img_data", 256, 1);
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_read(device_, buffer, -2, &length));
    EXPECT_EQ(-2, length);
    EXPECT_EQ(texts({"kx_scanner_read_img_data(0x100000002,buffer,-2)"}), scripted::record());
}

// ===== cancel =====

TEST_F(scanning, cancel_is_logged_and_reaches_the_driver_whatever_it_answers)
{
    scripted::answer("kx_scanner_stop", 269);
    sane_pelsane_cancel(device_);
    EXPECT_EQ(texts({"Info: [ sane_cancel ]", "kx_scanner_stop(0x100000002)"}), scripted::record());
}

TEST_F(scanning, cancel_of_a_handle_that_is_not_open_is_logged_alone)
{
    sane_pelsane_cancel(unknown_handle);
    sane_pelsane_cancel(nullptr);
    EXPECT_EQ(texts(2, "Info: [ sane_cancel ]"), scripted::record());
}

TEST_F(scanning, cancel_leaves_errno_to_the_call_that_it_interrupts)
{
    scripted::on().stop = [](void *) -> std::optional<int> {
        errno = ENOENT;
        return std::nullopt;
    };
    errno = EAGAIN;
    sane_pelsane_cancel(device_);
    EXPECT_EQ(EAGAIN, errno);
}

TEST_F(scanning, cancel_from_another_thread_ends_a_read_that_waits)
{
    waiting_read feeder;
    SANE_Byte buffer[16];
    SANE_Int length = -1;
    std::thread canceller([&] {
        feeder.wait_until_reading();
        sane_pelsane_cancel(device_);
    });
    EXPECT_EQ(SANE_STATUS_EOF, sane_pelsane_read(device_, buffer, 16, &length));
    EXPECT_EQ(0, length);
    canceller.join();
}

TEST_F(scanning, cancel_may_come_from_a_signal_handler)
{
    device_to_cancel = device_;
    const auto before = std::signal(SIGUSR2, cancel_on_signal);
    std::raise(SIGUSR2);
    std::signal(SIGUSR2, before);
    EXPECT_EQ(texts({"Info: [ sane_cancel ]", "kx_scanner_stop(0x100000002)"}), scripted::record());
}

// ===== io_control =====

TEST_F(scanning, control_passes_code_data_and_length_unchanged)
{
    char data[8] = "abc";
    unsigned int length = 4;
    void *seen_data = nullptr;
    unsigned int *seen_length = nullptr;
    scripted::on().control = [&](void *, unsigned long, void *passed, unsigned int *passed_length) {
        seen_data = passed;
        seen_length = passed_length;
        std::memcpy(passed, "driver", 7);
        *passed_length = 6;
        return std::optional<int>(0);
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(device_, 0x123456789abcUL, data, &length));
    EXPECT_EQ(data, seen_data);
    EXPECT_EQ(&length, seen_length);
    EXPECT_STREQ("driver", data);
    EXPECT_EQ(6U, length);
    EXPECT_EQ(texts({"kx_scanner_control(0x100000002,0x123456789abc,data,4)"}), scripted::record());
}

TEST_F(scanning, control_without_data_is_passed_on)
{
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(device_, 0, nullptr, nullptr));
    EXPECT_EQ(texts({"kx_scanner_control(0x100000002,0x0,null,null)"}), scripted::record());
}

TEST_F(scanning, answers_to_control_are_translated_without_a_refresh)
{
    const std::pair<int, int> cases[] = {{0, 0},    {260, 0},  {261, 0},   {277, 0},   {278, 0},
                                         {259, 11}, {258, 10}, {56833, 1}, {263, 263}, {-1, -1}};
    for (const auto &[code, status] : cases) {
        scripted::reset();
        scripted::answer("kx_scanner_control", code, 1);
        EXPECT_EQ(status, sane_pelsane_io_control(device_, 0x20, nullptr, nullptr));
        EXPECT_EQ(texts({"kx_scanner_control(0x100000002,0x20,null,null)"}), scripted::record()) << code;
    }
}

TEST_F(scanning, control_that_changed_settings_reads_all_values_again_once)
{
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4, "cur": 200})");
    scripted::set_option(2, "contrast", R"({"type": "int", "size": 4, "cur": 1})");
    const SANE_Handle handle = open("virtual:2");
    scripted::answer("kx_scanner_control", 262, 1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(handle, 0x12300000020UL, nullptr, nullptr));
    EXPECT_EQ(texts({"Debug: the setting '0x00000020' affects other options value, RELOAD ..."}),
              scripted::log_lines());
    EXPECT_EQ(texts({"Debug: the setting '0x%08x' affects other options value, RELOAD ..."}), scripted::log_formats());
    EXPECT_EQ(1U, scripted::calls_of("kx_scanner_control(0x200000004,0x12300000020,null,null)").size());
    EXPECT_EQ(1U, scripted::calls_of("kx_scanner_get_parameter(0x200000004,0,null,0,").size());
    EXPECT_EQ(1U, scripted::calls_of("kx_scanner_get_parameter(0x200000004,1,").size());
    EXPECT_EQ(1U, scripted::calls_of("kx_scanner_get_parameter(0x200000004,2,").size());
    EXPECT_EQ(4U, scripted::calls().size());
}

TEST_F(scanning, control_that_changed_settings_updates_what_depends_on_them)
{
    scripted::set_option(1, "is-size-check", R"({"type": "bool", "size": 4, "cur": true})");
    scripted::set_option(2, "margin", R"({"type": "int", "size": 4, "cur": 1, "depend_or": ["is-size-check==true"]})");
    const SANE_Handle handle = open("virtual:2");
    const SANE_Option_Descriptor *const margin = sane_pelsane_get_option_descriptor(handle, 2);
    ASSERT_NE(nullptr, margin);
    ASSERT_EQ(0, margin->cap & SANE_CAP_INACTIVE);
    scripted::set_option(1, "is-size-check", R"({"type": "bool", "size": 4, "cur": false})");
    scripted::answer("kx_scanner_control", 262, 1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(handle, 0x20, nullptr, nullptr));
    EXPECT_NE(0, margin->cap & SANE_CAP_INACTIVE);
    ASSERT_EQ(1U, scripted::notices().size());
    EXPECT_EQ("margin", scripted::notices()[0].name);
    EXPECT_EQ(0, scripted::notices()[0].enabled);
}

TEST_F(scanning, control_of_an_unknown_handle_is_the_drivers_to_refuse)
{
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_io_control(unknown_handle, 0x20, nullptr, nullptr));
    EXPECT_EQ(texts({"kx_scanner_control(null,0x20,null,null)"}), scripted::record());
}

TEST_F(scanning, control_of_an_unknown_handle_refreshes_nothing)
{
    scripted::answer("kx_scanner_control", 262, 1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(unknown_handle, 0x20, nullptr, nullptr));
    EXPECT_EQ(texts({"kx_scanner_control(null,0x20,null,null)"}), scripted::calls());
}

// ===== exceptions =====

namespace {

template <typename Exception> void script_throwing_driver()
{
    scripted::hooks &on = scripted::on();
    on.enumerate = [](void *, int *, int) -> std::optional<int> { throw Exception(); };
    on.open = [](void **, const char *, char *) -> std::optional<int> { throw Exception(); };
    on.get_parameter = [](void *, const void *, void *, long *, int *) -> std::optional<int> { throw Exception(); };
    on.get_status = [](void *, int) -> std::optional<int> { throw Exception(); };
    on.control = [](void *, unsigned long, void *, unsigned int *) -> std::optional<int> { throw Exception(); };
    on.start = [](void *, void *, int) -> std::optional<int> { throw Exception(); };
    on.read_img_data = [](void *, void *, long *) -> std::optional<int> { throw Exception(); };
    on.stop = [](void *) -> std::optional<int> { throw Exception(); };
    on.get_img_info = [](void *, void *, int) -> std::optional<int> { throw Exception(); };
    on.close = [](void *, int) -> std::optional<int> { throw Exception(); };
}

struct unusual {};

void expect_of_every_entry_point(SANE_Handle device, SANE_Status status)
{
    const SANE_Device **list = nullptr;
    SANE_Handle handle = nullptr;
    SANE_Parameters parameters = {};
    SANE_Image image = {};
    SANE_Byte byte = 0;
    SANE_Int word = 0;
    EXPECT_EQ(status, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_EQ(status, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(nullptr, sane_pelsane_get_option_descriptor(device, 5));
    EXPECT_EQ(status, sane_pelsane_control_option(device, 1, SANE_ACTION_GET_VALUE, &word, nullptr));
    EXPECT_EQ(status, sane_pelsane_get_parameters(device, &parameters));
    EXPECT_EQ(status, sane_pelsane_get_parameters_ex(device, &image));
    EXPECT_EQ(status, sane_pelsane_start(device));
    EXPECT_EQ(status, sane_pelsane_read(device, &byte, 1, nullptr));
    EXPECT_EQ(status, sane_pelsane_io_control(device, 0x20, nullptr, nullptr));
    sane_pelsane_cancel(device);
    sane_pelsane_close(device);
}

} // namespace

TEST_F(scanning, memory_that_runs_out_below_is_a_status)
{
    script_throwing_driver<std::bad_alloc>();
    expect_of_every_entry_point(device_, SANE_STATUS_NO_MEM);
    scripted::on() = {};
}

TEST_F(scanning, any_other_exception_below_is_an_io_error)
{
    script_throwing_driver<unusual>();
    expect_of_every_entry_point(device_, SANE_STATUS_IO_ERROR);
    scripted::on() = {};
}
