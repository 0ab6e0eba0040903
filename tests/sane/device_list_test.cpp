// SPDX-License-Identifier: MIT
// From the driver's device records to the list that an application gets.
#include "backend_test.h"
#include "kx_scanner.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace {

class device_list : public backend_test {
protected:
    void SetUp() override
    {
        backend_test::SetUp();
        init();
    }

    static const SANE_Device **list_devices()
    {
        const SANE_Device **list = nullptr;
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
        return list;
    }
};

int length_of(const SANE_Device **list)
{
    int length = 0;
    while (list[length] != nullptr)
        ++length;
    return length;
}

void fill(void *records, int count)
{
    std::memset(records, 0, static_cast<std::size_t>(count) * sizeof(_device));
    for (int i = 0; i < count; ++i)
        ("device " + std::to_string(i)).copy(static_cast<_device *>(records)[i].name, sizeof(_device::name) - 1);
}

// A driver that asks for room for `asked` records, then has a buffer filled and says that there are `told`.
void script_enumeration(int asked, int filled, int told)
{
    scripted::on().enumerate = [=](void *records, int *count, int) -> std::optional<int> {
        if (records == nullptr) {
            *count = asked;
            return 258;
        }
        fill(records, filled);
        *count = told;
        return 0;
    };
}

} // namespace

TEST_F(device_list, null_pointer_is_refused_without_a_driver_call)
{
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_get_devices(nullptr, SANE_FALSE));
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(device_list, without_devices_it_holds_null_alone)
{
    scripted::set_devices({});
    const SANE_Device **const list = list_devices();
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(nullptr, list[0]);
    EXPECT_EQ(texts({"kx_scanner_enum(null,0,0)"}), scripted::record());
}

TEST_F(device_list, asks_for_the_count_then_with_room_for_four_more)
{
    scripted::set_devices({{}, {}, {}});
    list_devices();
    EXPECT_EQ(texts({"kx_scanner_enum(null,0,0)", "kx_scanner_enum(buffer,7,0)"}), scripted::record());
}

TEST_F(device_list, local_only_reaches_the_driver_as_one_or_zero)
{
    const SANE_Device **list = nullptr;
    sane_pelsane_get_devices(&list, SANE_TRUE);
    sane_pelsane_get_devices(&list, SANE_FALSE);
    sane_pelsane_get_devices(&list, 5);
    EXPECT_EQ(texts({"kx_scanner_enum(null,0,1)", "kx_scanner_enum(buffer,5,1)", "kx_scanner_enum(null,0,0)",
                     "kx_scanner_enum(buffer,5,0)", "kx_scanner_enum(null,0,1)", "kx_scanner_enum(buffer,5,1)"}),
              scripted::record());
}

TEST_F(device_list, shows_the_drivers_texts)
{
    scripted::set_devices({{"usb:1", "Maker", "S 100", "sheetfed scanner"}, {"net:2", "Other", "F 200", "flatbed"}});
    const SANE_Device **const list = list_devices();
    ASSERT_EQ(2, length_of(list));
    EXPECT_STREQ("usb:1", list[0]->name);
    EXPECT_STREQ("Maker", list[0]->vendor);
    EXPECT_STREQ("S 100", list[0]->model);
    EXPECT_STREQ("sheetfed scanner", list[0]->type);
    EXPECT_STREQ("net:2", list[1]->name);
    EXPECT_STREQ("Other", list[1]->vendor);
    EXPECT_STREQ("F 200", list[1]->model);
    EXPECT_STREQ("flatbed", list[1]->type);
}

TEST_F(device_list, is_one_block_of_pointers_devices_and_texts)
{
    scripted::set_devices({{"", "abc", "abcd", "x"}, {"one", "two", "three", "four"}, {"five", "six", "seven", ""}});
    const SANE_Device **const list = list_devices();
    ASSERT_EQ(3, length_of(list));
    const auto *const begin = reinterpret_cast<const char *>(list);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(begin + 4 * sizeof(void *) + static_cast<std::size_t>(i) * sizeof(SANE_Device),
                  reinterpret_cast<const char *>(list[i]));
    }
    EXPECT_EQ(begin + 4 * sizeof(void *) + 3 * sizeof(SANE_Device), list[0]->name);
    EXPECT_EQ(4, list[0]->vendor - list[0]->name);  // length 0
    EXPECT_EQ(4, list[0]->model - list[0]->vendor); // length 3
    EXPECT_EQ(8, list[0]->type - list[0]->model);   // length 4
    EXPECT_EQ(4, list[1]->name - list[0]->type);    // length 1
    EXPECT_EQ(8, list[1]->type - list[1]->model);   // length 5
    EXPECT_EQ(8, list[2]->name - list[1]->type);
    EXPECT_EQ(8, list[2]->type - list[2]->model);
}

TEST_F(device_list, takes_devices_that_appear_between_the_two_calls)
{
    script_enumeration(1, 3, 3);
    EXPECT_EQ(3, length_of(list_devices()));
}

TEST_F(device_list, takes_fewer_devices_when_some_vanish_between_the_two_calls)
{
    script_enumeration(3, 0, 0);
    EXPECT_EQ(0, length_of(list_devices()));
}

TEST_F(device_list, texts_that_fill_their_fields_end_there)
{
    const std::string name(256, 'n');
    const std::string vendor(256, 'v');
    const std::string model(256, 'm');
    const std::string type(256, 't');
    scripted::set_devices({{name, vendor, model, type}, {name, vendor, model, type}});
    const SANE_Device **const list = list_devices();
    ASSERT_EQ(2, length_of(list));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(name, list[i]->name);
        EXPECT_EQ(vendor, list[i]->vendor);
        EXPECT_EQ(model, list[i]->model);
        EXPECT_EQ(type, list[i]->type);
    }
}

// ===== hostile counts =====

TEST_F(device_list, count_beyond_the_buffer_is_cut_to_it)
{
    script_enumeration(1, 5, 100000);
    const SANE_Device **const list = list_devices();
    ASSERT_EQ(5, length_of(list));
    EXPECT_STREQ("device 4", list[4]->name);
}

TEST_F(device_list, negative_or_absurd_counts_are_failures)
{
    for (const int asked : {-1, -5, INT_MIN, INT_MAX, INT_MAX - 3}) {
        script_enumeration(asked, 0, 0);
        const SANE_Device *marker = nullptr;
        const SANE_Device **list = &marker;
        EXPECT_NE(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE)) << asked;
        EXPECT_EQ(&marker, list) << asked;
    }
}

TEST_F(device_list, negative_count_of_the_second_call_is_a_failure)
{
    script_enumeration(1, 1, -1);
    const SANE_Device *marker = nullptr;
    const SANE_Device **list = &marker;
    EXPECT_NE(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_EQ(&marker, list);
}

TEST_F(device_list, count_of_an_enumeration_without_records_is_not_believed)
{
    scripted::answer("kx_scanner_enum", 0, scripted::always, 9);
    EXPECT_EQ(0, length_of(list_devices()));
}

// ===== failures and lifetimes =====

TEST_F(device_list, first_failure_is_translated_and_the_list_is_not_written)
{
    const std::pair<int, int> cases[] = {{269, 9}, {259, 11}, {256, 4}, {56834, 3}, {276, 276}, {-1, -1}};
    for (const auto &[code, status] : cases) {
        scripted::reset();
        scripted::answer("kx_scanner_enum", code);
        const SANE_Device *marker = nullptr;
        const SANE_Device **list = &marker;
        EXPECT_EQ(status, sane_pelsane_get_devices(&list, SANE_FALSE));
        EXPECT_EQ(&marker, list) << code;
        EXPECT_EQ(1U, scripted::calls().size()) << code;
    }
}

TEST_F(device_list, information_code_of_either_call_writes_an_empty_list)
{
    for (const int code : {260, 261, 262, 277, 278})
        for (const int first_calls : {0, 1}) {
            scripted::reset();
            if (first_calls == 1)
                scripted::answer("kx_scanner_enum", 258, 1, 1);
            scripted::answer("kx_scanner_enum", code, scripted::always, 3);
            const SANE_Device *marker = nullptr;
            const SANE_Device **list = &marker;
            EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE)) << code;
            EXPECT_NE(&marker, list) << code;
            EXPECT_EQ(nullptr, list[0]) << code;
        }
}

TEST_F(device_list, second_failure_is_translated_and_the_list_is_not_written)
{
    const std::pair<int, int> cases[] = {{258, 10}, {269, 9}, {56833, 1}, {279, 279}};
    for (const auto &[code, status] : cases) {
        scripted::reset();
        scripted::answer("kx_scanner_enum", 258, 1, 1);
        scripted::answer("kx_scanner_enum", code);
        const SANE_Device *marker = nullptr;
        const SANE_Device **list = &marker;
        EXPECT_EQ(status, sane_pelsane_get_devices(&list, SANE_FALSE));
        EXPECT_EQ(&marker, list) << code;
        EXPECT_EQ(2U, scripted::calls().size()) << code;
    }
}

TEST_F(device_list, failed_listing_leaves_the_earlier_list_alone)
{
    const SANE_Device **list = list_devices();
    const SANE_Device **const earlier = list;
    scripted::answer("kx_scanner_enum", 269, 2);
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_pelsane_get_devices(&list, SANE_FALSE));
    ASSERT_EQ(earlier, list);
    ASSERT_EQ(1, length_of(list));
    EXPECT_STREQ("virtual:1", list[0]->name);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_STREQ("virtual:1", list[0]->name);
}

TEST_F(device_list, failed_listing_does_not_take_over_a_foreign_pointer)
{
    const SANE_Device *marker = nullptr;
    const SANE_Device **list = &marker;
    scripted::answer("kx_scanner_enum", 269, 1);
    EXPECT_EQ(SANE_STATUS_IO_ERROR, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    EXPECT_EQ(1, length_of(list));
}

TEST_F(device_list, stays_valid_over_exit_until_the_next_listing)
{
    const SANE_Device **const list = list_devices();
    sane_pelsane_exit();
    EXPECT_STREQ("virtual:1", list[0]->name);
    init();
    EXPECT_STREQ("virtual:1", list[0]->name);
    EXPECT_EQ(1, length_of(list_devices()));
}

TEST_F(device_list, can_be_made_while_a_device_is_open)
{
    const SANE_Handle handle = open();
    EXPECT_EQ(1, length_of(list_devices()));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_start(handle));
}
