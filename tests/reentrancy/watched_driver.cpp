// SPDX-License-Identifier: MIT
// The loader finds this executable's functions before those of the scripted libraries. A device counts as closed from
// the begin of kx_scanner_close on; its handle is free when that is over.
#include "watched_driver.h"

#include "kx_scanner.h"
#include "langkit.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace watched_driver {
namespace {

struct device {
    unsigned long generation = 0;
    bool is_closing = false;
};

struct watch {
    std::map<const void *, device> devices; // that are open or closing
    unsigned long opens = 0;
    int starts = 0;
    int notices = 0;

    bool is_running = false; // an entry point
    bool is_inside = false;  // a nested call
    bool may_follow = false;
    bool came_in = false;
    intrusion planned;
    std::vector<std::string> points;
    std::map<const void *, unsigned long> own; // what was open at the begin, and what the entry point opened itself
    void *opened = nullptr;
    std::vector<std::string> violations;
};
watch the_watch;
kx_event_callback the_callback = nullptr;

bool is_outermost()
{
    return the_watch.is_running && !the_watch.is_inside;
}

void let_in(void *handle)
{
    watch &w = the_watch;
    w.is_inside = true;
    if (!w.planned.by_event) {
        w.came_in = true;
        w.planned.nested();
    } else if (the_callback != nullptr) {
        constexpr int some_event = 4;
        the_callback(handle, some_event, nullptr, nullptr, nullptr);
    }
    w.is_inside = false;
}

void note_violation(const char *function, const void *handle, const char *what)
{
    char text[160];
    std::snprintf(text, sizeof text, "%s(%p) %s%s", function, handle, what,
                  the_watch.is_inside ? " (by the nested call)" : "");
    auto &all = the_watch.violations;
    if (std::find(all.begin(), all.end(), text) == all.end())
        all.emplace_back(text);
}

void check_handle(const char *function, const void *handle)
{
    if (handle == nullptr)
        return;
    const unsigned long generation = generation_of(handle);
    if (generation == 0) {
        note_violation(function, handle, "on a device that is not open");
        return;
    }
    if (!is_outermost() || the_watch.may_follow)
        return;
    const auto known = the_watch.own.find(handle);
    if (known == the_watch.own.end() || known->second != generation)
        note_violation(function, handle, "on a device that took the place of the one that was closed");
}

// An exit that comes before all was started ends what there is.
void lower(int &count)
{
    count -= count > 0 ? 1 : 0;
}

// Where an entry point goes on behind an exit, it must find that there is no driver any more.
void check_start(const char *function)
{
    if (is_outermost() && the_watch.starts == 0)
        note_violation(function, nullptr, "of a driver that is shut down");
}

// One driver call on its way.
class point {
public:
    point(const char *function, void *handle) : handle_(handle)
    {
        watch &w = the_watch;
        if (!is_outermost())
            return;
        is_due_ = w.points.size() == w.planned.nth;
        w.points.emplace_back(function);
    }
    void pass(moment now) const
    {
        if (is_due_ && now == the_watch.planned.when)
            let_in(handle_);
    }

private:
    void *handle_;
    bool is_due_ = false;
};

template <typename Work> auto pass(const char *function, void *handle, Work work)
{
    const point here(function, handle);
    here.pass(moment::before);
    const auto result = work();
    here.pass(moment::behind);
    return result;
}

// The same for a call on a device.
template <typename Work> auto pass_on_device(const char *function, void *handle, Work work)
{
    check_handle(function, handle);
    return pass(function, handle, work);
}

template <typename Function> Function *next(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void *free_handle()
{
    constexpr std::uintptr_t first = 0x100000002;
    std::uintptr_t handle = first;
    while (the_watch.devices.count(reinterpret_cast<void *>(handle)) != 0)
        handle += first;
    return reinterpret_cast<void *>(handle);
}

// The scripted driver decides whether there is a device; its handle is replaced by one of ours.
int note_open(int code, void **handle)
{
    watch &w = the_watch;
    if (code != SCANNER_ERR_OK)
        return code;
    *handle = free_handle();
    w.devices[*handle] = {++w.opens, false};
    if (is_outermost()) {
        w.own[*handle] = w.opens;
        w.opened = *handle;
    }
    return code;
}

bool is_driver_log(const void *option)
{
    return reinterpret_cast<std::uintptr_t>(option) > 0xFFFF &&
           std::strcmp(static_cast<const char *>(option), "drv-log") == 0;
}

} // namespace

void reset()
{
    the_watch = watch();
}

void begin(intrusion planned, bool may_follow)
{
    watch &w = the_watch;
    w.planned = std::move(planned);
    w.may_follow = may_follow;
    w.is_running = true;
    w.came_in = false;
    w.points.clear();
    w.own.clear();
    w.opened = nullptr;
    for (const auto &[handle, open] : w.devices)
        w.own[handle] = open.generation;
}

void end()
{
    the_watch.is_running = false;
}

const std::vector<std::string> &points()
{
    return the_watch.points;
}

bool has_come_in()
{
    return the_watch.came_in;
}

int receive_event(int event)
{
    if (event != KX_EVENT_ACCESS) {
        the_watch.came_in = true;
        the_watch.planned.nested();
        return 0;
    }
    return pass("event 3", nullptr, [] { return 0; });
}

unsigned long generation_of(const void *scanner)
{
    const auto found = the_watch.devices.find(scanner);
    return found != the_watch.devices.end() && !found->second.is_closing ? found->second.generation : 0;
}

std::size_t open_count()
{
    return the_watch.devices.size();
}

void *opened_by_entry_point()
{
    return the_watch.opened;
}

unsigned long own_generation_of(const void *scanner)
{
    const auto found = the_watch.own.find(scanner);
    return found != the_watch.own.end() ? found->second : 0;
}

int starts_left()
{
    return the_watch.starts;
}

int notices_left()
{
    return the_watch.notices;
}

const std::vector<std::string> &violations()
{
    return the_watch.violations;
}

} // namespace watched_driver

using namespace watched_driver;

extern "C" {

int kx_scanner_set_sane_info(const char *name, const char *version)
{
    static const auto set = next(kx_scanner_set_sane_info, "kx_scanner_set_sane_info");
    return pass("set_sane_info", nullptr, [&] { return set(name, version); });
}

int kx_scanner_initialize(kx_event_callback callback, void *parameter)
{
    static const auto initialize = next(kx_scanner_initialize, "kx_scanner_initialize");
    the_callback = callback;
    ++the_watch.starts;
    return pass("initialize", nullptr, [&] { return initialize(callback, parameter); });
}

int kx_scanner_uninitialize(void)
{
    static const auto uninitialize = next(kx_scanner_uninitialize, "kx_scanner_uninitialize");
    lower(the_watch.starts);
    return pass("uninitialize", nullptr, [&] { return uninitialize(); });
}

unsigned int kx_scanner_get_version(void)
{
    static const auto get = next(kx_scanner_get_version, "kx_scanner_get_version");
    return pass("get_version", nullptr, [&] { return get(); });
}

const char *kx_scanner_err_description(int code)
{
    static const auto describe = next(kx_scanner_err_description, "kx_scanner_err_description");
    return pass("err_description", nullptr, [&] { return describe(code); });
}

int kx_scanner_enum(void *records, int *count, int local_only)
{
    static const auto list = next(kx_scanner_enum, "kx_scanner_enum");
    check_start("enum");
    return pass("enum", nullptr, [&] { return list(records, count, local_only); });
}

int kx_scanner_open(void **handle, const char *name, int flag, const char *user, const char *password,
                    const char *extra, char *need_auth)
{
    static const auto open = next(kx_scanner_open, "kx_scanner_open");
    check_start("open");
    const point here("open", nullptr);
    here.pass(moment::before);
    const int code = note_open(open(handle, name, flag, user, password, extra, need_auth), handle);
    here.pass(moment::behind);
    return code;
}

int kx_scanner_close(void *handle, int force)
{
    static const auto close = next(kx_scanner_close, "kx_scanner_close");
    check_handle("close", handle);
    const point here("close", handle);
    const bool is_open = generation_of(handle) != 0;
    if (is_open)
        the_watch.devices[handle].is_closing = true;
    here.pass(moment::before);
    const int code = close(handle, force);
    if (is_open)
        the_watch.devices.erase(handle);
    here.pass(moment::behind);
    return code;
}

int kx_scanner_get_parameter(void *handle, const void *option, void *data, long *length, int *id)
{
    static const auto get = next(kx_scanner_get_parameter, "kx_scanner_get_parameter");
    const auto work = [&] { return get(handle, option, data, length, id); };
    if (is_driver_log(option)) // takes the frontend's handle as it comes
        return pass("get_parameter", handle, work);
    return pass_on_device("get_parameter", handle, work);
}

int kx_scanner_set_parameter(void *handle, const void *option, void *data, long *length)
{
    static const auto set = next(kx_scanner_set_parameter, "kx_scanner_set_parameter");
    const auto work = [&] { return set(handle, option, data, length); };
    if (is_driver_log(option))
        return pass("set_parameter", handle, work);
    return pass_on_device("set_parameter", handle, work);
}

int kx_scanner_get_status(void *handle, int which)
{
    static const auto get = next(kx_scanner_get_status, "kx_scanner_get_status");
    return pass_on_device("get_status", handle, [&] { return get(handle, which); });
}

int kx_scanner_control(void *handle, unsigned long code, void *data, unsigned int *length)
{
    static const auto control = next(kx_scanner_control, "kx_scanner_control");
    return pass_on_device("control", handle, [&] { return control(handle, code, data, length); });
}

int kx_scanner_start(void *handle, void *event, int timeout)
{
    static const auto start = next(kx_scanner_start, "kx_scanner_start");
    return pass_on_device("start", handle, [&] { return start(handle, event, timeout); });
}

int kx_scanner_read_img_data(void *handle, void *data, long *count)
{
    static const auto read = next(kx_scanner_read_img_data, "kx_scanner_read_img_data");
    return pass_on_device("read_img_data", handle, [&] { return read(handle, data, count); });
}

int kx_scanner_stop(void *handle)
{
    static const auto stop = next(kx_scanner_stop, "kx_scanner_stop");
    return pass_on_device("stop", handle, [&] { return stop(handle); });
}

int kx_scanner_get_img_info(void *handle, void *info, int size)
{
    static const auto get = next(kx_scanner_get_img_info, "kx_scanner_get_img_info");
    return pass_on_device("get_img_info", handle, [&] { return get(handle, info, size); });
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    static const auto change = next(register_language_changed_notify, "register_language_changed_notify");
    if (add != 0)
        ++the_watch.notices;
    else
        lower(the_watch.notices);
    return change(notify, add, parameter);
}

} // extern "C"
