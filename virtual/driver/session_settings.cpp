// SPDX-License-Identifier: MIT
// The settings of an opened device: option keys resolved, option texts and information items delivered, values and
// notices taken over. Tested by driver_options_test and driver_information_test.
#include "command.h"
#include "control_codes.h"
#include "delivery.h"
#include "garbled_text.h"
#include "kx_scanner.h"
#include "option_key.h"
#include "session.h"

#include <cstring>
#include <optional>
#include <string>

namespace virtual_scanner {

int session::get_parameter(const void *option, void *data, long *length, int *id) const
{
    const option_key key = resolve(option, options_);
    if (id != nullptr && (key.is_number || key.number != 0))
        *id = key.number;
    if (length == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    if (key.is_count && data == nullptr) {
        *length = options_.count();
        return SCANNER_ERR_OK;
    }
    if (key.is_option)
        return deliver_option(key, data, length);
    const std::string value = key.item != nullptr ? information_.value(*key.item) : std::string();
    return value.empty() ? SCANNER_ERR_INVALID_PARAMETER : deliver(value, data, length);
}

int session::deliver_option(const option_key &key, void *data, long *length) const
{
    const std::string text = options_.describe(key.number);
    const auto fault =
        faults_->any() ? faults_->take_text_fault(name_of(key), key.number) : std::optional<text_fault_kind>();
    return fault ? deliver_garbled(*fault, text, data, length) : deliver_text(text, data, length);
}

int session::set_parameter(const void *option, void *data, const long *length)
{
    const option_key key = resolve(option, options_);
    if (key.item != nullptr)
        return information_.set(*key.item, data, length);
    if (!key.is_option)
        return SCANNER_ERR_INVALID_PARAMETER;
    const int answer = options_.set(key.number, data, length);
    if (answer != SCANNER_ERR_INVALID_PARAMETER && answer != SCANNER_ERR_ACCESS_DENIED)
        drop_finished_page();
    return answer;
}

int session::control(unsigned long code, const void *data)
{
    if (code == control_restore_defaults) {
        options_.restore_defaults();
        drop_finished_page();
        return SCANNER_ERR_CONFIGURATION_CHANGED;
    }
    if (code != KX_CONTROL_OPTION_ENABLED)
        return SCANNER_ERR_DEVICE_NOT_SUPPORT;
    if (data == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const auto *notice = static_cast<const _opt_enabled *>(data);
    const std::string name(notice->name, ::strnlen(notice->name, sizeof notice->name));
    return options_.set_active(name, notice->enabled != 0) ? SCANNER_ERR_OK : SCANNER_ERR_INVALID_PARAMETER;
}

} // namespace virtual_scanner
