// SPDX-License-Identifier: MIT
// The backend's records of an open device, read out. Each condition is put to the backend alone, once where one has to
// hold and once where all have to, so that its answers, and not a second evaluation, tell the states apart.
// Tested by tests/tools/dependencies_test.cpp.
#include "dependencies.h"

#include "depend_expression.h"
#include "descriptor.h"
#include "json.h"
#include "opened_devices.h"
#include "option_texts.h"
#include "sane_kx_mdw.h"
#include "scanner.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace inspect {

namespace {

struct test_row {
    value_comparison compare;
    const char *text;
    bool is_range;
};

constexpr test_row tests[] = {
    {kx_sane_middleware::compare_val_equal, "==", false},  {kx_sane_middleware::compare_val_not_equal, "!=", false},
    {kx_sane_middleware::compare_val_great, ">", false},   {kx_sane_middleware::compare_val_not_great, "<=", false},
    {kx_sane_middleware::compare_val_less, "<", false},    {kx_sane_middleware::compare_val_not_less, ">=", false},
    {kx_sane_middleware::compare_val_between, "==", true}, {kx_sane_middleware::compare_val_not_between, "!=", true},
};

condition_state state_of(void *scanner, const _master_option &asked, std::vector<_cur_val> &values)
{
    const std::vector<_master_option> alone{asked};
    if (kx_sane_middleware::is_enable_or(scanner, alone, values))
        return condition_state::met;
    if (kx_sane_middleware::is_enable_and(scanner, alone, values))
        return condition_state::no_value;
    const auto *master =
        kx_sane_middleware::instance()->find_stored_descriptor(scanner, asked.name.c_str(), nullptr, nullptr);
    return master != nullptr && !is_active(*master) ? condition_state::master_inactive : condition_state::not_met;
}

std::string value_of(const std::vector<_cur_val> &values, const std::string &name)
{
    const auto found =
        std::find_if(values.begin(), values.end(), [&name](const _cur_val &each) { return each.name == name; });
    return found != values.end() ? found->val : "";
}

dependency read_dependency(_dev_inst &record, const _slave_option &slave)
{
    dependency read{slave.name, slave.is_enable == kx_sane_middleware::is_enable_and, {}};
    for (const _master_option &each : slave.master)
        read.conditions.push_back({each.name, test_text(each), value_of(record.cur_vals_, each.name),
                                   state_of(record.dev_, each, record.cur_vals_)});
    return read;
}

} // namespace

bool dependency::is_satisfied() const
{
    const auto is_met = [this](const condition &each) {
        return each.state == condition_state::met || (all && each.state == condition_state::no_value);
    };
    return all ? std::all_of(conditions.begin(), conditions.end(), is_met)
               : std::any_of(conditions.begin(), conditions.end(), is_met);
}

std::vector<dependency> read_dependencies(const scanner &device)
{
    _dev_inst &record = **kx_sane_middleware::instance()->find_openning_device_in_que(device.driver_handle());
    std::vector<dependency> dependencies;
    dependencies.reserve(record.slaves_.size());
    for (const _slave_option &slave : record.slaves_)
        dependencies.push_back(read_dependency(record, slave));
    return dependencies;
}

const dependency *dependency_of(const std::vector<dependency> &dependencies, const std::string &option)
{
    const auto found = std::find_if(dependencies.begin(), dependencies.end(),
                                    [&option](const dependency &each) { return each.option == option; });
    return found != dependencies.end() ? &*found : nullptr;
}

std::string test_text(const _master_option &condition)
{
    const auto *const row = std::find_if(std::begin(tests), std::end(tests), [&condition](const test_row &each) {
        return each.compare == condition.compare_val;
    });
    if (row == std::end(tests))
        return "";
    return row->is_range ? std::string(row->text) + "[" + condition.limit_l + "," + condition.limit_r + "]"
                         : row->text + condition.limit_l;
}

std::string state_word(condition_state state)
{
    constexpr const char *words[] = {"met", "not-met", "inactive", "no-value"};
    return words[static_cast<std::size_t>(state)];
}

std::vector<std::string> ignored_conditions(const json &description)
{
    const char *const rule = rule_in(description);
    if (rule == nullptr)
        return {};
    std::vector<std::string> list = list_in(description, rule);
    const auto malformed = std::find_if(list.begin(), list.end(), [](const std::string &text) {
        _master_option unused;
        return !kx_sane_middleware::parse_master_option(text.c_str(), unused);
    });
    list.erase(list.begin(), malformed);
    return list;
}

} // namespace inspect
