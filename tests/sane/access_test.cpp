// SPDX-License-Identifier: MIT
// Devices that ask for access when they are opened: the question that reaches the frontend, and what follows from its
// answer.
#include "backend_test.h"
#include "kx_scanner.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

const texts one_open = {"kx_scanner_open(virtual:1,0,null,null,null)"};
const texts two_opens = {"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_open(virtual:1,0,null,null,null)"};

// What the frontend was asked, and how it answers.
struct frontend {
    int answer = 0;
    int asked = 0;
    void *handle = nullptr;
    int event = 0;
    void *block = nullptr;
    void *tail = nullptr;
    bool is_zeroed = false;
    unsigned int *length = nullptr;
};

int answer_question(void *handle, int event, void *data, unsigned int *length, void *parameter)
{
    auto &self = *static_cast<frontend *>(parameter);
    ++self.asked;
    self.handle = handle;
    self.event = event;
    self.length = length;
    self.block = data;
    auto *const bytes = static_cast<unsigned char *>(data);
    std::memcpy(static_cast<void *>(&self.tail), bytes, sizeof self.tail);
    self.is_zeroed = std::all_of(bytes + 8, bytes + 792, [](unsigned char byte) { return byte == 0; });
    std::memset(bytes + 8, 'u', 256); // fields may be filled to the last byte
    std::memset(bytes + 264, 'p', 256);
    std::memset(bytes + 520, 'e', 256);
    return self.answer;
}

class access_to_device : public backend_test {
protected:
    frontend asked_;
    SANE_Handle handle_ = handle_of(0x77);

    // A device that denies `times` opens and says that it wants access data.
    void script_denial(int times)
    {
        scripted::answer("kx_scanner_open", 259, times);
        scripted::set_need_auth(1, times);
    }

    void listen()
    {
        ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, answer_question, &asked_));
        scripted::forget_record();
    }
};

} // namespace

TEST_F(access_to_device, frontend_is_asked_with_a_zeroed_block)
{
    listen();
    script_denial(1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(1, asked_.asked);
    EXPECT_EQ(3, asked_.event);
    EXPECT_EQ(nullptr, asked_.handle);
    EXPECT_EQ(nullptr, asked_.length);
    EXPECT_EQ(static_cast<unsigned char *>(asked_.block) + 776, asked_.tail);
    EXPECT_TRUE(asked_.is_zeroed);
}

TEST_F(access_to_device, opens_again_when_the_frontend_goes_on_without_passing_its_data)
{
    listen();
    script_denial(1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(handle_of(0x100000003), handle_);
    EXPECT_EQ(two_opens, scripted::calls_of("kx_scanner_open"));
}

TEST_F(access_to_device, fills_the_option_table_once_after_the_second_open)
{
    listen();
    script_denial(1);
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4, "cur": 200})");
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle_));
    texts expected = two_opens;
    expected.insert(expected.end(), {"kx_scanner_get_parameter(0x100000002,0,null,0,null)",
                                     "kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)"});
    EXPECT_EQ(expected, scripted::calls());
}

TEST_F(access_to_device, frontend_that_gives_up_cancels_the_open)
{
    for (const int answer : {1, 2, -1, 259}) {
        scripted::reset();
        asked_.answer = answer;
        listen();
        script_denial(1);
        EXPECT_EQ(SANE_STATUS_CANCELLED, sane_pelsane_open("virtual:1", &handle_)) << answer;
        EXPECT_EQ(handle_of(0x77), handle_) << answer;
        EXPECT_EQ(one_open, scripted::calls()) << answer;
    }
}

TEST_F(access_to_device, second_denial_is_final)
{
    listen();
    script_denial(2);
    EXPECT_EQ(SANE_STATUS_ACCESS_DENIED, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(1, asked_.asked);
    EXPECT_EQ(two_opens, scripted::calls());
}

TEST_F(access_to_device, other_failure_of_the_second_open_is_answered_untranslated)
{
    listen();
    script_denial(1);
    scripted::answer("kx_scanner_open", 56834, 1);
    EXPECT_EQ(56834, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(two_opens, scripted::calls());
}

TEST_F(access_to_device, without_a_listening_frontend_the_open_is_tried_again)
{
    init();
    script_denial(1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(two_opens, scripted::calls_of("kx_scanner_open"));
    EXPECT_EQ(texts(2, "kx_scanner_get_parameter(0x100000002,0,null,0,null)"),
              scripted::calls_of("kx_scanner_get_parameter"));
}

TEST_F(access_to_device, denial_without_the_wish_for_access_asks_nobody)
{
    listen();
    scripted::answer("kx_scanner_open", 259);
    EXPECT_EQ(SANE_STATUS_ACCESS_DENIED, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(0, asked_.asked);
    EXPECT_EQ(one_open, scripted::calls());
}

TEST_F(access_to_device, wish_for_access_with_another_failure_asks_nobody)
{
    listen();
    scripted::answer("kx_scanner_open", 269);
    scripted::set_need_auth(1);
    EXPECT_EQ(269, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(0, asked_.asked);
    EXPECT_EQ(one_open, scripted::calls());
}

TEST_F(access_to_device, wish_for_access_with_success_asks_nobody)
{
    listen();
    scripted::set_need_auth(1);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle_));
    EXPECT_EQ(0, asked_.asked);
}

TEST_F(access_to_device, block_has_its_fields_where_frontends_expect_them)
{
    EXPECT_EQ(0U, offsetof(kx_access, tail));
    EXPECT_EQ(8U, offsetof(kx_access, user));
    EXPECT_EQ(264U, offsetof(kx_access, password));
    EXPECT_EQ(520U, offsetof(kx_access, extra));
    EXPECT_EQ(776U, offsetof(kx_access, trailing));
    EXPECT_EQ(792U, sizeof(kx_access));
}
