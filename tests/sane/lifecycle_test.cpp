// SPDX-License-Identifier: MIT
// Start, stop and the entry points that need no device.
#include "backend_test.h"
#include "inner_sane.h"
#include "local_utility.h"
#include "pauses.h"
#include "sane_ex.h"
#include "sane_kx_mdw.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace {

class lifecycle : public backend_test {};

const std::string banner = "Info: =========================================================================";

const texts start_of_driver = {
    banner,
    banner,
    "kx_scanner_set_sane_info(pelsane,1.0.24289)",
    "kx_scanner_initialize(callback,null)",
    "register_language_changed_notify(notify,1,null)",
    "get_file_path(pelsane.so,zeroed)",
};

int ignore_event(void *, int, void *, unsigned int *, void *)
{
    return 0;
}

volatile std::sig_atomic_t signals_of_host = 0;

void count_signal(int)
{
    signals_of_host = signals_of_host + 1;
}

struct path_case {
    std::optional<std::string> path;
    std::string folder;
};

std::string folder_for(const std::optional<std::string> &path)
{
    scripted::set_file_path(path);
    sane_pelsane_init(nullptr, nullptr);
    std::string folder = kx_sane_middleware::sane_path();
    sane_pelsane_exit();
    return folder;
}

} // namespace

// ===== init =====

TEST_F(lifecycle, banner_is_73_signs_wide)
{
    EXPECT_EQ(std::string("Info: ").size() + 73, banner.size());
}

TEST_F(lifecycle, init_starts_the_driver_in_order)
{
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
    EXPECT_EQ(start_of_driver, scripted::record());
}

TEST_F(lifecycle, init_stores_the_version_code)
{
    SANE_Int version = 0;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(&version, nullptr));
    EXPECT_EQ(16801505, version);
}

TEST_F(lifecycle, init_pauses_half_a_second_after_starting_the_driver)
{
    std::size_t pauses_before = 99;
    scripted::on().initialize = [&]() -> std::optional<int> {
        pauses_before = pauses::made_ms().size();
        return std::nullopt;
    };
    sane_pelsane_init(nullptr, nullptr);
    EXPECT_EQ(0U, pauses_before);
    EXPECT_EQ(std::vector<long>({500}), pauses::made_ms());
}

TEST_F(lifecycle, every_init_pauses_again_and_starts_nothing_twice)
{
    init();
    SANE_Int version = 0;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(&version, nullptr));
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, nullptr, nullptr));
    EXPECT_EQ(16801505, version);
    EXPECT_EQ(std::vector<long>({500, 500, 500}), pauses::made_ms());
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(lifecycle, init_ignores_what_the_driver_answers_to_the_start)
{
    scripted::answer("kx_scanner_set_sane_info", 269);
    scripted::answer("kx_scanner_initialize", 269);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
    EXPECT_EQ(start_of_driver, scripted::record());
}

TEST_F(lifecycle, init_ex_starts_the_driver_in_the_same_order)
{
    SANE_Int version = 0;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(&version, ignore_event, nullptr));
    EXPECT_EQ(16801505, version);
    EXPECT_EQ(std::vector<long>({500}), pauses::made_ms());
    EXPECT_EQ(start_of_driver, scripted::record());
}

TEST_F(lifecycle, init_ex_registers_its_callback_before_the_driver_starts)
{
    std::optional<int> is_listened;
    scripted::on().initialize = [&]() -> std::optional<int> {
        is_listened = scripted::fire_event(nullptr, 1);
        return std::nullopt;
    };
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    EXPECT_EQ(0, is_listened);
}

TEST_F(lifecycle, init_ex_with_null_clears_the_earlier_callback)
{
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init_ex(nullptr, nullptr, nullptr));
    EXPECT_EQ(56833, scripted::fire_event(nullptr, 1));
}

TEST_F(lifecycle, plain_init_keeps_the_callback)
{
    sane_pelsane_init_ex(nullptr, ignore_event, nullptr);
    sane_pelsane_init(nullptr, nullptr);
    EXPECT_EQ(0, scripted::fire_event(nullptr, 1));
}

TEST_F(lifecycle, a_call_before_init_starts_the_driver_without_a_pause)
{
    const SANE_Device **list = nullptr;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_get_devices(&list, SANE_FALSE));
    texts expected = start_of_driver;
    expected.insert(expected.end(), {"kx_scanner_enum(null,0,0)", "kx_scanner_enum(buffer,5,0)"});
    EXPECT_EQ(expected, scripted::record());
    EXPECT_EQ(std::vector<long>(), pauses::made_ms());
}

// ===== exit =====

TEST_F(lifecycle, exit_closes_devices_in_the_order_of_opening_then_stops_the_driver)
{
    init();
    open("first");
    open("second");
    sane_pelsane_exit();
    EXPECT_EQ(texts({"register_language_changed_notify(notify,0,null)", "kx_scanner_close(0x100000002,1)",
                     "kx_scanner_close(0x200000004,1)", "kx_scanner_uninitialize()"}),
              scripted::record());
}

TEST_F(lifecycle, exit_leaves_out_what_was_closed_before)
{
    init();
    open("first");
    const SANE_Handle second = open("second");
    open("third");
    sane_pelsane_close(second);
    scripted::forget_record();
    sane_pelsane_exit();
    EXPECT_EQ(texts({"register_language_changed_notify(notify,0,null)", "kx_scanner_close(0x100000002,1)",
                     "kx_scanner_close(0x300000006,1)", "kx_scanner_uninitialize()"}),
              scripted::record());
}

TEST_F(lifecycle, second_exit_reaches_no_library)
{
    init();
    sane_pelsane_exit();
    scripted::forget_record();
    sane_pelsane_exit();
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(lifecycle, exit_without_init_clears_the_callback_alone)
{
    kx_sane_middleware::set_callback(ignore_event, nullptr);
    sane_pelsane_exit();
    EXPECT_EQ(texts(), scripted::record());
    init();
    EXPECT_EQ(56833, scripted::fire_event(nullptr, 1));
}

TEST_F(lifecycle, init_after_exit_starts_the_driver_afresh)
{
    init();
    sane_pelsane_exit();
    scripted::forget_record();
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
    EXPECT_EQ(start_of_driver, scripted::record());
}

TEST_F(lifecycle, handles_of_before_exit_are_unknown_afterwards)
{
    init();
    const SANE_Handle handle = open();
    sane_pelsane_exit();
    init();
    EXPECT_EQ(SANE_STATUS_INVAL, sane_pelsane_start(handle));
    EXPECT_EQ(nullptr, sane_pelsane_get_option_descriptor(handle, 0));
}

// ===== language changes =====

TEST_F(lifecycle, language_change_reloads_every_opened_device)
{
    init();
    open("first");
    open("second");
    EXPECT_EQ(1, scripted::change_language());
    EXPECT_EQ(texts({"kx_scanner_get_parameter(0x100000002,0,null,0,null)",
                     "kx_scanner_get_parameter(0x200000004,0,null,0,null)"}),
              scripted::record());
}

TEST_F(lifecycle, language_notice_ignores_its_arguments)
{
    init();
    open();
    int parameter = 0;
    kx_sane_middleware::language_changed(0, nullptr);
    kx_sane_middleware::language_changed(-7, &parameter);
    EXPECT_EQ(texts(2, "kx_scanner_get_parameter(0x100000002,0,null,0,null)"), scripted::record());
}

TEST_F(lifecycle, no_language_notice_stays_registered_after_exit)
{
    init();
    sane_pelsane_exit();
    EXPECT_EQ(0, scripted::change_language());
}

// ===== the device-change signal =====

TEST_F(lifecycle, device_change_signal_is_logged_and_nothing_else)
{
    init();
    std::raise(SIGUSR1);
    EXPECT_EQ(texts({"Debug: Device list changed (10)..."}), scripted::record());
}

TEST_F(lifecycle, device_change_signal_is_taken_before_the_driver_is_told_anything)
{
    const auto before = std::signal(SIGUSR1, count_signal);
    signals_of_host = 0;
    scripted::on().initialize = []() -> std::optional<int> {
        std::raise(SIGUSR1);
        return std::nullopt;
    };
    EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
    EXPECT_EQ(0, signals_of_host);
    EXPECT_EQ(texts({banner, banner, "Debug: Device list changed (10)..."}), scripted::log_lines());
    sane_pelsane_exit();
    std::signal(SIGUSR1, before);
}

TEST_F(lifecycle, device_change_signal_leaves_errno_alone)
{
    init();
    errno = ENOSPC;
    std::raise(SIGUSR1);
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(lifecycle, exit_puts_the_hosts_signal_handler_back)
{
    const auto before = std::signal(SIGUSR1, count_signal);
    signals_of_host = 0;
    init();
    std::raise(SIGUSR1);
    EXPECT_EQ(0, signals_of_host);
    sane_pelsane_exit();
    std::raise(SIGUSR1);
    EXPECT_EQ(1, signals_of_host);
    EXPECT_EQ(count_signal, std::signal(SIGUSR1, before));
}

TEST_F(lifecycle, exit_leaves_a_signal_handler_alone_that_came_later)
{
    const auto before = std::signal(SIGUSR1, SIG_DFL);
    init();
    std::signal(SIGUSR1, count_signal);
    sane_pelsane_exit();
    EXPECT_EQ(count_signal, std::signal(SIGUSR1, before));
}

// ===== the backend's folder =====

TEST_F(lifecycle, folder_is_the_librarys_path_up_to_the_last_slash)
{
    const path_case cases[] = {
        {"/usr/lib/sane/libsane-pelsane.so.1", "/usr/lib/sane/"},
        {"/libsane-pelsane.so.1", "/"},
        {"lib/libsane-pelsane.so.1", "lib/"},
        {"libsane-pelsane.so.1", "libsane-pelsane.so.1"},
        {std::string(512, 'x'), std::string(512, 'x')}, // fills the buffer, without a terminator
        {"", ""},
        {std::nullopt, ""},
    };
    for (const path_case &each : cases)
        EXPECT_EQ(each.folder, folder_for(each.path)) << each.path.value_or("null");
}

// ===== the exported functions of the class =====

TEST_F(lifecycle, instance_is_one_object_that_is_ready)
{
    kx_sane_middleware *const object = kx_sane_middleware::instance();
    ASSERT_NE(nullptr, object);
    EXPECT_EQ(object, kx_sane_middleware::instance());
    EXPECT_TRUE(object->is_ready());
    EXPECT_EQ(start_of_driver, scripted::record());
}

TEST_F(lifecycle, clear_stops_the_driver_as_exit_does)
{
    init();
    kx_sane_middleware::clear();
    EXPECT_EQ(texts({"register_language_changed_notify(notify,0,null)", "kx_scanner_uninitialize()"}),
              scripted::record());
}

TEST_F(lifecycle, get_version_skips_a_null_pointer)
{
    SANE_Int version = 0;
    local_utility::get_version(nullptr);
    local_utility::get_version(&version);
    EXPECT_EQ(16801505, version);
}

TEST_F(lifecycle, debug_message_function_answers_its_argument)
{
    int argument = 0;
    EXPECT_EQ(&argument, sanei_debug_msg(&argument));
    EXPECT_EQ(nullptr, sanei_debug_msg(nullptr));
}

TEST_F(lifecycle, debug_level_is_an_exported_variable)
{
    const SANE_Int before = sanei_debug_pelsane;
    sanei_debug_pelsane = 7;
    EXPECT_EQ(7, sanei_debug_pelsane);
    sanei_debug_pelsane = before;
}

// ===== entry points that need no device =====

TEST_F(lifecycle, driver_version_has_one_byte_per_part)
{
    scripted::set_version(0x01020304);
    SANE_Int major = 0;
    SANE_Int minor = 0;
    SANE_Int micro = 0;
    SANE_Int build = 0;
    EXPECT_EQ(SANE_STATUS_GOOD, sane_ex_get_driver_version(&major, &minor, &micro, &build));
    EXPECT_EQ(1, major);
    EXPECT_EQ(2, minor);
    EXPECT_EQ(3, micro);
    EXPECT_EQ(4, build);
    EXPECT_EQ(texts({"kx_scanner_get_version()"}), scripted::record());
}

TEST_F(lifecycle, driver_version_parts_are_unsigned)
{
    scripted::set_version(0xFF80FE81);
    SANE_Int parts[4] = {};
    EXPECT_EQ(SANE_STATUS_GOOD, sane_ex_get_driver_version(&parts[0], &parts[1], &parts[2], &parts[3]));
    EXPECT_EQ(255, parts[0]);
    EXPECT_EQ(128, parts[1]);
    EXPECT_EQ(254, parts[2]);
    EXPECT_EQ(129, parts[3]);
}

TEST_F(lifecycle, driver_version_skips_null_pointers_one_by_one)
{
    for (int left_out = 0; left_out < 4; ++left_out) {
        SANE_Int parts[4] = {};
        SANE_Int *out[4] = {&parts[0], &parts[1], &parts[2], &parts[3]};
        out[left_out] = nullptr;
        EXPECT_EQ(SANE_STATUS_GOOD, sane_ex_get_driver_version(out[0], out[1], out[2], out[3]));
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(i == left_out ? 0 : i + 1, parts[i]) << left_out;
    }
}

TEST_F(lifecycle, only_blocking_mode_is_offered_for_any_handle)
{
    init();
    const SANE_Handle opened = open();
    for (const SANE_Handle handle : {opened, static_cast<SANE_Handle>(nullptr), handle_of(0xDEAD)}) {
        EXPECT_EQ(SANE_STATUS_UNSUPPORTED, sane_pelsane_set_io_mode(handle, SANE_TRUE));
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_set_io_mode(handle, SANE_FALSE));
    }
    EXPECT_EQ(texts(6, "Info: sane_set_io_mode"), scripted::record());
}

TEST_F(lifecycle, select_descriptor_is_unsupported_and_not_written)
{
    init();
    SANE_Int descriptor = 77;
    EXPECT_EQ(SANE_STATUS_UNSUPPORTED, sane_pelsane_get_select_fd(open(), &descriptor));
    EXPECT_EQ(77, descriptor);
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(lifecycle, extended_information_is_unsupported)
{
    EXPECT_EQ(SANE_STATUS_UNSUPPORTED, sane_pelsane_read_ext_info());
    EXPECT_EQ(texts(), scripted::record());
}

TEST_F(lifecycle, status_texts_are_the_drivers)
{
    scripted::set_error_text(256, "a wrong parameter");
    EXPECT_STREQ("a wrong parameter", sane_pelsane_err_desc(SANE_STATUS_INVAL));
    EXPECT_STREQ("a wrong parameter", sane_pelsane_strstatus(SANE_STATUS_INVAL));
    EXPECT_EQ(texts(2, "kx_scanner_err_description(256)"), scripted::calls_of("kx_scanner_err_description"));
}

TEST_F(lifecycle, status_text_is_empty_when_the_driver_has_none)
{
    scripted::set_error_text(256, std::nullopt);
    EXPECT_STREQ("", sane_pelsane_err_desc(SANE_STATUS_INVAL));
    EXPECT_STREQ("", sane_pelsane_strstatus(SANE_STATUS_INVAL));
}
