// SPDX-License-Identifier: MIT
// Between numbers, SANE words and texts, and the two places where a value that was read can go. Fixed-point is
// truncated toward zero, never rounded, and saturates at the ends of 32 bits on every processor. Tested by
// tests/sane/value_codec_test.cpp.
#include "json.h"
#include "local_utility.h"
#include "number_text.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

using local_utility::word_at;

namespace {

constexpr double fixed_unit = 65536.0;

} // namespace

SANE_Word kx_sane_middleware::truncate_to_word(double value)
{
    using limits = std::numeric_limits<SANE_Word>;
    if (std::isnan(value))
        return 0;
    if (value >= limits::max())
        return limits::max();
    if (value <= limits::min())
        return limits::min();
    return static_cast<SANE_Word>(value);
}

SANE_Fixed kx_sane_middleware::double_2_sane_fixed(double value)
{
    return truncate_to_word(value * fixed_unit);
}

double kx_sane_middleware::sane_fixed_2_double(int value)
{
    return value / fixed_unit;
}

std::optional<SANE_Word> kx_sane_middleware::word_in_json(const std::string &type, const json &option, const char *key)
{
    int number = 0;
    bool flag = false;
    double real = 0;
    if (type == "int")
        option.get_value(key, number);
    else if (type == "bool")
        number = option.get_value(key, flag) && flag ? SANE_TRUE : SANE_FALSE;
    else if (type == "float")
        number = double_2_sane_fixed(option.get_value(key, real) ? real : 0);
    else
        return std::nullopt;
    return number;
}

std::string kx_sane_middleware::option_value_2_string(SANE_Value_Type type, const void *value)
{
    switch (static_cast<int>(type)) {
    case SANE_TYPE_BOOL:
        return word_at(value) != 0 ? "true" : "false";
    case SANE_TYPE_INT:
        return std::to_string(word_at(value));
    case SANE_TYPE_FIXED:
        return number_to_text(sane_fixed_2_double(word_at(value)));
    case SANE_TYPE_STRING:
        return static_cast<const char *>(value);
    case SANE_TYPE_BUTTON:
        return "Button";
    case SANE_TYPE_GROUP:
        return "Group";
    default:
        return "unknown";
    }
}

void kx_sane_middleware::set_value_to_var(void *value, unsigned long size, void *parameter)
{
    std::memcpy(parameter, value, size);
}

void kx_sane_middleware::set_value_to_new(void *value, unsigned long size, void *parameter)
{
    void *const block = local_utility::acquire_memory(size, "set_value_to_new");
    *static_cast<void **>(parameter) = block;
    if (block != nullptr)
        std::memcpy(block, value, size);
}
