// SPDX-License-Identifier: MIT
// The life of the library: what happens when it is loaded, at the first call (the middleware object starts the driver),
// at exit (it stops it) and at unload. Static objects are defined in the order in which they must come to be: names,
// then the log, then what closes the log.
// Tested by tests/sane/lifecycle_test.cpp.
#include "sane_kx_mdw.h"

#include "commonlog.h"
#include "guard.h"
#include "langkit.h"

#include <cstdio>

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

kx_sane_middleware *kx_sane_middleware::inst_ = nullptr;

// The object is in place before the driver starts, since an event of the driver's may already call back in.
kx_sane_middleware *kx_sane_middleware::instance()
{
    if (inst_ == nullptr) {
        inst_ = new kx_sane_middleware;
        try {
            inst_->start_driver();
        } catch (...) {
            clear();
            throw;
        }
    }
    return inst_;
}

void kx_sane_middleware::clear()
{
    local_utility::stop_work();
    delete inst_;
    inst_ = nullptr;
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
    guarded(0, 0, [] {
        instance()->reload_options(nullptr);
        return 0;
    });
}

kx_sane_middleware::kx_sane_middleware()
{
    constexpr std::size_t expected_devices =
        16; // so that a cancel from a signal handler hardly ever meets a growing list
    openning_dev_.reserve(expected_devices);
    sigaction(SIGUSR1, nullptr, &earlier_handler_);
}

// Results are not checked: a driver that does not start answers for itself in the calls that follow.
void kx_sane_middleware::start_driver()
{
    InfoLog(g_hLog, banner_rule);
    InfoLog(g_hLog, banner_rule);
    ready_ = true;

    char version[40] = {};
    std::snprintf(version, sizeof(version), "%u.%u.%u", version_major, version_minor, version_build);
    std::signal(SIGUSR1, device_pnp);
    kx_scanner_set_sane_info(g_sane_name.c_str(), version);
    kx_scanner_initialize(local_utility::ui_cb, nullptr);
    register_language_changed_notify(language_changed, 1, nullptr);
    g_sane_path = folder_of_module(g_sane_name + ".so");
}

kx_sane_middleware::~kx_sane_middleware()
{
    register_language_changed_notify(language_changed, 0, nullptr);
    for (auto &dev : openning_dev_) {
        kx_scanner_close(dev->dev_, 1);
        free_device_inst(dev.release(), true);
    }
    kx_scanner_uninitialize();
    local_utility::free_memory(mem_);

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
