// SPDX-License-Identifier: MIT
// Every entry point that reaches the driver, with what decides its way there: the kind of option, the action, the
// driver's answer. Those that never reach it (set_io_mode, get_select_fd, read_ext_info) call no driver function, so
// nothing can come in.
#include "frontend.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <sane/sane.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int answers[] = {0, 261, 262, 277, 278, 259, 269};
constexpr int serial_number_item = 34902;
constexpr int driver_log_item = 39171;
constexpr int unknown_id = 0x8900; // an identifier that no option has
constexpr std::size_t shown_bytes = 32;

// A value buffer with room for whatever is read, and room behind the texts for what a driver adjusts.
struct value_buffer {
    explicit value_buffer(SANE_Word word) { std::memcpy(bytes.data(), &word, sizeof word); }
    explicit value_buffer(const char *text) { std::strcpy(bytes.data(), text); }
    alignas(8) std::array<char, 256> bytes = {};
};

const void *key_of(std::intptr_t number)
{
    return reinterpret_cast<const void *>(number);
}

outcome control(frontend &f, const void *option, int action, value_buffer *value)
{
    outcome result;
    result.status = static_cast<int>(sane_pelsane_control_option_ex(f.first, option, static_cast<SANE_Action>(action),
                                                                    value != nullptr ? value->bytes.data() : nullptr,
                                                                    &result.info));
    if (value != nullptr)
        result.value.assign(value->bytes.data(), shown_bytes);
    return result;
}

template <typename Value> auto set(const void *option, Value value)
{
    return [=](frontend &f) {
        value_buffer buffer(value);
        return control(f, option, SANE_ACTION_SET_VALUE, &buffer);
    };
}

auto act(const void *option, int action)
{
    return [=](frontend &f) {
        value_buffer buffer(SANE_Word{0});
        return control(f, option, action, &buffer);
    };
}

auto set_without_value(const void *option, int action)
{
    return [=](frontend &f) { return control(f, option, action, nullptr); };
}

auto look_up(const void *option)
{
    return [=](frontend &f) {
        outcome result;
        result.descriptor = sane_pelsane_get_option_descriptor_ex(f.first, option);
        result.status = result.descriptor != nullptr ? SANE_STATUS_GOOD : SANE_STATUS_INVAL;
        return result;
    };
}

outcome status_alone(int status)
{
    outcome result;
    result.status = status;
    return result;
}

outcome list_devices(frontend &)
{
    const SANE_Device **list = nullptr;
    outcome result = status_alone(static_cast<int>(sane_pelsane_get_devices(&list, SANE_FALSE)));
    if (result.status == SANE_STATUS_GOOD && (list == nullptr || std::strcmp(list[0]->name, "first") != 0))
        result.status = -1;
    return result;
}

outcome open(frontend &)
{
    SANE_Handle handle = nullptr;
    outcome result = status_alone(static_cast<int>(sane_pelsane_open("first", &handle)));
    if (result.status == SANE_STATUS_GOOD && handle == nullptr)
        result.status = -1;
    return result;
}

outcome read(frontend &f)
{
    SANE_Byte data[32];
    SANE_Int length = 0;
    return status_alone(static_cast<int>(sane_pelsane_read(f.first, data, sizeof data, &length)));
}

outcome get_parameters(frontend &f)
{
    SANE_Parameters parameters = {};
    return status_alone(static_cast<int>(sane_pelsane_get_parameters(f.first, &parameters)));
}

outcome get_parameters_ex(frontend &f)
{
    SANE_Image image = {};
    return status_alone(static_cast<int>(sane_pelsane_get_parameters_ex(f.first, &image)));
}

outcome io_control(frontend &f)
{
    unsigned int length = 0;
    return status_alone(static_cast<int>(sane_pelsane_io_control(f.first, 0x20, nullptr, &length)));
}

template <typename Call> auto good(Call call)
{
    return [call](frontend &f) {
        call(f);
        return outcome();
    };
}

using entry_list = std::vector<entry_point>;

void add_lifecycle(entry_list &all)
{
    const auto ask_for_access = [] {
        scripted::set_need_auth(1, 1);
        scripted::answer("kx_scanner_open", 259, 1);
    };
    all.push_back(
        {"init", duty::none, [](frontend &f) { return status_alone(static_cast<int>(f.init())); }, nullptr, true});
    all.push_back({"exit", duty::none, good([](frontend &) { sane_pelsane_exit(); }), nullptr, false, true});
    all.push_back({"get_devices", duty::list, list_devices});
    all.push_back({"open", duty::device, open});
    all.push_back({"open with access", duty::device, open, ask_for_access});
    all.push_back({"close", duty::none, good([](frontend &f) { sane_pelsane_close(f.first); })});
    all.push_back({"change of language", duty::none, good([](frontend &) { scripted::change_language(); }), nullptr,
                   false, true});
    all.push_back({"strstatus", duty::none, good([](frontend &) { sane_pelsane_strstatus(SANE_STATUS_INVAL); })});
    all.push_back({"err_desc", duty::none, good([](frontend &) { sane_pelsane_err_desc(SANE_STATUS_INVAL); })});
    all.push_back({"driver version", duty::none,
                   good([](frontend &) { sane_ex_get_driver_version(nullptr, nullptr, nullptr, nullptr); })});
}

void add_scanning(entry_list &all)
{
    const auto change_flag = [] {
        scripted::set_option(3, "flag", R"({"type":"bool","title":"Flag","size":4,"default":true,"cur":true})");
        scripted::answer("kx_scanner_control", 262, 1);
    };
    all.push_back({"get_parameters", duty::answer, get_parameters});
    all.push_back({"get_parameters_ex", duty::answer, get_parameters_ex});
    all.push_back({"start", duty::answer,
                   [](frontend &f) { return status_alone(static_cast<int>(sane_pelsane_start(f.first))); }});
    all.push_back(
        {"read", duty::answer, read, [] { scripted::answer("kx_scanner_read_img_data", 0, scripted::always, 16); }});
    all.push_back({"cancel", duty::answer, good([](frontend &f) { sane_pelsane_cancel(f.first); })});
    all.push_back({"io_control", duty::answer, io_control});
    all.push_back({"io_control=262", duty::answer, io_control, change_flag});
}

void add_look_ups(entry_list &all)
{
    all.push_back({"descriptor by number", duty::descriptor, look_up(key_of(late_number))});
    all.push_back({"descriptor by name", duty::descriptor, look_up("late")});
    all.push_back({"descriptor of nothing", duty::descriptor, look_up("nothing")});
    all.push_back({"descriptor of no identifier", duty::descriptor, look_up(key_of(unknown_id))});
}

void add_reads(entry_list &all)
{
    all.push_back({"get count", duty::value, act(nullptr, SANE_ACTION_GET_VALUE)});
    for (const char *name : {"flag", "number", "real", "text", "press", "late"}) {
        all.push_back({"get " + std::string(name), duty::value, act(name, SANE_ACTION_GET_VALUE)});
        all.push_back({"default of " + std::string(name), duty::value, act(name, SANE_ACTION_GET_DEFAULT)});
    }
    all.push_back({"fixed id of page", duty::descriptor, act("page", SANE_ACTION_GET_FIXED_ID)});
    all.push_back({"get item", duty::value, act(key_of(serial_number_item), SANE_ACTION_GET_VALUE)});
    all.push_back({"get log", duty::answer, act(key_of(driver_log_item), SANE_ACTION_GET_VALUE)});
    entry_point width{"get page-width", duty::value, act(key_of(page_width_number), SANE_ACTION_GET_VALUE)};
    width.needs_well_known = true;
    all.push_back(width);
    entry_point duplex{"default of duplex", duty::value, act(key_of(duplex_number), SANE_ACTION_GET_DEFAULT)};
    duplex.needs_well_known = true;
    all.push_back(duplex);
}

void add_writes_of(entry_list &all, const std::string &name, const std::string &written,
                   const std::function<outcome(frontend &)> &call, bool needs_well_known = false)
{
    for (const int code : answers) {
        const auto prepare = [written, code] { scripted::answer_write(written, code); };
        entry_point each{name + "=" + std::to_string(code), duty::write, call, prepare};
        each.needs_well_known = needs_well_known;
        each.switches_flag = written == "flag" && (code == 0 || code == 261);
        all.push_back(each);
    }
}

void add_writes(entry_list &all)
{
    add_writes_of(all, "set flag", "flag", set("flag", SANE_Word{SANE_TRUE}));
    add_writes_of(all, "set number", "number", set("number", SANE_Word{5}));
    add_writes_of(all, "set real", "real", set("real", SANE_Word{98304}));
    add_writes_of(all, "set text", "text", set("text", "new"));
    add_writes_of(all, "set paper", "paper", set("paper", "A5"));
    add_writes_of(all, "press", "press", set_without_value("press", SANE_ACTION_SET_VALUE));
    add_writes_of(all, "automatic flag", "flag", act("flag", SANE_ACTION_SET_AUTO));
    add_writes_of(all, "automatic text", "text", set_without_value("text", SANE_ACTION_SET_AUTO));
    add_writes_of(all, "set page-width", "paper", set(key_of(page_width_number), SANE_Word{148}), true);
    add_writes_of(all, "automatic page-width", "paper",
                  set_without_value(key_of(page_width_number), SANE_ACTION_SET_AUTO), true);
    add_writes_of(all, "set duplex", "page", set(key_of(duplex_number), SANE_Word{SANE_TRUE}), true);
    add_writes_of(all, "set item", "dev-sn", set(key_of(serial_number_item), "SN-2"));
    all.push_back({"set late", duty::write, set("late", SANE_Word{2})});
    all.push_back({"set log", duty::answer, set(key_of(driver_log_item), "new")});
}

} // namespace

const std::vector<entry_point> &entry_points()
{
    static const entry_list all = [] {
        entry_list made;
        add_lifecycle(made);
        add_look_ups(made);
        add_reads(made);
        add_writes(made);
        add_scanning(made);
        return made;
    }();
    return all;
}
