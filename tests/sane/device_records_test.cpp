// SPDX-License-Identifier: MIT
// The book of opened devices, looked at from inside.
#include "open_scanners.h"
#include "sane_kx_mdw.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

using texts = std::vector<std::string>;

void *pointer(std::uintptr_t value)
{
    return reinterpret_cast<void *>(value);
}

int ignore_event(void *, int, void *, unsigned int *, void *)
{
    return 0;
}

class device_records : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        middleware_ = kx_sane_middleware::instance();
        scripted::forget_record();
    }
    void TearDown() override { kx_sane_middleware::clear(); }

    void *open(const char *name)
    {
        void *handle = nullptr;
        char need_auth = 0;
        EXPECT_EQ(0, middleware_->open(name, &handle, nullptr, nullptr, nullptr, &need_auth));
        return handle;
    }

    kx_sane_middleware::device_list::iterator nowhere()
    {
        return middleware_->find_openning_device_in_que(pointer(0xDEAD));
    }

    kx_sane_middleware *middleware_ = nullptr;
};

} // namespace

TEST_F(device_records, transform_undoes_itself)
{
    const std::pair<std::uintptr_t, std::uintptr_t> cases[] = {
        {0, 0},
        {0x0000000100000002, 0x0000000100000003},
        {0x00007f1200345678, 0x00007f120034296a},
        {0xffffffffffffffff, 0xffffffff00000000},
        {0x0000000012345678, 0x0000000012345678},
    };
    for (const auto &[scanner, sane] : cases) {
        EXPECT_EQ(pointer(sane), kx_sane_middleware::scanner_handle_to_sane(pointer(scanner)));
        EXPECT_EQ(pointer(scanner), kx_sane_middleware::sane_handle_to_scanner(pointer(sane)));
    }
}

TEST_F(device_records, open_keeps_user_password_and_extra_to_itself)
{
    void *handle = nullptr;
    char need_auth = 0;
    EXPECT_EQ(0, middleware_->open("virtual:1", &handle, "user", "password", "extra", &need_auth));
    EXPECT_EQ(texts({"kx_scanner_open(virtual:1,0,null,null,null)"}), scripted::calls_of("kx_scanner_open"));
}

TEST_F(device_records, open_reports_the_wish_for_access)
{
    scripted::answer("kx_scanner_open", 259, 1);
    scripted::set_need_auth(1, 1);
    void *handle = nullptr;
    char need_auth = 0;
    EXPECT_EQ(11, middleware_->open("virtual:1", &handle, nullptr, nullptr, nullptr, &need_auth));
    EXPECT_EQ(1, need_auth);
}

TEST_F(device_records, open_alone_fetches_no_options)
{
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4})");
    open("virtual:1");
    EXPECT_EQ(
        texts({"kx_scanner_open(virtual:1,0,null,null,null)", "kx_scanner_get_parameter(0x100000002,0,null,0,null)"}),
        scripted::calls());
}

TEST_F(device_records, search_by_name_finds_the_first_and_minds_the_case)
{
    open("other");
    open("virtual:1");
    open("virtual:1");
    const auto found = middleware_->find_openning_device_in_que("virtual:1");
    ASSERT_NE(nowhere(), found);
    EXPECT_EQ(pointer(0x200000004), (*found)->dev_);
    EXPECT_EQ("virtual:1", (*found)->name_);
    EXPECT_EQ(nowhere(), middleware_->find_openning_device_in_que("Virtual:1"));
    EXPECT_EQ(nowhere(), middleware_->find_openning_device_in_que("virtual:"));
}

TEST_F(device_records, search_by_handle_takes_the_drivers)
{
    open("virtual:1");
    const auto found = middleware_->find_openning_device_in_que(pointer(0x100000002));
    ASSERT_NE(nowhere(), found);
    EXPECT_EQ("virtual:1", (*found)->name_);
    EXPECT_EQ(nowhere(), middleware_->find_openning_device_in_que(pointer(0x100000003)));
}

TEST_F(device_records, fresh_record_is_empty)
{
    open("virtual:1");
    const auto found = middleware_->find_openning_device_in_que("virtual:1");
    ASSERT_NE(nowhere(), found);
    EXPECT_NE(nullptr, (*found)->std_opts_);
    EXPECT_TRUE((*found)->opts_.empty());
    EXPECT_TRUE((*found)->cur_vals_.empty());
    EXPECT_TRUE((*found)->slaves_.empty());
    EXPECT_TRUE((*found)->masters_.empty());
    EXPECT_TRUE((*found)->fixed_id_.empty());
}

TEST_F(device_records, mapper_is_left_out_while_a_frontend_listens)
{
    kx_sane_middleware::set_callback(ignore_event, nullptr);
    open("virtual:1");
    EXPECT_EQ(nullptr, (*middleware_->find_openning_device_in_que("virtual:1"))->std_opts_);
}

TEST_F(device_records, look_up_without_removal_answers_the_drivers_handle)
{
    void *const handle = open("virtual:1");
    _dev_inst *record = nullptr;
    EXPECT_EQ(pointer(0x100000002), middleware_->find_openning_device(handle, false, &record));
    ASSERT_NE(nullptr, record);
    EXPECT_EQ("virtual:1", record->name_);
    EXPECT_EQ(pointer(0x100000002), middleware_->find_openning_device(handle, false, nullptr));
    EXPECT_NE(nowhere(), middleware_->find_openning_device_in_que("virtual:1"));
}

TEST_F(device_records, look_up_of_an_unknown_handle_writes_no_record)
{
    open("virtual:1");
    _dev_inst marker;
    _dev_inst *record = &marker;
    EXPECT_EQ(nullptr, middleware_->find_openning_device(pointer(0xDEAD), true, &record));
    EXPECT_EQ(&marker, record);
}

TEST_F(device_records, removal_hands_the_record_over_and_keeps_the_order_of_the_others)
{
    open("first");
    void *const second = open("second");
    open("third");
    _dev_inst *record = nullptr;
    EXPECT_EQ(pointer(0x200000004), middleware_->find_openning_device(second, true, &record));
    ASSERT_NE(nullptr, record);
    EXPECT_EQ("second", record->name_);
    kx_sane_middleware::free_device_inst(record, true);
    const auto first = middleware_->find_openning_device_in_que("first");
    const auto third = middleware_->find_openning_device_in_que("third");
    EXPECT_EQ(1, third - first);
    EXPECT_EQ(nowhere(), middleware_->find_openning_device_in_que("second"));
}

TEST_F(device_records, driver_handles_are_known_as_open_until_their_device_is_closed)
{
    void *const first = open("first");
    open("second");
    EXPECT_TRUE(open_scanners::contains(pointer(0x100000002)));
    EXPECT_TRUE(open_scanners::contains(pointer(0x200000004)));
    middleware_->close_device(first);
    EXPECT_FALSE(open_scanners::contains(pointer(0x100000002)));
    EXPECT_TRUE(open_scanners::contains(pointer(0x200000004)));
    kx_sane_middleware::clear();
    EXPECT_FALSE(open_scanners::contains(pointer(0x200000004)));
}

TEST_F(device_records, first_of_one_driver_handle_counts_after_the_entries_move_up)
{
    void *const first = open("first");
    open("second");
    open("third");
    const auto third = middleware_->find_openning_device_in_que("third");
    void *const own_handle = std::exchange((*third)->dev_, pointer(0x200000004));
    _dev_inst *const record = third->get();
    middleware_->close_device(first);
    EXPECT_EQ("second", (*middleware_->find_openning_device_in_que(pointer(0x200000004)))->name_);
    record->dev_ = own_handle;
}

TEST_F(device_records, removal_without_taker_frees_the_record)
{
    void *const handle = open("virtual:1");
    EXPECT_EQ(pointer(0x100000002), middleware_->find_openning_device(handle, true, nullptr));
    EXPECT_EQ(nullptr, middleware_->find_openning_device(handle, false, nullptr));
}

TEST_F(device_records, close_answers_the_translated_code)
{
    void *const handle = open("virtual:1");
    scripted::answer("kx_scanner_close", 270, 1);
    EXPECT_EQ(9, middleware_->close_device(handle));
    EXPECT_EQ(0, middleware_->close_device(handle));
}

TEST_F(device_records, reset_keeps_what_identifies_the_device)
{
    scripted::set_option(1, "resolution", R"({"type": "int", "size": 4, "cur": 200})");
    scripted::set_option(2, "slave", R"({"type": "int", "depend_or": ["resolution==200"]})");
    void *const handle = open("virtual:1");
    middleware_->reload_options(pointer(0x100000002));
    _dev_inst *record = nullptr;
    middleware_->find_openning_device(handle, false, &record);
    ASSERT_NE(nullptr, record);
    ASSERT_EQ(2U, record->opts_.size());
    ASSERT_EQ(1U, record->fixed_id_.size());
    ASSERT_EQ(1U, record->slaves_.size());
    ASSERT_EQ(1U, record->masters_.size());
    kx_sane_middleware::free_device_inst(record, false);
    EXPECT_TRUE(record->opts_.empty());
    EXPECT_TRUE(record->cur_vals_.empty());
    EXPECT_TRUE(record->slaves_.empty());
    EXPECT_TRUE(record->masters_.empty());
    EXPECT_EQ(1U, record->fixed_id_.size());
    EXPECT_EQ(pointer(0x100000002), record->dev_);
    EXPECT_EQ("virtual:1", record->name_);
    EXPECT_NE(nullptr, record->std_opts_);
}
