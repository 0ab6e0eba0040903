// SPDX-License-Identifier: MIT
// One condition is `name operator operand`:
//   name      a run of a-z and '-'; left out, it is the name of the condition before
//   operator  == != > >= < <=
//   operand   the rest of the text as it stands, or for == and != a range "[l,r]"
// An expression is a list of conditions, or a single one as text. A malformed condition ends it silently.
// Tested by tests/sane/depend_expression_test.cpp.
#include "depend_expression.h"

#include "json.h"
#include "local_utility.h"
#include "number_text.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

bool is_name_character(char c)
{
    return (c >= 'a' && c <= 'z') || c == '-';
}

struct operator_row {
    std::string_view text;
    value_comparison single;
    value_comparison range; // when the operand begins with '['; null when there is no such form
};

// Longer spellings stand before their beginnings.
constexpr operator_row operators[] = {
    {"==", kx_sane_middleware::compare_val_equal, kx_sane_middleware::compare_val_between},
    {"!=", kx_sane_middleware::compare_val_not_equal, kx_sane_middleware::compare_val_not_between},
    {">=", kx_sane_middleware::compare_val_not_less, nullptr},
    {">", kx_sane_middleware::compare_val_great, nullptr},
    {"<=", kx_sane_middleware::compare_val_not_great, nullptr},
    {"<", kx_sane_middleware::compare_val_less, nullptr},
};

void insert_sorted(std::vector<std::string> &names, const std::string &name)
{
    const auto place = std::lower_bound(names.begin(), names.end(), name);
    if (place == names.end() || *place != name)
        names.insert(place, name);
}

} // namespace

bool kx_sane_middleware::parse_master_option(const char *text, _master_option &out)
{
    out.limit_l.clear();
    out.limit_r.clear();
    out.compare_val = compare_val_equal;
    local_utility::skip_space(text);
    const char *const name = text;
    while (is_name_character(*text))
        ++text;
    if (text != name)
        out.name.assign(name, text);
    local_utility::skip_space(text);

    for (const operator_row &row : operators) {
        if (std::strncmp(text, row.text.data(), row.text.size()) != 0)
            continue;
        text += row.text.size();
        const bool is_range = row.range != nullptr && *text == '[';
        out.compare_val = is_range ? row.range : row.single;
        if (is_range)
            return local_utility::get_limit(text, out.limit_l, out.limit_r);
        out.limit_l = text;
        return true;
    }
    return false;
}

bool kx_sane_middleware::parse_depends(void *scanner, json *depends, _slave_option &slave,
                                       std::vector<std::string> &masters)
{
    std::string text;
    std::string last_name;
    bool more = depends->first_child(text) || depends->value(text);
    while (more) {
        _master_option condition;
        if (!parse_master_option(text.c_str(), condition))
            break;
        if (condition.name.empty())
            condition.name = last_name;
        last_name = condition.name;
        const auto *master = find_stored_descriptor(scanner, condition.name.c_str(), nullptr, nullptr);
        if (master != nullptr && master->type == SANE_TYPE_STRING)
            condition.limit_l = local_utility::translated_word(condition.limit_l.c_str());
        insert_sorted(masters, condition.name);
        slave.master.push_back(std::move(condition));
        more = depends->next_child(text);
    }
    return !slave.master.empty();
}

bool kx_sane_middleware::compare_val_equal(const char *cur, const char *l, const char *)
{
    return std::strcmp(cur, l) == 0;
}

bool kx_sane_middleware::compare_val_not_equal(const char *cur, const char *l, const char *r)
{
    return !compare_val_equal(cur, l, r);
}

bool kx_sane_middleware::compare_val_great(const char *cur, const char *l, const char *)
{
    return text_to_number(cur) > text_to_number(l);
}

bool kx_sane_middleware::compare_val_not_great(const char *cur, const char *l, const char *r)
{
    return !compare_val_great(cur, l, r);
}

bool kx_sane_middleware::compare_val_less(const char *cur, const char *l, const char *)
{
    return text_to_number(cur) < text_to_number(l);
}

bool kx_sane_middleware::compare_val_not_less(const char *cur, const char *l, const char *r)
{
    return !compare_val_less(cur, l, r);
}

// Both limits are excluded, although the text is written with square brackets.
bool kx_sane_middleware::compare_val_between(const char *cur, const char *l, const char *r)
{
    return text_to_number(l) < text_to_number(cur) && text_to_number(cur) < text_to_number(r);
}

bool kx_sane_middleware::compare_val_not_between(const char *cur, const char *l, const char *r)
{
    return !compare_val_between(cur, l, r);
}
