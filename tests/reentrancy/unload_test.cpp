// SPDX-License-Identifier: MIT
// An application unloads the backend when it has called exit, and some call an entry point in between that makes the
// object anew. Whatever was called, an unloaded library leaves no handler, no callback, no notice and no open device
// behind, since each of these would jump into nothing. Seen by a process that does not link the library.
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <dlfcn.h>
#include <functional>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

int signals = 0;

void count_signal(int)
{
    ++signals;
}

// The library, loaded, and its functions by name.
class loaded_library {
public:
    loaded_library() : library_(dlopen(PELSANE_LIBRARY, RTLD_LAZY)) {}

    template <typename Function> Function *function(const char *name) const
    {
        void *const found = dlsym(library_, name);
        EXPECT_NE(nullptr, found);
        return reinterpret_cast<Function *>(found);
    }

    void init() const { function<decltype(sane_pelsane_init)>("sane_pelsane_init")(nullptr, nullptr); }
    void exit() const { function<decltype(sane_pelsane_exit)>("sane_pelsane_exit")(); }
    SANE_Handle open() const
    {
        SANE_Handle handle = nullptr;
        function<decltype(sane_pelsane_open)>("sane_pelsane_open")("virtual:1", &handle);
        return handle;
    }

    void unload() const { EXPECT_EQ(0, dlclose(library_)); }
    static bool is_loaded() { return dlopen(PELSANE_LIBRARY, RTLD_LAZY | RTLD_NOLOAD) != nullptr; }

private:
    void *library_;
};

struct late_call {
    const char *name;
    std::function<void(const loaded_library &, SANE_Handle)> call;

    friend void PrintTo(const late_call &late, std::ostream *out) { *out << late.name; }
};

// What the calls are about; an application's own.
const SANE_Device **list = nullptr;
SANE_Handle opened = nullptr;
SANE_Word word = 0;
SANE_Parameters parameters;
SANE_Image image;
SANE_Byte byte = 0;
const void *const option = "number";

// An entry point called with these arguments.
template <typename Function, typename... Arguments> late_call made(const char *name, Arguments... arguments)
{
    return {name, [=](const loaded_library &library, SANE_Handle) { library.function<Function>(name)(arguments...); }};
}

// The same with the handle of a device in front of them.
template <typename Function, typename... Arguments> late_call on_device(const char *name, Arguments... arguments)
{
    return {name, [=](const loaded_library &library, SANE_Handle device) {
                library.function<Function>(name)(device, arguments...);
            }};
}

std::vector<late_call> late_calls()
{
    void *const none = nullptr;
    SANE_Int *const no_number = nullptr;
    const auto get = SANE_ACTION_GET_VALUE;
    const SANE_Int first = 1;
    return {
        made<decltype(sane_pelsane_exit)>("sane_pelsane_exit"),
        made<decltype(sane_pelsane_get_devices)>("sane_pelsane_get_devices", &list, SANE_FALSE),
        made<decltype(sane_pelsane_open)>("sane_pelsane_open", "virtual:1", &opened),
        on_device<decltype(sane_pelsane_close)>("sane_pelsane_close"),
        on_device<decltype(sane_pelsane_get_option_descriptor)>("sane_pelsane_get_option_descriptor", first),
        on_device<decltype(sane_pelsane_get_option_descriptor_ex)>("sane_pelsane_get_option_descriptor_ex", option),
        on_device<decltype(sane_pelsane_control_option)>("sane_pelsane_control_option", first, get, &word, no_number),
        on_device<decltype(sane_pelsane_control_option_ex)>("sane_pelsane_control_option_ex", option, get, &word,
                                                            no_number),
        on_device<decltype(sane_pelsane_get_parameters)>("sane_pelsane_get_parameters", &parameters),
        on_device<decltype(sane_pelsane_get_parameters_ex)>("sane_pelsane_get_parameters_ex", &image),
        on_device<decltype(sane_pelsane_start)>("sane_pelsane_start"),
        on_device<decltype(sane_pelsane_read)>("sane_pelsane_read", &byte, first, no_number),
        on_device<decltype(sane_pelsane_cancel)>("sane_pelsane_cancel"),
        on_device<decltype(sane_pelsane_set_io_mode)>("sane_pelsane_set_io_mode", SANE_FALSE),
        on_device<decltype(sane_pelsane_get_select_fd)>("sane_pelsane_get_select_fd", no_number),
        made<decltype(sane_pelsane_strstatus)>("sane_pelsane_strstatus", SANE_STATUS_INVAL),
        made<decltype(sane_pelsane_err_desc)>("sane_pelsane_err_desc", SANE_STATUS_INVAL),
        on_device<decltype(sane_pelsane_io_control)>("sane_pelsane_io_control", 0x20UL, none, nullptr),
        made<decltype(sane_pelsane_read_ext_info)>("sane_pelsane_read_ext_info"),
        made<decltype(sane_ex_get_driver_version)>("sane_ex_get_driver_version", no_number, no_number, no_number,
                                                   no_number),
        made<void *()>("_ZN18kx_sane_middleware8instanceEv"),
        made<void(int, void *)>("_ZN18kx_sane_middleware16language_changedEiPv", 1, none),
    };
}

class unload : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        scripted::set_option(1, "number", R"({"type":"int","title":"Number","size":4,"cur":1})");
        earlier_ = std::signal(SIGUSR1, count_signal);
        signals = 0;
    }
    void TearDown() override { std::signal(SIGUSR1, earlier_); }

    // All that could call into the library has been taken back; only then it is tried.
    static void expect_nothing_left()
    {
        ASSERT_FALSE(loaded_library::is_loaded());
        ASSERT_EQ(scripted::calls_of("register_language_changed_notify(notify,1,").size(),
                  scripted::calls_of("register_language_changed_notify(notify,0,").size());
        ASSERT_EQ(scripted::calls_of("kx_scanner_initialize").size(),
                  scripted::calls_of("kx_scanner_uninitialize").size());
        ASSERT_EQ(scripted::calls_of("kx_scanner_open").size(), scripted::calls_of("kx_scanner_close").size());
        ASSERT_EQ(count_signal, std::signal(SIGUSR1, count_signal));
        EXPECT_EQ(0, scripted::change_language());
        EXPECT_FALSE(scripted::fire_event(nullptr, 4).has_value());
        const int before = signals;
        std::raise(SIGUSR1);
        EXPECT_EQ(before + 1, signals);
    }

private:
    void (*earlier_)(int) = nullptr;
};

class unload_after : public unload, public testing::WithParamInterface<late_call> {};

} // namespace

TEST_P(unload_after, call_behind_exit)
{
    const late_call late = GetParam();
    const loaded_library library;
    library.init();
    const SANE_Handle device = library.open();
    library.exit();
    late.call(library, device);
    library.unload();
    expect_nothing_left();
}

INSTANTIATE_TEST_SUITE_P(of, unload_after, testing::ValuesIn(late_calls()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_F(unload, after_a_device_was_opened_behind_exit_by_a_driver_that_throws)
{
    const loaded_library library;
    library.init();
    library.exit();
    library.open();
    scripted::on().close = [](void *, int) -> std::optional<int> { throw std::runtime_error("close"); };
    scripted::on().uninitialize = []() -> std::optional<int> { throw std::runtime_error("uninitialize"); };
    library.unload();
    EXPECT_EQ(std::size_t{1}, scripted::calls_of("kx_scanner_close").size());
    EXPECT_EQ(std::size_t{2}, scripted::calls_of("kx_scanner_uninitialize").size());
    EXPECT_FALSE(loaded_library::is_loaded());
}

TEST_F(unload, after_another_init_behind_exit)
{
    const loaded_library library;
    library.init();
    library.exit();
    library.init();
    library.open();
    library.unload();
    expect_nothing_left();
}

TEST_F(unload, with_more_devices_open_than_the_first_ones)
{
    const loaded_library library;
    library.init();
    library.exit();
    for (int i = 0; i < 40; ++i)
        EXPECT_NE(nullptr, library.open());
    library.unload();
    expect_nothing_left();
}

TEST_F(unload, after_many_devices_were_ended_by_exit)
{
    const loaded_library library;
    library.init();
    for (int i = 0; i < 40; ++i)
        library.open();
    library.exit();
    library.unload();
    expect_nothing_left();
}
