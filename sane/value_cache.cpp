// SPDX-License-Identifier: MIT
// The cached current value of every option of a device, as text: what conditions of other options are tested against.
// Entries are made when an option is first described and stay until the device's options are reloaded.
// Tested by tests/sane/depend_propagation_test.cpp.
#include "value_cache.h"

#include "depend_expression.h"
#include "fetch_buffer.h"
#include "json.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// An option without a current value keeps the text that it had.
std::string current_text(const json &option_json, std::string_view type, std::string text)
{
    option_json.get_value_as_string("cur", text, type == "int");
    if (type == "string")
        local_utility::trans_language_if_was_word_id(text);
    return text;
}

} // namespace

bool kx_sane_middleware::refresh_current_value(_dev_inst *dev, const char *name, json *option_json)
{
    if (_cur_val *cached = find_cached_value(*dev, name)) {
        const std::string earlier = cached->val;
        cached->val = current_text(*option_json, cached->type, earlier);
        return cached->val != earlier;
    }
    std::string_view type;
    option_json->get_value("type", type);
    dev->cur_vals_.push_back({name, std::string(type), current_text(*option_json, type, {})});
    return false;
}

bool kx_sane_middleware::refresh_current_value(_dev_inst *dev, const char *name, const char *value)
{
    _cur_val *cached = find_cached_value(*dev, name);
    return cached != nullptr && std::exchange(cached->val, value) == value;
}

void kx_sane_middleware::reload_current_value(void *scanner, std::vector<std::string> *changed)
{
    if (changed != nullptr)
        changed->clear();
    const opened_device device(scanner);
    if (device.record() == nullptr)
        return;
    fetch_buffer buffer;
    const int count = described_options(scanner);
    for (int number = 1; number < count && !device.was_closed(); ++number) {
        std::string name;
        std::string type;
        json option_json(
            get_option_json(scanner, option_key::from_number(number), &name, nullptr, &buffer.text, &buffer.size)
                .c_str());
        _dev_inst *const dev = device.record();
        if (dev != nullptr && option_json.get_value("type", type) &&
            refresh_current_value(dev, name.c_str(), &option_json) && changed != nullptr)
            changed->push_back(name);
    }
}
