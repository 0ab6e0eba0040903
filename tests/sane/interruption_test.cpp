// SPDX-License-Identifier: MIT
// Calls that come while another is under way: a cancel from a signal handler while a device closes, a thread that its
// host cancels within a read, a frontend that calls back in while the driver starts or while a device is opened.
#include "backend_test.h"
#include "pauses.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <csignal>
#include <functional>
#include <new>
#include <optional>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>
#include <vector>

namespace {

class interruption : public backend_test {};

SANE_Handle device_to_cancel = nullptr;

void cancel_on_signal(int)
{
    sane_pelsane_cancel(device_to_cancel);
}

// Cancels a device from a signal handler while the driver closes the device with this handle of its own.
void cancel_during_close(SANE_Handle cancelled, void *closed_scanner)
{
    device_to_cancel = cancelled;
    scripted::on().close = [closed_scanner](void *scanner, int) -> std::optional<int> {
        if (scanner == closed_scanner) {
            const auto before = std::signal(SIGUSR2, cancel_on_signal);
            std::raise(SIGUSR2);
            std::signal(SIGUSR2, before);
        }
        return std::nullopt;
    };
}

// A frontend that does something at every event.
int act_on_event(void *, int, void *, unsigned int *, void *parameter)
{
    (*static_cast<std::function<void()> *>(parameter))();
    return 0;
}

// A thread's read of a device, which waits in the driver until the thread is cancelled.
struct cancelled_read {
    SANE_Handle device = nullptr;
    bool is_unwound = false;
    bool has_returned = false;
    sem_t is_waiting = {};
};

void *read_device(void *parameter)
{
    struct unwinding {
        bool &seen;
        ~unwinding() { seen = true; }
    };
    auto &read = *static_cast<cancelled_read *>(parameter);
    const unwinding local{read.is_unwound};
    SANE_Byte buffer[16];
    SANE_Int length = 0;
    sane_pelsane_read(read.device, buffer, sizeof buffer, &length);
    read.has_returned = true;
    return nullptr;
}

} // namespace

// ===== cancel while a device closes =====

TEST_F(interruption, cancel_of_the_device_that_closes_reaches_no_driver)
{
    init();
    const SANE_Handle device = open();
    cancel_during_close(device, handle_of(0x100000002));
    sane_pelsane_close(device);
    EXPECT_EQ(texts({"kx_scanner_close(0x100000002,1)", "Info: [ sane_cancel ]"}), scripted::record());
}

TEST_F(interruption, cancel_of_another_device_than_the_one_that_closes_reaches_the_driver)
{
    init();
    const SANE_Handle first = open("first");
    const SANE_Handle second = open("second");
    cancel_during_close(second, handle_of(0x100000002));
    sane_pelsane_close(first);
    EXPECT_EQ(texts({"kx_scanner_close(0x100000002,1)", "Info: [ sane_cancel ]", "kx_scanner_stop(0x200000004)"}),
              scripted::record());
}

TEST_F(interruption, cancel_while_exit_closes_devices_finds_those_that_are_left)
{
    init();
    const SANE_Handle first = open("first");
    open("second");
    const SANE_Handle third = open("third");
    cancel_during_close(third, handle_of(0x200000004));
    sane_pelsane_exit();
    EXPECT_EQ(texts({"kx_scanner_stop(0x300000006)"}), scripted::calls_of("kx_scanner_stop"));

    init();
    open("first"); // 0x400000008
    open("second");
    cancel_during_close(first, handle_of(0x50000000a));
    scripted::forget_record();
    sane_pelsane_exit();
    EXPECT_EQ(texts(), scripted::calls_of("kx_scanner_stop"));
    EXPECT_EQ(texts({"Info: [ sane_cancel ]"}), scripted::log_lines());
}

// ===== a cancelled thread =====

TEST_F(interruption, thread_that_is_cancelled_within_a_read_unwinds)
{
    init();
    cancelled_read read;
    read.device = open();
    ASSERT_EQ(0, sem_init(&read.is_waiting, 0, 0));
    scripted::on().read_img_data = [&read](void *, void *, long *) -> std::optional<int> {
        sem_post(&read.is_waiting);
        while (true)
            pause();
    };
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, read_device, &read));
    ASSERT_EQ(0, sem_wait(&read.is_waiting));
    void *result = nullptr;
    EXPECT_EQ(0, pthread_cancel(thread));
    EXPECT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(PTHREAD_CANCELED, result);
    EXPECT_TRUE(read.is_unwound);
    EXPECT_FALSE(read.has_returned);
    sem_destroy(&read.is_waiting);

    scripted::on().read_img_data = nullptr;
    SANE_Byte byte = 0;
    EXPECT_EQ(SANE_STATUS_EOF, sane_pelsane_read(read.device, &byte, 1, nullptr));
}

TEST_F(interruption, thread_that_is_cancelled_within_exit_leaves_no_device_to_cancel)
{
    init();
    open("first");
    const SANE_Handle second = open("second");
    sem_t is_waiting;
    ASSERT_EQ(0, sem_init(&is_waiting, 0, 0));
    scripted::on().close = [&is_waiting](void *, int) -> std::optional<int> {
        sem_post(&is_waiting);
        while (true)
            pause();
    };
    const auto exit = [](void *) -> void * {
        sane_pelsane_exit();
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(0, pthread_create(&thread, nullptr, exit, nullptr));
    ASSERT_EQ(0, sem_wait(&is_waiting));
    EXPECT_EQ(0, pthread_cancel(thread));
    EXPECT_EQ(0, pthread_join(thread, nullptr));
    sem_destroy(&is_waiting);

    scripted::on().close = nullptr;
    init();
    sane_pelsane_cancel(second);
    EXPECT_EQ(texts(), scripted::calls_of("kx_scanner_stop"));
}

// ===== a frontend that calls back in =====

TEST_F(interruption, frontend_that_calls_in_while_the_driver_starts_finds_the_same_object)
{
    kx_sane_middleware *found = nullptr;
    bool is_ready = false;
    SANE_Status listing = SANE_STATUS_INVAL;
    std::function<void()> look = [&] {
        const SANE_Device **list = nullptr;
        found = kx_sane_middleware::instance();
        is_ready = found->is_ready();
        listing = sane_pelsane_get_devices(&list, SANE_FALSE);
    };
    scripted::on().initialize = [&]() -> std::optional<int> {
        scripted::fire_event(nullptr, 4);
        return std::nullopt;
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, act_on_event, &look));
    EXPECT_EQ(kx_sane_middleware::instance(), found);
    EXPECT_TRUE(is_ready);
    EXPECT_EQ(SANE_STATUS_GOOD, listing);
    EXPECT_EQ(texts({"kx_scanner_initialize(callback,null)"}), scripted::calls_of("kx_scanner_initialize"));
}

TEST_F(interruption, device_that_a_frontend_opens_while_the_driver_starts_stays_open)
{
    SANE_Handle handle = nullptr;
    std::function<void()> open_device = [&] { sane_pelsane_open("virtual:1", &handle); };
    scripted::on().initialize = [&]() -> std::optional<int> {
        scripted::fire_event(nullptr, 4);
        return std::nullopt;
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, act_on_event, &open_device));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(handle));
}

TEST_F(interruption, device_that_a_frontend_closes_within_a_control_is_not_refreshed)
{
    SANE_Handle handle = nullptr;
    std::function<void()> close_device = [&] { sane_pelsane_close(handle); };
    ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, act_on_event, &close_device));
    handle = open();
    scripted::on().control = [](void *scanner, unsigned long, void *, unsigned int *) -> std::optional<int> {
        scripted::fire_event(scanner, 4);
        return 262;
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_io_control(handle, 0x20, nullptr, nullptr));
    EXPECT_EQ(texts({"kx_scanner_control(0x100000002,0x20,null,null)", "kx_scanner_close(0x100000002,1)"}),
              scripted::calls());
}

TEST_F(interruption, driver_that_fails_to_start_by_an_exception_leaves_nothing_behind)
{
    const auto before = std::signal(SIGUSR1, cancel_on_signal);
    scripted::on().initialize = []() -> std::optional<int> { throw std::bad_alloc(); };
    SANE_Int version = 0;
    EXPECT_EQ(SANE_STATUS_NO_MEM, sane_pelsane_init(&version, nullptr));
    EXPECT_EQ(0, version);
    EXPECT_EQ(std::vector<long>(), pauses::made_ms());
    EXPECT_EQ(cancel_on_signal, std::signal(SIGUSR1, before));

    scripted::on().initialize = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(&version, nullptr));
    EXPECT_EQ(16801505, version);
    EXPECT_EQ(texts(2, "kx_scanner_initialize(callback,null)"), scripted::calls_of("kx_scanner_initialize"));
}
