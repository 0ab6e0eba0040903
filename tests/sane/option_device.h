// SPDX-License-Identifier: MIT
// A device with scripted options, opened through the exported functions.
#ifndef PELSANE_TESTS_OPTION_DEVICE_H
#define PELSANE_TESTS_OPTION_DEVICE_H

#include "backend_test.h"
#include "guarded_memory.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <algorithm>
#include <cstdint>
#include <string>

inline const void *key_of(std::intptr_t number)
{
    return reinterpret_cast<const void *>(number);
}

// How often a log line ("Level: text") was written.
inline long times_logged(const std::string &line)
{
    const texts lines = scripted::log_lines();
    return std::count(lines.begin(), lines.end(), line);
}

class option_device : public backend_test {
protected:
    // Opens what is scripted by now. The record starts at the open.
    void open_device()
    {
        init();
        ASSERT_EQ(sane_pelsane_open("virtual:1", &handle_), SANE_STATUS_GOOD);
    }

    // As a frontend that listens for events, and so gets the driver's own options only.
    void open_listening_device()
    {
        const auto ignore = [](void *, int, void *, unsigned int *, void *) { return 0; };
        ASSERT_EQ(sane_pelsane_init_ex(nullptr, ignore, nullptr), SANE_STATUS_GOOD);
        scripted::forget_record();
        ASSERT_EQ(sane_pelsane_open("virtual:1", &handle_), SANE_STATUS_GOOD);
    }

    // A device with this option alone, its record empty.
    void open_with(const std::string &name, const std::string &description)
    {
        scripted::set_option(1, name, description);
        open_device();
        scripted::forget_record();
    }

    // An option of each kind, and an empty record.
    void open_samples()
    {
        scripted::set_option(1, "flag", R"({"type":"bool","size":4,"title":"Flag","cur":false,"default":true})");
        scripted::set_option(2, "number", R"({"type":"int","size":4,"title":"Number","cur":1,"default":75})");
        scripted::set_option(3, "real", R"({"type":"float","size":4,"title":"Real","default":2.5,"range":[1,2.5]})");
        scripted::set_option(4, "text", R"({"type":"string","size":20,"title":"Text","cur":"a","default":"abc"})");
        scripted::set_option(5, "press", R"({"type":"button","title":"Press"})");
        scripted::set_option(6, "heading", R"({"type":"group","title":"Heading"})");
        open_device();
        scripted::forget_record();
    }

    const SANE_Option_Descriptor *descriptor(SANE_Int number) const
    {
        return sane_pelsane_get_option_descriptor(handle_, number);
    }

    const SANE_Option_Descriptor *descriptor(const char *name) const
    {
        return sane_pelsane_get_option_descriptor_ex(handle_, name);
    }

    bool is_active(const char *name) const
    {
        const SANE_Option_Descriptor *found = descriptor(name);
        EXPECT_NE(found, nullptr) << name;
        return found != nullptr && SANE_OPTION_IS_ACTIVE(found->cap) != 0;
    }

    // Statuses are numbers here, since the backend passes a driver's unknown codes through.
    int control(SANE_Int number, int action, void *value, SANE_Int *info = nullptr) const
    {
        return static_cast<int>(
            sane_pelsane_control_option(handle_, number, static_cast<SANE_Action>(action), value, info));
    }

    int control(const char *name, int action, void *value, SANE_Int *info = nullptr) const
    {
        return static_cast<int>(
            sane_pelsane_control_option_ex(handle_, name, static_cast<SANE_Action>(action), value, info));
    }

    int set_word(SANE_Int number, SANE_Word word, SANE_Int *info = nullptr) const
    {
        return control(number, SANE_ACTION_SET_VALUE, &word, info);
    }

    // With the room that the option's descriptor tells.
    int set_text(SANE_Int number, const std::string &text, SANE_Int *info = nullptr) const
    {
        const guarded_memory value = guarded_memory::of_text(text, descriptor(number)->size);
        return control(number, SANE_ACTION_SET_VALUE, value.data(), info);
    }

    SANE_Handle handle_ = nullptr;
};

#endif
