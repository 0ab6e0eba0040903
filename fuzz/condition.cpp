// SPDX-License-Identifier: MIT
// The first line is a value, the rest the text of one condition on it. What was parsed has to be what a second reading
// of the grammar finds, and each of the eight comparisons what the C library makes of the same numbers.
#include "depend_expression.h"
#include "input.h"
#include "local_utility.h"
#include "oracle.h"
#include "sane_kx_mdw.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using middleware = kx_sane_middleware;

struct comparison {
    const char *sign;
    bool is_range;
    value_comparison function;
    bool (*expected)(const std::string &cur, const std::string &l, const std::string &r);
};

double number(const std::string &text)
{
    return std::strtod(text.c_str(), nullptr); // a fuzzer runs in the C locale
}

bool is_equal(const std::string &cur, const std::string &l, const std::string &)
{
    return cur == l;
}

bool is_greater(const std::string &cur, const std::string &l, const std::string &)
{
    return number(cur) > number(l);
}

bool is_less(const std::string &cur, const std::string &l, const std::string &)
{
    return number(cur) < number(l);
}

bool is_between(const std::string &cur, const std::string &l, const std::string &r)
{
    return number(l) < number(cur) && number(cur) < number(r);
}

template <auto holds> bool negated(const std::string &cur, const std::string &l, const std::string &r)
{
    return !holds(cur, l, r);
}

const comparison comparisons[] = {
    {"==", true, middleware::compare_val_between, is_between},
    {"==", false, middleware::compare_val_equal, is_equal},
    {"!=", true, middleware::compare_val_not_between, negated<is_between>},
    {"!=", false, middleware::compare_val_not_equal, negated<is_equal>},
    {">=", false, middleware::compare_val_not_less, negated<is_less>},
    {">", false, middleware::compare_val_great, is_greater},
    {"<=", false, middleware::compare_val_not_great, negated<is_greater>},
    {"<", false, middleware::compare_val_less, is_less},
};

struct reading {
    std::string name;
    const comparison *sign = nullptr; // null: malformed
    std::string left;
    std::string right;
};

void read_range(reading &result, const std::string &operand)
{
    const auto end = operand.find(']');
    const auto comma = operand.find(',');
    if (comma >= end || end == std::string::npos) {
        result.sign = nullptr;
        return;
    }
    const auto begin = operand.find_first_not_of(" \t", 1);
    result.left = operand.substr(begin, comma - begin);
    result.right = operand.substr(comma + 1, end - comma - 1);
}

// The grammar, read with the means of std::string.
reading read(const std::string &text)
{
    reading result;
    const auto end = std::string::npos;
    const auto name = std::min(text.find_first_not_of(" \t"), text.size());
    const auto name_end = std::min(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", name), text.size());
    result.name = text.substr(name, name_end - name);
    const auto sign = text.find_first_not_of(" \t", name_end);
    for (const comparison &candidate : comparisons) {
        const std::string spelling = std::string(candidate.sign) + (candidate.is_range ? "[" : "");
        if (sign == end || text.compare(sign, spelling.size(), spelling) != 0)
            continue;
        result.sign = &candidate;
        const std::string operand = text.substr(sign + 2 - (candidate.sign[1] == '\0' ? 1 : 0));
        if (candidate.is_range)
            read_range(result, operand);
        else
            result.left = operand;
        return result;
    }
    return result;
}

std::string spelled(const reading &condition)
{
    const std::string operand =
        condition.sign->is_range ? "[" + condition.left + "," + condition.right + "]" : condition.left;
    return condition.name + condition.sign->sign + operand;
}

void require_parsed_as(const std::string &text, const reading &expected)
{
    _master_option parsed;
    const bool is_well_formed = middleware::parse_master_option(text.c_str(), parsed);
    require(is_well_formed == (expected.sign != nullptr), "the grammar decides what is well-formed");
    require(parsed.name == expected.name, "the name is the run of name characters");
    if (!is_well_formed)
        return;
    require(parsed.compare_val == expected.sign->function, "the sign chooses the comparison");
    require(parsed.limit_l == expected.left && parsed.limit_r == expected.right, "the operands are as they stand");
}

void compare_all(const std::string &cur, const std::string &l, const std::string &r)
{
    for (const comparison &row : comparisons)
        require(row.function(cur.c_str(), l.c_str(), r.c_str()) == row.expected(cur, l, r),
                "a comparison is what its numbers say");
}

// The small scanners move forward, inside the text.
void scan(const std::string &text)
{
    for (std::size_t start = 0; start <= text.size(); ++start) {
        const char *position = text.c_str() + start;
        double value = -1;
        local_utility::get_number(position, value);
        require(value >= 0, "a sign is stepped over");
        require(position >= text.c_str() + start && position <= text.c_str() + text.size(), "inside the text");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input bytes(data, size);
    const std::string value = bytes.line();
    const std::string text = bytes.rest();
    const reading condition = read(text);
    require_parsed_as(text, condition);
    if (condition.sign != nullptr)
        require_parsed_as(spelled(condition), condition);
    compare_all(value, condition.left, condition.right);
    compare_all(value, value, text);
    scan(value);
    return 0;
}
