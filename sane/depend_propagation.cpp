// SPDX-License-Identifier: MIT
// What a changed value switches on and off. A slave's state is decided from its conditions, the cached values of its
// masters and whether these are active themselves; a change is written into the slave's descriptor, told to the driver
// and carried on, breadth-first, to the slave's own slaves. An option enters the work list once, which ends cycles.
// Tested by tests/sane/depend_propagation_test.cpp.
#include "commonlog.h"
#include "depend_expression.h"
#include "descriptor.h"
#include "kx_scanner.h"
#include "opened_devices.h"
#include "sane_kx_mdw.h"
#include "value_cache.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

enum class verdict { met, not_met, unknown, inactive };

// An opened device's own values are found by their index, others are searched.
const _cur_val *value_of_master(void *scanner, const std::string &name, std::vector<_cur_val> &cur_vals)
{
    _dev_inst *const dev = kx_sane_middleware::find_record(scanner);
    if (dev != nullptr && &cur_vals == &dev->cur_vals_)
        return find_cached_value(*dev, name);
    const auto found =
        std::find_if(cur_vals.begin(), cur_vals.end(), [&name](const _cur_val &cur) { return cur.name == name; });
    return found != cur_vals.end() ? &*found : nullptr;
}

// One condition against its master's state; a master without a stored descriptor is tested normally.
verdict judge(void *scanner, const _master_option &condition, std::vector<_cur_val> &cur_vals)
{
    const _cur_val *cur = value_of_master(scanner, condition.name, cur_vals);
    if (cur == nullptr) {
        WarnLog(g_hLog, "option %s's current value is not found, other options depend it maybe in wrong status.",
                condition.name.c_str());
        return verdict::unknown;
    }
    const auto *master =
        kx_sane_middleware::instance()->find_stored_descriptor(scanner, condition.name.c_str(), nullptr, nullptr);
    if (master != nullptr && !is_active(*master))
        return verdict::inactive;
    const bool met = condition.compare_val(cur->val.c_str(), condition.limit_l.c_str(), condition.limit_r.c_str());
    return met ? verdict::met : verdict::not_met;
}

// An entry of the work list: an option whose slaves are to be decided, and the state that was decided for itself, which
// does not steer the walk.
struct _opt_status {
    std::string name;
    bool enabled;
};

bool is_master(const _dev_inst &dev, std::string_view name)
{
    return std::binary_search(dev.masters_.begin(), dev.masters_.end(), name);
}

bool is_listed(const std::vector<_opt_status> &work, const std::string &name)
{
    return std::any_of(work.begin(), work.end(), [&name](const _opt_status &entry) { return entry.name == name; });
}

} // namespace

bool kx_sane_middleware::is_enable_and(void *scanner, const std::vector<_master_option> &masters,
                                       std::vector<_cur_val> &cur_vals)
{
    return std::all_of(masters.begin(), masters.end(), [&](const _master_option &condition) {
        const verdict state = judge(scanner, condition, cur_vals);
        return state == verdict::met || state == verdict::unknown;
    });
}

bool kx_sane_middleware::is_enable_or(void *scanner, const std::vector<_master_option> &masters,
                                      std::vector<_cur_val> &cur_vals)
{
    return std::any_of(masters.begin(), masters.end(), [&](const _master_option &condition) {
        return judge(scanner, condition, cur_vals) == verdict::met;
    });
}

bool kx_sane_middleware::is_associatived(const _slave_option &slave, const char *name)
{
    return std::any_of(slave.master.begin(), slave.master.end(),
                       [name](const _master_option &condition) { return condition.name == name; });
}

bool kx_sane_middleware::set_stored_option_enabled(void *scanner, const void *option, bool enable, int *size_out)
{
    auto *const desc = find_stored_descriptor(scanner, option, nullptr, nullptr);
    if (desc == nullptr)
        return false;
    set_active(*desc, enable);
    if (size_out != nullptr)
        *size_out = desc->size;
    return true;
}

// Decides one slave anew; true when it changed, is stored, and the driver was told.
bool kx_sane_middleware::redecide(_dev_inst &dev, _slave_option &slave)
{
    const bool enable = slave.is_enable(dev.dev_, slave.master, dev.cur_vals_);
    if (enable == slave.enable_now)
        return false;
    slave.enable_now = enable;
    if (!set_stored_option_enabled(dev.dev_, slave.name.c_str(), enable, nullptr))
        return false;
    if (const enable_notice notice{get_control_enalbe_data(&dev, slave)})
        kx_scanner_control(dev.dev_, KX_CONTROL_OPTION_ENABLED, notice.get(), nullptr);
    return true;
}

int kx_sane_middleware::something_after_do(_dev_inst *dev, const char *name, const char *value)
{
    refresh_current_value(dev, name, value);
    if (!is_master(*dev, name))
        return 0;
    const opened_device device(*dev);
    int info = 0;
    std::vector<_opt_status> work{{name, true}};
    for (std::size_t i = 0; i < work.size(); ++i) {
        // by index: what comes back from within a notice may reload the options, and with them the slaves
        for (std::size_t s = 0; s < dev->slaves_.size(); ++s) {
            if (dev->slaves_[s].name == work[i].name || !is_associatived(dev->slaves_[s], work[i].name.c_str()))
                continue;
            _opt_status decided{dev->slaves_[s].name, !dev->slaves_[s].enable_now};
            const bool has_changed = redecide(*dev, dev->slaves_[s]);
            dev = device.record();
            if (dev == nullptr)
                return 0;
            if (!has_changed)
                continue;
            info = SANE_INFO_RELOAD_OPTIONS;
            if (is_master(*dev, decided.name) && !is_listed(work, decided.name))
                work.push_back(std::move(decided));
        }
    }
    return info;
}

void kx_sane_middleware::on_SCANNER_ERR_CONFIGURATION_CHANGED(_dev_inst *dev)
{
    const opened_device device(*dev);
    std::vector<std::string> changed;
    reload_current_value(device.scanner(), &changed);
    for (const auto &name : changed) {
        dev = device.record();
        if (dev == nullptr)
            return;
        if (const _cur_val *cur = find_cached_value(*dev, name))
            something_after_do(dev, name.c_str(), std::string(cur->val).c_str());
    }
}
