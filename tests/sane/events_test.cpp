// SPDX-License-Identifier: MIT
// Driver events on their way to the frontend.
#include "backend_test.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <atomic>
#include <optional>
#include <thread>

namespace {

// What reached the frontend.
struct frontend {
    int answer = 0;
    std::atomic<int> calls{0};
    void *handle = nullptr;
    int event = 0;
    void *data = nullptr;
    unsigned int *length = nullptr;
};

int receive_event(void *handle, int event, void *data, unsigned int *length, void *parameter)
{
    auto &self = *static_cast<frontend *>(parameter);
    ++self.calls;
    self.handle = handle;
    self.event = event;
    self.data = data;
    self.length = length;
    return self.answer;
}

int call_back_in(void *handle, int, void *, unsigned int *, void *parameter)
{
    *static_cast<int *>(parameter) = sane_pelsane_start(handle);
    return sane_pelsane_init_ex(nullptr, receive_event, nullptr) == SANE_STATUS_GOOD ? 31 : 32;
}

class events : public backend_test {
protected:
    frontend frontend_;

    void listen()
    {
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, receive_event, &frontend_));
        scripted::forget_record();
    }
};

} // namespace

TEST_F(events, question_for_a_listener_is_answered_without_the_frontend)
{
    init();
    EXPECT_EQ(56833, scripted::fire_event(nullptr, 1));
    listen();
    EXPECT_EQ(0, scripted::fire_event(nullptr, 1));
    frontend_.answer = 5;
    EXPECT_EQ(0, scripted::fire_event(handle_of(0x100000002), 1));
    EXPECT_EQ(0, frontend_.calls);
}

TEST_F(events, without_a_frontend_every_other_event_is_answered_with_zero)
{
    init();
    for (const int event : {0, 2, 3, 4, 100, -1})
        EXPECT_EQ(0, scripted::fire_event(handle_of(0x100000002), event)) << event;
}

TEST_F(events, frontend_gets_the_event_as_the_driver_sent_it)
{
    listen();
    char data[4] = "abc";
    unsigned int length = 4;
    for (const int event : {0, 2, 3, 4, 0x7fffffff, -1}) {
        scripted::fire_event(nullptr, event, data, &length);
        EXPECT_EQ(event, frontend_.event);
        EXPECT_EQ(data, frontend_.data);
        EXPECT_EQ(&length, frontend_.length);
    }
    EXPECT_EQ(6, frontend_.calls);
}

TEST_F(events, driver_gets_the_frontends_answer_unchanged)
{
    listen();
    for (const int answer : {0, 1, -1, 262, 56833}) {
        frontend_.answer = answer;
        EXPECT_EQ(answer, scripted::fire_event(nullptr, 4));
    }
}

TEST_F(events, frontend_gets_its_own_handle_of_the_device)
{
    listen();
    scripted::fire_event(handle_of(0x100000002), 4);
    EXPECT_EQ(handle_of(0x100000003), frontend_.handle);
    scripted::fire_event(nullptr, 4);
    EXPECT_EQ(nullptr, frontend_.handle);
}

TEST_F(events, later_callback_takes_the_place_of_the_earlier)
{
    frontend later;
    listen();
    sane_pelsane_init_ex(nullptr, receive_event, &later);
    scripted::fire_event(nullptr, 4);
    EXPECT_EQ(0, frontend_.calls);
    EXPECT_EQ(1, later.calls);
}

TEST_F(events, frontend_may_call_back_in)
{
    int started = -1;
    sane_pelsane_init_ex(nullptr, call_back_in, &started);
    const SANE_Handle device = open();
    ASSERT_NE(nullptr, device);
    EXPECT_EQ(31, scripted::fire_event(handle_of(0x100000002), 4));
    EXPECT_EQ(SANE_STATUS_GOOD, started);
}

TEST_F(events, events_during_exit_are_dropped)
{
    listen();
    std::optional<int> answered;
    std::optional<int> is_listened;
    scripted::on().uninitialize = [&]() -> std::optional<int> {
        answered = scripted::fire_event(nullptr, 4);
        is_listened = scripted::fire_event(nullptr, 1);
        return std::nullopt;
    };
    frontend_.answer = 5;
    sane_pelsane_exit();
    EXPECT_EQ(0, answered);
    EXPECT_EQ(56833, is_listened);
    EXPECT_EQ(0, frontend_.calls);
}

TEST_F(events, events_while_devices_are_closed_at_exit_are_dropped)
{
    listen();
    open();
    std::optional<int> answered;
    scripted::on().close = [&](void *handle, int) -> std::optional<int> {
        answered = scripted::fire_event(handle, 4);
        return std::nullopt;
    };
    frontend_.answer = 5;
    sane_pelsane_exit();
    EXPECT_EQ(0, answered);
    EXPECT_EQ(0, frontend_.calls);
}

TEST_F(events, exit_forgets_the_frontend)
{
    listen();
    sane_pelsane_exit();
    init();
    EXPECT_EQ(56833, scripted::fire_event(nullptr, 1));
    EXPECT_EQ(0, scripted::fire_event(nullptr, 4));
    EXPECT_EQ(0, frontend_.calls);
}

TEST_F(events, callback_and_parameter_always_belong_together)
{
    frontend first;
    frontend second;
    first.answer = 1;
    second.answer = 2;
    sane_pelsane_init_ex(nullptr, receive_event, &first);
    std::atomic<bool> is_over{false};
    std::atomic<int> foreign{0};
    std::thread driver([&] {
        while (!is_over) {
            const int answered = scripted::fire_event(nullptr, 4).value_or(-1);
            foreign += answered != 1 && answered != 2 ? 1 : 0;
        }
    });
    for (int i = 0; i < 200; ++i)
        sane_pelsane_init_ex(nullptr, receive_event, i % 2 == 0 ? &second : &first);
    is_over = true;
    driver.join();
    EXPECT_EQ(0, foreign);
}
