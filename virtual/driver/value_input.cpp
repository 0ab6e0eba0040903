// SPDX-License-Identifier: MIT
// Values from applications: sizes are checked before a byte is read, numbers are fitted into the option's constraint.
#include "value_input.h"

#include "option.h"
#include "text_value.h"
#include "utf8.h"
#include "words.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <variant>
#include <vector>

namespace virtual_scanner {

namespace {

const value_input refusal{value_input::refused, {}};

double nearest_listed(const std::vector<option_value> &values, double wanted)
{
    double best = as_number(values.front());
    for (const option_value &value : values) {
        const double candidate = as_number(value);
        const double gain = std::abs(best - wanted) - std::abs(candidate - wanted);
        if (gain > 0 || (gain == 0 && candidate < best))
            best = candidate;
    }
    return best;
}

double nearest_in_bounds(const number_range &bounds, double wanted)
{
    const double inside = std::clamp(wanted, bounds.min, bounds.max);
    if (bounds.step <= 0)
        return inside;
    const double steps = std::ceil((inside - bounds.min) / bounds.step - 0.5);
    const double value = bounds.min + steps * bounds.step;
    return std::min(bounds.max, value > bounds.max ? value - bounds.step : value); // however small the step is
}

double nearest_allowed(const option_definition &option, double wanted)
{
    if (!option.values.empty())
        return nearest_listed(option.values, wanted);
    return option.bounds ? nearest_in_bounds(*option.bounds, wanted) : wanted;
}

template <typename Number> value_input read_number(const option_definition &option, const void *data, long length)
{
    Number wanted;
    if (length < static_cast<long>(sizeof wanted))
        return refusal;
    std::memcpy(&wanted, data, sizeof wanted);
    if (std::isnan(static_cast<double>(wanted)))
        return refusal;
    const auto taken = static_cast<Number>(nearest_allowed(option, static_cast<double>(wanted)));
    return {taken == wanted ? value_input::exact : value_input::adjusted, option_value(taken)};
}

value_input read_text(const option_definition &option, const void *data, long length)
{
    const auto *text = static_cast<const char *>(data);
    const std::string wanted(text, length > 0 ? ::strnlen(text, static_cast<std::size_t>(length)) : 0);
    if (option.values.empty()) {
        const bool fits = wanted.size() < static_cast<std::size_t>(option.size);
        return fits && is_utf8(wanted) ? value_input{value_input::exact, wanted} : refusal;
    }
    for (const option_value &value : option.values)
        if (as_shown(std::get<text_value>(value), option.size) == wanted)
            return {value_input::exact, value};
    if (std::find(option.values.begin(), option.values.end(), option_value(wanted)) == option.values.end())
        return refusal;
    return {value_input::reworded, wanted};
}

// An option's size is that of the value which applications see: a "float" is a 32-bit word there and a double here.
long length_of(const option_definition &option)
{
    return option.type == option_type::real ? static_cast<long>(sizeof(double)) : option.size;
}

} // namespace

value_input read_value(const option_definition &option, const void *data, const long *given)
{
    const long length = given != nullptr ? *given : length_of(option);
    switch (option.type) {
    case option_type::boolean:
        return length < 1 ? refusal : value_input{value_input::exact, *static_cast<const unsigned char *>(data) != 0};
    case option_type::integer:
        return read_number<int>(option, data, length);
    case option_type::real:
        return read_number<double>(option, data, length);
    case option_type::text:
        return read_text(option, data, length);
    case option_type::button:
    case option_type::group:
        break;
    }
    return refusal;
}

void write_back(const option_value &value, void *data)
{
    if (const int *integer = std::get_if<int>(&value))
        std::memcpy(data, integer, sizeof *integer);
    else if (const double *real = std::get_if<double>(&value))
        std::memcpy(data, real, sizeof *real);
}

} // namespace virtual_scanner
