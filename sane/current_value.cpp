// SPDX-License-Identifier: MIT
// The value that the driver holds now, in SANE form, through a setter that says where it goes. Information items of the
// driver are read under their names, in a buffer that carries the caller's bytes to the driver and the answer back; an
// option is read from its text, which refreshes the cached value as well.
// Tested by tests/sane/current_value_test.cpp.
#include "commonlog.h"
#include "descriptor.h"
#include "json.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Delivers a value; false when the setter had no memory for it.
struct delivery {
    value_setter setter;
    void *param;

    [[nodiscard]] bool allocates() const { return setter == kx_sane_middleware::set_value_to_new; }

    [[nodiscard]] void *delivered() const { return allocates() ? *static_cast<void **>(param) : param; }

    bool operator()(void *value, std::size_t size) const
    {
        setter(value, size, param);
        return delivered() != nullptr;
    }
};

bool deliver_information_item(void *scanner, const char *name, int length, const delivery &deliver)
{
    std::vector<char> buffer(static_cast<std::size_t>(length) + 4);
    if (!deliver.allocates())
        std::memcpy(buffer.data(), deliver.param, static_cast<std::size_t>(length));
    long count = length;
    const int code = kx_scanner_get_parameter(scanner, name, buffer.data(), &count, nullptr);
    if (code != SCANNER_ERR_OK || count < 0)
        return false;
    return deliver(buffer.data(), static_cast<std::size_t>(std::min<long>(count, length)));
}

// The text, its NUL, and NULs up to the option's size, but not beyond the size that the application was told.
bool deliver_text(const json &option, const std::string &name, int told_size, const delivery &deliver)
{
    int size = 0;
    std::string text;
    option.get_value("size", size);
    option.get_value("cur", text);
    const int needed = static_cast<int>(text.size()) + 1;
    if (needed > told_size)
        WarnLog(g_hLog, "The driver's text for option '%s' takes %d bytes, its size is %d.", name.c_str(), needed,
                told_size);
    text.resize(static_cast<std::size_t>(std::max(needed, std::min(size, told_size))));
    return deliver(text.data(), text.size());
}

SANE_Value_Type sane_type(const std::string &type)
{
    if (type == "bool")
        return SANE_TYPE_BOOL;
    if (type == "int")
        return SANE_TYPE_INT;
    return type == "float" ? SANE_TYPE_FIXED : SANE_TYPE_STRING;
}

} // namespace

bool kx_sane_middleware::get_current_value(void *scanner, const void *option, value_setter setter, void *param,
                                           SANE_Value_Type *type)
{
    const int told_size = size_of(find_stored_descriptor(scanner, option, nullptr, nullptr));
    return read_value(opened_device(scanner), option, told_size, setter, param, type);
}

// The value is delivered even if its device was closed by what came back from within the fetch.
bool kx_sane_middleware::read_value(const opened_device &device, const void *option, int told_size, value_setter setter,
                                    void *param, SANE_Value_Type *type)
{
    const delivery deliver{setter, param};
    void *const scanner = device.scanner();
    if (!option_key::is_name(option)) {
        int length = 0;
        const std::string item = local_utility::un_json_option_name(option_key::number_of(option), &length);
        if (!item.empty())
            return deliver_information_item(scanner, item.c_str(), length, deliver);
    }

    std::string name;
    json document(get_option_json(scanner, option, &name, nullptr, nullptr, nullptr).c_str());
    std::string type_word;
    if (!document.get_value("type", type_word))
        return false;
    if (told_size == size_of(nullptr)) // asked by a key that the table does not have; by its name it may
        told_size = size_of(find_stored_descriptor(scanner, name.c_str(), nullptr, nullptr));
    const SANE_Value_Type value_type = sane_type(type_word);
    auto word = word_in_json(type_word, document, "cur");
    if (word ? !deliver(&*word, sizeof(*word)) : !deliver_text(document, name, told_size, deliver))
        return false;
    if (type != nullptr)
        *type = value_type;
    if (_dev_inst *const dev = device.record())
        refresh_current_value(dev, name.c_str(), &document);
    DebugLog(g_hLog, "<--Get option(%d - %s) value: %s", option_key::number_of(option),
             get_string_in_json(&document, "title").c_str(),
             option_value_2_string(value_type, deliver.delivered()).c_str());
    return true;
}

bool kx_sane_middleware::get_cur_value(void *handle, const void *option, void *value, SANE_Value_Type *type)
{
    void *const scanner = find_openning_device(handle, false, nullptr);
    return scanner != nullptr && get_current_value(scanner, option, set_value_to_var, value, type);
}

local_utility::memory_ptr<void> kx_sane_middleware::get_cur_value(void *handle, const void *option,
                                                                  SANE_Value_Type *type)
{
    void *value = nullptr;
    void *const scanner = find_openning_device(handle, false, nullptr);
    try {
        if (scanner != nullptr)
            get_current_value(scanner, option, set_value_to_new, static_cast<void *>(&value), type);
    } catch (...) {
        local_utility::free_memory(value);
        throw;
    }
    return local_utility::memory_ptr<void>(value);
}
