// SPDX-License-Identifier: MIT
// Opening and closing devices, and the handles that applications get for them.
#include "backend_test.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

namespace {

class opened_devices : public backend_test {
protected:
    void SetUp() override
    {
        backend_test::SetUp();
        init();
    }

    static SANE_Handle open_with_driver_handle(std::size_t driver_handle)
    {
        scripted::set_handles({driver_handle});
        return open();
    }
};

int ignore_event(void *, int, void *, unsigned int *, void *)
{
    return 0;
}

const char *const paper = R"({"type": "string", "title": "Paper", "desc": "", "size": 44,
                              "range": ["A4", "A5"], "default": "A4", "cur": "A4"})";

std::string name_at(SANE_Handle handle, SANE_Int number)
{
    const SANE_Option_Descriptor *const descriptor = sane_pelsane_get_option_descriptor(handle, number);
    return descriptor == nullptr ? "none" : descriptor->name;
}

} // namespace

// ===== open =====

TEST_F(opened_devices, open_asks_the_driver_in_order)
{
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4, "cur": 200})");
    scripted::set_option(2, "mode", R"({"type": "string", "size": 16, "range": ["Color", "Gray"], "cur": "Gray"})");
    SANE_Handle handle = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(
        texts({"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_get_parameter(0x100000002,0,null,0,null)",
               "kx_scanner_get_parameter(0x100000002,0,null,0,null)",
               "kx_scanner_get_parameter(0x100000002,1,buffer,1024,id)",
               "kx_scanner_get_parameter(0x100000002,2,buffer,1024,id)"}),
        scripted::calls());
}

TEST_F(opened_devices, device_is_open_to_the_application_before_its_options_are_counted)
{
    SANE_Handle handle = nullptr;
    int started = -1;
    scripted::on().get_parameter = [&](void *, const void *, void *, long *, int *) -> std::optional<int> {
        if (started == -1)
            started = sane_pelsane_start(handle);
        return std::nullopt;
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(SANE_STATUS_GOOD, started);
    const texts calls = scripted::calls();
    EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)",
                     "kx_scanner_get_parameter(0x100000002,0,null,0,null)", "kx_scanner_start(0x100000002,null,-1)"}),
              texts(calls.begin(), calls.begin() + 3));
}

TEST_F(opened_devices, name_may_be_that_of_a_list_which_is_replaced_meanwhile)
{
    const SANE_Device **list = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    scripted::on().open = [&](void **, const char *, char *) -> std::optional<int> {
        sane_pelsane_get_devices(&list, SANE_FALSE); // releases the list that the name is in
        return std::nullopt;
    };
    scripted::answer("kx_scanner_open", 259, 1); // and asks for access, to be opened a second time
    scripted::set_need_auth(1, 1);
    SANE_Handle handle = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open(list[0]->name, &handle));
    EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_open(virtual:1,0,null,null,null)"}),
              scripted::calls_of("kx_scanner_open"));
}

TEST_F(opened_devices, open_with_a_listening_frontend_does_not_ask_for_the_count_of_the_mapper)
{
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    SANE_Handle handle = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(
        texts({"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_get_parameter(0x100000002,0,null,0,null)"}),
        scripted::calls());
}

TEST_F(opened_devices, well_known_options_follow_the_drivers_own)
{
    scripted::set_option(1, "paper", paper);
    const SANE_Handle handle = open();
    EXPECT_EQ("paper", name_at(handle, 1));
    EXPECT_EQ("page-width", name_at(handle, 2));
    EXPECT_EQ("page-height", name_at(handle, 3));
    EXPECT_EQ("none", name_at(handle, 4));
}

TEST_F(opened_devices, listening_frontend_gets_no_well_known_options)
{
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    scripted::set_option(1, "paper", paper);
    const SANE_Handle handle = open();
    EXPECT_EQ("paper", name_at(handle, 1));
    EXPECT_EQ("none", name_at(handle, 2));
    EXPECT_EQ("none", name_at(handle, 3));
}

TEST_F(opened_devices, impossible_counts_give_the_well_known_options_no_numbers_of_others)
{
    scripted::set_option(1, "paper", paper);
    for (const long count : {-1L, 0L, static_cast<long>(INT_MAX)}) {
        scripted::set_option_count(count);
        const SANE_Handle handle = open();
        ASSERT_NE(nullptr, sane_pelsane_get_option_descriptor_ex(handle, "paper")) << count;
        EXPECT_EQ("option-count", name_at(handle, 0)) << count;
        EXPECT_EQ("paper", name_at(handle, 1)) << count;
        EXPECT_EQ("none", name_at(handle, 2)) << count;
        EXPECT_EQ("none", name_at(handle, -1)) << count;
        SANE_Word word = 210;
        EXPECT_EQ(SANE_STATUS_UNSUPPORTED,
                  sane_pelsane_control_option(handle, 0, SANE_ACTION_SET_VALUE, &word, nullptr));
        EXPECT_TRUE(scripted::writes().empty()) << count;
        sane_pelsane_close(handle);
    }
}

TEST_F(opened_devices, whether_a_frontend_listens_is_decided_at_each_open)
{
    scripted::set_option(1, "paper", paper);
    const SANE_Handle plain = open();
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    const SANE_Handle listened = open();
    EXPECT_EQ("page-width", name_at(plain, 2));
    EXPECT_EQ("none", name_at(listened, 2));
}

TEST_F(opened_devices, open_without_room_for_the_handle_is_refused)
{
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_open("virtual:1", nullptr));
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(opened_devices, open_without_a_name_is_refused)
{
    SANE_Handle handle = handle_of(0x77);
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_open(nullptr, &handle));
    EXPECT_EQ(handle_of(0x77), handle);
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(opened_devices, driver_that_opens_without_a_handle_opens_nothing)
{
    open("virtual:1");
    scripted::on().open = [](void **driver_handle, const char *, char *) -> std::optional<int> {
        *driver_handle = nullptr;
        return 0;
    };
    SANE_Handle handle = handle_of(0x77);
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_pelsane_open("virtual:2", &handle));
    EXPECT_EQ(handle_of(0x77), handle);
    EXPECT_EQ(texts({"kx_scanner_open(virtual:2,0,null,null,null)"}), scripted::record());
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(nullptr));
}

TEST_F(opened_devices, failed_open_answers_the_drivers_code_untranslated)
{
    for (const int code : {256, 258, 260, 262, 266, 269, 276, 277, 56832, 56834, -1}) {
        scripted::reset();
        scripted::answer("kx_scanner_open", code);
        SANE_Handle handle = handle_of(0x77);
        EXPECT_EQ(code, sane_pelsane_open("virtual:1", &handle));
        EXPECT_EQ(handle_of(0x77), handle) << code;
        EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)"}), scripted::record()) << code;
    }
}

TEST_F(opened_devices, denied_open_is_access_denied)
{
    scripted::answer("kx_scanner_open", 259);
    SANE_Handle handle = handle_of(0x77);
    EXPECT_EQ(SANE_STATUS_ACCESS_DENIED, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(handle_of(0x77), handle);
    EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)"}), scripted::record());
}

TEST_F(opened_devices, failing_option_table_does_not_fail_the_open)
{
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4, "cur": 200})");
    scripted::answer("kx_scanner_get_parameter", 269, scripted::always, 0);
    SANE_Handle handle = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open("virtual:1", &handle));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(handle));
}

// ===== handles =====

TEST_F(opened_devices, handle_has_its_low_half_mixed_with_its_high_half)
{
    const std::pair<std::size_t, std::size_t> cases[] = {
        {0x0000000100000002, 0x0000000100000003}, {0x0000000000001234, 0x0000000000001234},
        {0x00007f1200345678, 0x00007f120034296a}, {0xffffffff00000001, 0xfffffffffffffffe},
        {0x8000000080000000, 0x8000000000000000},
    };
    for (const auto &[driver_handle, sane_handle] : cases)
        EXPECT_EQ(handle_of(sane_handle), open_with_driver_handle(driver_handle));
}

TEST_F(opened_devices, handle_is_turned_back_for_the_driver)
{
    EXPECT_EQ(handle_of(0x0000000100000003), open_with_driver_handle(0x0000000100000002));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(handle_of(0x0000000100000003)));
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(handle_of(0x0000000100000002)));
    EXPECT_EQ(texts({"kx_scanner_start(0x100000002,null,-1)"}), scripted::calls());
}

TEST_F(opened_devices, two_devices_under_one_name_are_both_kept)
{
    const SANE_Handle first = open("virtual:1");
    const SANE_Handle second = open("virtual:1");
    EXPECT_NE(first, second);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(first));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(second));
    sane_pelsane_close(first);
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(first));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(second));
}

// ===== close =====

TEST_F(opened_devices, close_closes_in_the_driver)
{
    const SANE_Handle handle = open();
    sane_pelsane_close(handle);
    EXPECT_EQ(texts({"kx_scanner_close(0x100000002,1)"}), scripted::record());
}

TEST_F(opened_devices, second_close_reaches_no_driver)
{
    const SANE_Handle handle = open();
    sane_pelsane_close(handle);
    scripted::forget_record();
    sane_pelsane_close(handle);
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(opened_devices, close_of_what_was_never_opened_reaches_no_driver)
{
    open();
    sane_pelsane_close(nullptr);
    sane_pelsane_close(handle_of(0xDEAD));
    sane_pelsane_close(handle_of(0x100000002));
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(opened_devices, record_is_gone_when_the_driver_closes)
{
    const SANE_Handle handle = open();
    const SANE_Option_Descriptor *found = nullptr;
    ASSERT_NE(nullptr, found = sane_pelsane_get_option_descriptor(handle, 0));
    scripted::on().close = [&](void *, int) -> std::optional<int> {
        found = sane_pelsane_get_option_descriptor(handle, 0);
        return std::nullopt;
    };
    sane_pelsane_close(handle);
    EXPECT_EQ(nullptr, found);
}

TEST_F(opened_devices, failing_close_still_forgets_the_device)
{
    const SANE_Handle handle = open();
    scripted::answer("kx_scanner_close", 269);
    sane_pelsane_close(handle);
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(handle));
}

TEST_F(opened_devices, device_opens_again_after_close)
{
    scripted::set_handles({0x100000002, 0x100000002});
    const SANE_Handle handle = open();
    sane_pelsane_close(handle);
    EXPECT_EQ(handle, open());
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(handle));
}
