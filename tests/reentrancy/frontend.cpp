// SPDX-License-Identifier: MIT
// A device with an option of each type, two masters whose change is told to the driver in two notices each, and one
// option that is not in the table until somebody asks for it.
#include "frontend.h"

#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"
#include "watched_driver.h"

#include <sane/sane.h>

#include <cstdint>

namespace {

int receive_event(void *, int event, void *, unsigned int *, void *)
{
    return watched_driver::receive_event(event);
}

SANE_Handle handle_of(void *scanner)
{
    const auto number = reinterpret_cast<std::uintptr_t>(scanner);
    return reinterpret_cast<SANE_Handle>(number ^ (number >> 32));
}

void script_options()
{
    using scripted::set_option;
    set_option(1, "page",
               R"({"type":"string","title":57,"size":24,"range":["单面","双面"],"default":"单面","cur":"双面"})");
    set_option(2, "paper",
               R"({"type":"string","title":"Paper","size":24,"range":["A4","A5"],"default":"A5","cur":"A4"})");
    set_option(3, "flag", R"({"type":"bool","title":"Flag","size":4,"default":true,"cur":false})");
    set_option(4, "after-flag", R"({"type":"int","title":"A","size":4,"cur":1,"depend_or":["flag==true"]})");
    set_option(5, "after-that",
               R"({"type":"int","title":"B","size":4,"cur":1,"depend_and":["flag==true","after-flag==1"]})");
    set_option(6, "switch", R"({"type":"bool","title":"Switch","size":4,"default":true,"cur":false})");
    set_option(7, "after-switch", R"({"type":"int","title":"C","size":4,"cur":1,"depend_or":["switch==true"]})");
    set_option(8, "number",
               R"({"type":"int","title":"Number","size":4,"range":{"min":1,"max":9,"step":1},"default":3,"cur":2})");
    set_option(9, "real", R"({"type":"float","title":"Real","size":4,"range":[1.5,2.5],"default":1.5,"cur":2.5})");
    set_option(10, "text",
               R"({"type":"string","title":"Text","size":16,"default":"was","cur":"is","desc":")" +
                   std::string(1100, 'x') + "\"}");
    set_option(11, "press", R"({"type":"button","title":"Press"})");
    set_option(late_number, "late", R"({"type":"int","title":"Late","size":4,"cur":1,"depend_or":["flag==true"]})");
    scripted::set_option_count(option_count);
}

} // namespace

void script_platform()
{
    scripted::reset();
    script_options();
    scripted::set_devices({{"first"}, {"second"}});
    scripted::set_information("dev-sn", "SN-1");
    scripted::set_information("drv-log", "a log");
    scripted::set_image(scripted::bytes(64, 7));
    scripted::answer_write("page", 262);
}

SANE_Status frontend::init() const
{
    return by == route::by_event ? sane_pelsane_init_ex(nullptr, receive_event, nullptr)
                                 : sane_pelsane_init(nullptr, nullptr);
}

SANE_Handle frontend::own() const
{
    return opens ? handle_of(watched_driver::opened_by_entry_point()) : first;
}
