// SPDX-License-Identifier: MIT
// What an application may do in its event function, as a table.
#include "frontend.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <sane/sane.h>

#include <string>
#include <vector>

namespace {

constexpr int flag_number = 3;
constexpr int switch_number = 6;
constexpr int after_switch_number = 7;
constexpr int number_number = 8;
constexpr unsigned long some_control = 0x20;

void open(const char *name)
{
    SANE_Handle handle = nullptr;
    sane_pelsane_open(name, &handle);
}

void close_and_open(frontend &f)
{
    sane_pelsane_close(f.own());
    open("first");
}

void exit_and_open(frontend &f)
{
    sane_pelsane_exit();
    static_cast<void>(f.init());
    open("first");
}

// More devices than a list that was made for a few has room for.
void open_many(frontend &)
{
    for (int i = 0; i < 16; ++i)
        open("second");
}

void set_word(const frontend &f, SANE_Int number, SANE_Word word)
{
    sane_pelsane_control_option(f.own(), number, SANE_ACTION_SET_VALUE, &word, nullptr);
}

void set_page(frontend &f)
{
    char value[24] = "单面";
    sane_pelsane_control_option_ex(f.own(), "page", SANE_ACTION_SET_VALUE, value, nullptr);
}

void get_number(frontend &f)
{
    SANE_Word word = 0;
    sane_pelsane_control_option(f.own(), number_number, SANE_ACTION_GET_VALUE, &word, nullptr);
}

void read_once(frontend &f)
{
    SANE_Byte data[16];
    SANE_Int length = 0;
    sane_pelsane_read(f.own(), data, sizeof data, &length);
}

void list(frontend &)
{
    const SANE_Device **devices = nullptr;
    sane_pelsane_get_devices(&devices, SANE_FALSE);
}

// The driver has fewer options from now on.
void lose_options(frontend &)
{
    for (int number = after_switch_number; number < option_count; ++number)
        scripted::remove_option(number);
    scripted::set_option_count(after_switch_number);
    scripted::change_language();
}

void control(frontend &f)
{
    scripted::set_option(flag_number, "flag", R"({"type":"bool","title":"Flag","size":4,"cur":true})");
    scripted::answer("kx_scanner_control", 262, 1);
    sane_pelsane_io_control(f.own(), some_control, nullptr, nullptr);
}

} // namespace

const std::vector<nested_call> &nested_calls()
{
    static const std::vector<nested_call> all = {
        {"close", [](frontend &f) { sane_pelsane_close(f.own()); }},
        {"close of the other device", [](frontend &f) { sane_pelsane_close(f.second); }},
        {"close and open", close_and_open},
        {"open", [](frontend &) { open("second"); }},
        {"exit", [](frontend &) { sane_pelsane_exit(); }, true},
        {"exit, init and open", exit_and_open, true},
        {"init", [](frontend &f) { static_cast<void>(f.init()); }},
        {"get_devices", list},
        {nested_switch, [](frontend &f) { set_word(f, switch_number, SANE_TRUE); }},
        {"set of the same option", [](frontend &f) { set_word(f, flag_number, SANE_TRUE); }},
        {"set that reloads", set_page, false, nullptr, true},
        {"get", get_number},
        {"look-up", [](frontend &f) { f.nested_look_up = sane_pelsane_get_option_descriptor_ex(f.own(), "late"); }},
        {"control that changed options", control, false, nullptr, true},
        {"change of language", [](frontend &) { scripted::change_language(); }, false, nullptr, true},
        {"change that loses options", lose_options, false, nullptr, true, true},
        {"start", [](frontend &f) { sane_pelsane_start(f.own()); }},
        {"read", read_once},
        {"cancel", [](frontend &f) { sane_pelsane_cancel(f.own()); }},
        {"open of many devices", open_many, false, "change of language"},
    };
    return all;
}
