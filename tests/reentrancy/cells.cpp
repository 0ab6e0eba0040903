// SPDX-License-Identifier: MIT
// What every cell must keep to: the rules of the watched driver; an outcome that fits what became of the device; the
// same descriptors as before for devices that stayed open, one for each option; a backend that works afterwards, and
// that leaves nothing behind when it ends.
#include "cells.h"

#include "frontend.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"
#include "watched_driver.h"

#include <sane/sane.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>

namespace {

using descriptors = std::map<std::string, const SANE_Option_Descriptor *>;

void *scanner_of(SANE_Handle handle)
{
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    return reinterpret_cast<void *>(number ^ (number >> 32));
}

// Reads all that a descriptor points at.
std::size_t touch(const SANE_Option_Descriptor &desc)
{
    std::size_t sum = std::strlen(desc.name) + std::strlen(desc.title) + std::strlen(desc.desc);
    if (desc.constraint_type == SANE_CONSTRAINT_STRING_LIST)
        for (const auto *text = desc.constraint.string_list; *text != nullptr; ++text)
            sum += std::strlen(*text);
    if (desc.constraint_type == SANE_CONSTRAINT_RANGE)
        sum += static_cast<std::size_t>(desc.constraint.range->quant);
    if (desc.constraint_type == SANE_CONSTRAINT_WORD_LIST)
        sum += static_cast<std::size_t>(desc.constraint.word_list[desc.constraint.word_list[0]]);
    return sum;
}

class cell_run {
public:
    cell_run(const cell &which, const undisturbed &before) : cell_(which), before_(before) {}

    findings run()
    {
        set_up();
        const auto *const entry = cell_.entry;
        watched_driver::begin(
            {cell_.nth, cell_.when, cell_.by == route::by_event, [this] { cell_.nested->call(frontend_); }},
            entry->may_follow);
        result_ = entry->call(frontend_);
        watched_driver::end();
        found_.came_in = watched_driver::has_come_in();
        if (found_.came_in)
            check();
        check_that_all_works();
        tear_down();
        return found_;
    }

    undisturbed run_alone()
    {
        set_up();
        watched_driver::begin({}, cell_.entry->may_follow);
        undisturbed alone;
        alone.result = cell_.entry->call(frontend_);
        watched_driver::end();
        alone.points = watched_driver::points();
        alone.result.descriptor = nullptr;
        sane_pelsane_exit();
        return alone;
    }

private:
    // Whatever the device has become, what it has handed out can be read while it is open.
    void check()
    {
        touch_all(frontend_.first, first_generation_, first_descriptors_);
        touch_all(frontend_.second, second_generation_, second_descriptors_);
        if (cell_.nested->loses_options)
            return;
        check_outcome();
        check_device(frontend_.first, first_generation_, first_descriptors_, "the device");
        check_device(frontend_.second, second_generation_, second_descriptors_, "the other device");
        check_states();
        check_look_ups();
    }

    static bool is_still_open(SANE_Handle handle, unsigned long generation)
    {
        return generation != 0 && watched_driver::generation_of(scanner_of(handle)) == generation;
    }

    static void touch_all(SANE_Handle handle, unsigned long generation, const descriptors &all)
    {
        if (is_still_open(handle, generation))
            for (const auto &[name, desc] : all)
                touch(*desc);
    }

    void wrong(const std::string &what) { found_.wrong.push_back(what); }

    void expect(bool is_right, const std::string &what)
    {
        if (!is_right)
            wrong(what);
    }

    void set_up()
    {
        watched_driver::reset();
        script_platform();
        frontend_.by = cell_.by;
        if (!cell_.entry->starts_driver) {
            static_cast<void>(frontend_.init());
            sane_pelsane_open("first", &frontend_.first);
            sane_pelsane_open("second", &frontend_.second);
            first_generation_ = watched_driver::generation_of(scanner_of(frontend_.first));
            second_generation_ = watched_driver::generation_of(scanner_of(frontend_.second));
            first_descriptors_ = descriptors_of(frontend_.first);
            second_descriptors_ = descriptors_of(frontend_.second);
        }
        frontend_.opens = cell_.entry->owed == duty::device;
        if (cell_.entry->prepare != nullptr)
            cell_.entry->prepare();
    }

    static descriptors descriptors_of(SANE_Handle handle, SANE_Int count = option_count)
    {
        descriptors all;
        for (SANE_Int number = 1; number < count; ++number)
            if (const auto *desc = sane_pelsane_get_option_descriptor(handle, number); desc != nullptr)
                all[desc->name] = desc;
        return all;
    }

    // Whether the device that the entry point is about is the one that it was.
    [[nodiscard]] bool is_own_device_open() const
    {
        void *const scanner = frontend_.opens ? watched_driver::opened_by_entry_point() : scanner_of(frontend_.first);
        const auto generation = watched_driver::generation_of(scanner);
        return generation != 0 &&
               generation == (frontend_.opens ? watched_driver::own_generation_of(scanner) : first_generation_);
    }

    void expect_status(int status)
    {
        expect(result_.status == status,
               "status " + std::to_string(result_.status) + " instead of " + std::to_string(status));
    }

    void check_outcome()
    {
        const duty owed = cell_.entry->owed;
        if (owed == duty::none && cell_.nested->ends_object)
            expect(result_.status == SANE_STATUS_GOOD || result_.status == SANE_STATUS_INVAL,
                   "status " + std::to_string(result_.status));
        else if (owed == duty::list && cell_.nested->ends_object)
            expect_status(cell_.nth + 1 == before_.points.size() ? SANE_STATUS_GOOD : SANE_STATUS_INVAL);
        else if (owed == duty::none || owed == duty::list || is_own_device_open())
            check_outcome_of_open_device();
        else
            check_outcome_of_closed_device(owed);
    }

    // What comes in may have switched options already, so that nothing is left to be switched.
    void check_outcome_of_open_device()
    {
        const bool is_registered_now = frontend_.nested_look_up != nullptr && cell_.entry->name == "set late";
        expect_status(is_registered_now ? int{SANE_STATUS_GOOD} : before_.result.status);
        expect((result_.info | SANE_INFO_RELOAD_OPTIONS) == (before_.result.info | SANE_INFO_RELOAD_OPTIONS),
               "info " + std::to_string(result_.info) + " instead of " + std::to_string(before_.result.info));
        if (cell_.entry->owed == duty::value)
            check_value();
    }

    void check_value() { expect(cell_.nested->reads_texts || result_.value == before_.result.value, "another value"); }

    void check_outcome_of_closed_device(duty owed)
    {
        const auto write = std::find(before_.points.begin(), before_.points.end(), "set_parameter");
        const bool was_written = cell_.nth >= static_cast<std::size_t>(write - before_.points.begin());
        const bool has_value = cell_.nth + 1 == before_.points.size() && !cell_.entry->needs_well_known;
        const bool is_done =
            owed == duty::answer || (owed == duty::write && was_written) || (owed == duty::value && has_value);
        const bool is_refused_read = owed == duty::value && before_.result.status != SANE_STATUS_GOOD;
        if (is_done && owed == duty::value && !is_refused_read)
            check_value();
        if (!is_refused_read || result_.status != before_.result.status)
            expect_status(is_done && !is_refused_read ? before_.result.status : int{SANE_STATUS_INVAL});
        expect(result_.info == 0, "info " + std::to_string(result_.info) + " about a closed device");
        expect(result_.descriptor == nullptr, "a descriptor of a closed device");
    }

    void check_device(SANE_Handle handle, unsigned long generation, const descriptors &earlier, const char *which)
    {
        if (!is_still_open(handle, generation))
            return;
        for (const auto &[name, desc] : earlier) {
            const auto *const now = sane_pelsane_get_option_descriptor_ex(handle, name.c_str());
            expect(now == desc, "another descriptor of " + name + " of " + which);
        }
        for (SANE_Int number = 1; number < option_count; ++number) {
            const auto *const now = sane_pelsane_get_option_descriptor(handle, number);
            expect(now != nullptr && earlier.count(now->name) != 0 && earlier.at(now->name) == now,
                   "another descriptor of number " + std::to_string(number) + " of " + which);
        }
    }

    // What a set switches stays switched, whatever came in, as long as no reload reads the driver's texts again.
    void check_states()
    {
        if (!is_own_device_open() || !cell_.entry->switches_flag || cell_.nested->reads_texts)
            return;
        for (const char *name : {"after-flag", "after-that"})
            expect(is_active(name), std::string(name) + " is inactive");
        expect(is_active("after-switch") == (cell_.nested->name == nested_switch), "after-switch is in a wrong state");
    }

    [[nodiscard]] bool is_active(const char *name) const
    {
        const auto *const desc = sane_pelsane_get_option_descriptor_ex(frontend_.first, name);
        return desc != nullptr && SANE_OPTION_IS_ACTIVE(desc->cap) != 0;
    }

    // An option that is fetched twice at a time has one descriptor.
    void check_look_ups()
    {
        if (!is_still_open(frontend_.first, first_generation_) || frontend_.opens)
            return;
        const auto *const by_name = sane_pelsane_get_option_descriptor_ex(frontend_.first, "late");
        const auto *const by_number = sane_pelsane_get_option_descriptor(frontend_.first, late_number);
        expect(by_name != nullptr && by_name == by_number, "two descriptors of one option");
        expect(frontend_.nested_look_up == nullptr || frontend_.nested_look_up == by_name,
               "a nested look-up's descriptor is not the stored one");
        const bool is_of_late = result_.descriptor != nullptr && std::strcmp(result_.descriptor->name, "late") == 0;
        expect(!is_of_late || result_.descriptor == by_name, "a look-up's descriptor is not the stored one");
    }

    // Of what is left of the grid's state, nothing keeps an application from going on.
    void check_that_all_works()
    {
        SANE_Handle handle = nullptr;
        SANE_Word word = 0;
        SANE_Byte data[64];
        SANE_Int length = 0;
        SANE_Parameters parameters = {};
        char text[24] = "A5";
        const void *const count = nullptr;
        script_platform();
        constexpr int few_options = 4;
        scripted::set_option_count(few_options);
        const int statuses[] = {
            frontend_.init(),
            sane_pelsane_open("first", &handle),
            sane_pelsane_control_option_ex(handle, count, SANE_ACTION_GET_VALUE, &word, nullptr),
            sane_pelsane_control_option_ex(handle, "paper", SANE_ACTION_SET_VALUE, text, nullptr),
            sane_pelsane_get_parameters(handle, &parameters),
            sane_pelsane_start(handle),
            sane_pelsane_read(handle, data, sizeof data, &length),
        };
        const bool all_good = std::all_of(std::begin(statuses), std::end(statuses), [](int each) { return each == 0; });
        expect(all_good && word == few_options && length == static_cast<SANE_Int>(sizeof data),
               "what follows does not work");
        expect(descriptors_of(handle, few_options).size() == few_options - 1U, "what follows lacks options");
        sane_pelsane_cancel(handle);
        sane_pelsane_close(handle);
    }

    void tear_down()
    {
        sane_pelsane_exit();
        found_.wrong.insert(found_.wrong.end(), watched_driver::violations().begin(),
                            watched_driver::violations().end());
        expect(watched_driver::open_count() == 0,
               std::to_string(watched_driver::open_count()) + " devices open behind exit");
        expect(watched_driver::starts_left() == 0, "the driver is not shut down behind exit");
        expect(watched_driver::notices_left() == 0, "a notice of languages behind exit");
        const auto handler = std::signal(SIGUSR1, SIG_DFL);
        expect(handler == SIG_DFL, "a signal's handler behind exit");
        sane_pelsane_exit();
    }

    cell cell_;
    const undisturbed &before_;
    frontend frontend_;
    outcome result_;
    findings found_;
    unsigned long first_generation_ = 0;
    unsigned long second_generation_ = 0;
    descriptors first_descriptors_;
    descriptors second_descriptors_;
};

} // namespace

undisturbed run_undisturbed(const entry_point &entry, route by)
{
    const undisturbed none;
    constexpr auto never = static_cast<std::size_t>(-1);
    return cell_run({&entry, nullptr, never, watched_driver::moment::before, by}, none).run_alone();
}

std::string name_of(const cell &which, const undisturbed &before)
{
    return which.entry->name + " / " + std::to_string(which.nth + 1) + " " + before.points[which.nth] +
           (which.when == watched_driver::moment::before ? ", begin" : ", end") + " / " + which.nested->name;
}

findings run_cell(const cell &which, const undisturbed &before)
{
    return cell_run(which, before).run();
}
