// SPDX-License-Identifier: MIT
// The driver's text is parsed as the backend parses it: what it means is not in question here, where it ends up is.
#include "value_room.h"

#include "json.h"
#include "local_utility.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

constexpr long word_size = sizeof(SANE_Word);

bool is_word(const std::string &type)
{
    return type == "int" || type == "bool" || type == "float";
}

long with_terminator(const json &option, const char *key)
{
    std::string value;
    option.get_value(key, value);
    return static_cast<long>(value.size()) + 1;
}

} // namespace

long room_for_value(long told, const std::string &text)
{
    const json option(kx_sane_middleware::split_name(text.c_str(), nullptr));
    const long told_size = std::max(told, 0L);
    std::string type;
    if (!option.get_value("type", type))
        return told_size;
    if (is_word(type))
        return std::max(told_size, word_size);
    int padded = 0; // by the driver's size, where the application was told none
    if (told == not_told)
        option.get_value("size", padded);
    return std::max({told_size, static_cast<long>(padded), with_terminator(option, "cur")});
}

long room_for_default(long told, const std::string &text)
{
    const json option(kx_sane_middleware::split_name(text.c_str(), nullptr));
    const long told_size = std::max(told, 0L);
    std::string type;
    if (!option.get_value("type", type))
        return told_size;
    if (is_word(type))
        return std::max(told_size, word_size);
    return type == "string" ? std::max(told_size, with_terminator(option, "default")) : told_size;
}

long room_for_set(const SANE_Option_Descriptor *told)
{
    if (told == nullptr)
        return word_size; // of a well-known option, if any
    const long told_size = std::max<long>(told->size, 0);
    if (told->type == SANE_TYPE_BUTTON || told->type == SANE_TYPE_GROUP)
        return told_size;
    return std::max(told_size, told->type == SANE_TYPE_STRING ? 1 : word_size);
}

long room_for_item(const void *key)
{
    constexpr int driver_log = 39171;
    int length = 0;
    if (!option_key::is_name(key))
        static_cast<void>(local_utility::un_json_option_name(option_key::number_of(key), &length));
    else if (std::strcmp(option_key::name_of(key), "drv-log") == 0)
        static_cast<void>(local_utility::un_json_option_name(driver_log, &length));
    return length;
}
