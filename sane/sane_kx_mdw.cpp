// SPDX-License-Identifier: MIT
// The life of the library: what happens when it is loaded, at the first call (the middleware object starts the driver),
// at exit (it stops it) and at unload. Static objects are defined in the order in which they must come to be: names,
// then the log, then what closes the log.
// Tested by tests/sane/lifecycle_test.cpp.
#include "sane_kx_mdw.h"

#include "commonlog.h"
#include "guard.h"
#include "kx_scanner.h"
#include "langkit.h"
#include "local_utility.h"
#include "open_scanners.h"
#include "sane_ex.h"

#include <sane/sane.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

static std::string g_sane_path;
static std::string g_sane_name = "pelsane";

static const char *const oem = "Vantoscan"; // owner of the log; device vendors come from the driver

void *g_hLog = EnableLog(0, oem, "driver");

namespace {

struct log_manager {
    ~log_manager()
    {
        DisableLog(g_hLog);
        g_hLog = nullptr;
    }
};

// Made while the process runs, so that it goes before everything of the libraries when the process ends.
bool process_ends = false;
struct end_mark {
    ~end_mark() { process_ends = true; }
};

constexpr char banner_rule[] = "=========================================================================";

constexpr unsigned int version_major = 1;
constexpr unsigned int version_minor = 0;
constexpr unsigned int version_build = 24289;

std::string folder_of_module(const std::string &module)
{
    char buffer[512 + 1] = {}; // the library fills 512 at most, perhaps without a terminator
    std::string path = local_utility::text_or_empty(get_file_path(module.c_str(), buffer));
    const auto slash = path.rfind('/');
    if (slash != std::string::npos)
        path.resize(slash + 1);
    return path;
}

} // namespace

static log_manager g_logMgr;

// Comes before the static objects go, while there is a log. A call after exit makes an object again, and nobody may end
// it: its callback, notice and signal handler must not outlive the library. When the process ends, all of it is left
// alone: what the driver needs may be gone, and other threads may be in it.
[[gnu::destructor]] static void unload()
{
    if (process_ends)
        return;
    kx_sane_middleware::clear_leftover();
    open_scanners::release();
}

std::atomic<kx_sane_middleware *> kx_sane_middleware::inst_{nullptr};
bool kx_sane_middleware::was_cleared_ = false;

// The object is in place before the driver starts, since an event of the driver's may already call back in.
kx_sane_middleware *kx_sane_middleware::instance()
{
    if (!exists()) {
        static const end_mark mark;
        auto *const object = new kx_sane_middleware;
        const auto serial = object->serial_;
        inst_ = object;
        try {
            object->start_driver();
        } catch (...) {
            if (is_current(serial))
                clear();
            throw;
        }
    }
    return inst_;
}

bool kx_sane_middleware::is_current(std::uint64_t serial)
{
    const kx_sane_middleware *const object = inst_;
    return object != nullptr && object->serial_ == serial;
}

void kx_sane_middleware::clear()
{
    struct removal {
        void operator()(kx_sane_middleware *object) const
        {
            inst_ = nullptr; // a cancel that comes now finds no object, not one that is going
            delete object;
        }
    };
    local_utility::stop_work();
    was_cleared_ = true;
    kx_sane_middleware *const object = inst_;
    if (object == nullptr || std::exchange(object->is_ending_, true))
        return;
    const std::unique_ptr<kx_sane_middleware, removal> ended(object);
    object->stop_driver();
}

void kx_sane_middleware::clear_leftover()
{
    if (was_cleared_)
        quietly(clear);
}

bool kx_sane_middleware::is_ready()
{
    return ready_;
}

void kx_sane_middleware::set_callback(sane_event_callback callback, void *parameter)
{
    local_utility::set_callback(callback, parameter);
}

std::string kx_sane_middleware::sane_path()
{
    return g_sane_path;
}

void kx_sane_middleware::language_changed(int, void *)
{
    if (kx_sane_middleware *const object = inst_)
        quietly([object] { object->reload_options(nullptr); });
}

static std::uint64_t next_object_serial()
{
    static std::uint64_t last = 0;
    return ++last;
}

kx_sane_middleware::kx_sane_middleware() : serial_(next_object_serial())
{
    sigaction(SIGUSR1, nullptr, &earlier_handler_);
}

// Devices are left when the thread that exits is cancelled within the driver.
kx_sane_middleware::~kx_sane_middleware()
{
    while (!openning_dev_.empty())
        take_record(openning_dev_.begin());
}

// Results are not checked: a driver that does not start returns errors from the calls that follow. A frontend that
// exits within an event of these calls has stopped the driver: nothing more is registered then.
void kx_sane_middleware::start_driver()
{
    const auto serial = serial_;
    InfoLog(g_hLog, banner_rule);
    InfoLog(g_hLog, banner_rule);
    ready_ = true;

    char version[40] = {};
    std::snprintf(version, sizeof(version), "%u.%u.%u", version_major, version_minor, version_build);
    std::signal(SIGUSR1, device_pnp);
    kx_scanner_set_sane_info(g_sane_name.c_str(), version);
    if (!is_current(serial))
        return;
    kx_scanner_initialize(local_utility::ui_cb, nullptr);
    if (!is_current(serial))
        return;
    register_language_changed_notify(language_changed, 1, nullptr);
    g_sane_path = folder_of_module(g_sane_name + ".so");
}

// Each call for itself: a driver that throws in one of them is still told of the others.
void kx_sane_middleware::stop_driver()
{
    quietly([] { register_language_changed_notify(language_changed, 0, nullptr); });
    while (!openning_dev_.empty()) {
        const auto dev = take_record(openning_dev_.begin());
        quietly([&dev] { kx_scanner_close(dev->dev_, 1); });
    }
    quietly([] { kx_scanner_uninitialize(); });

    // A notice after the library is gone must not jump into nothing; a handler that came later stays.
    struct sigaction now = {};
    sigaction(SIGUSR1, nullptr, &now);
    if (now.sa_handler == device_pnp)
        sigaction(SIGUSR1, &earlier_handler_, nullptr);
}

void local_utility::get_version(SANE_Int *version_code)
{
    if (version_code != nullptr)
        *version_code = SANE_VERSION_CODE(version_major, version_minor, version_build);
}
