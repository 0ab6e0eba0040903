// SPDX-License-Identifier: MIT
// Starting and stopping the backend as a SANE application does, but through the entry point that takes an event
// callback. Exceptions of a listener end here: they must not go through the driver's thread.
// Tested by tests/tools/devices_test.cpp.
#include "backend.h"

#include "failure.h"
#include "kx_scanner.h"
#include "sane_ex.h"
#include "sane_pelsane.h"

#include <algorithm>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace inspect {

namespace {

constexpr std::string_view name_prefix = "pelsane:"; // under which SANE's own programs show a device

std::string joined_names(const std::vector<device> &devices)
{
    std::string names;
    for (const device &each : devices)
        names += (names.empty() ? "" : ", ") + each.name;
    return names;
}

} // namespace

backend::backend(event_listener listener) : listener_(std::move(listener))
{
    SANE_Int code = 0;
    const auto callback = listener_ ? take_event : nullptr;
    const SANE_Status status = sane_pelsane_init_ex(&code, callback, this);
    if (status != SANE_STATUS_GOOD)
        throw failure(exit_status::device_failed,
                      fmt::format("the driver cannot be started: {}", sane_pelsane_err_desc(status)));
    version_ = fmt::format("{}.{}.{}", SANE_VERSION_MAJOR(code), SANE_VERSION_MINOR(code), SANE_VERSION_BUILD(code));
}

backend::~backend()
{
    sane_pelsane_exit();
}

std::string backend::driver_version()
{
    SANE_Int major = 0;
    SANE_Int minor = 0;
    SANE_Int micro = 0;
    SANE_Int build = 0;
    sane_ex_get_driver_version(&major, &minor, &micro, &build);
    return fmt::format("{}.{}.{}.{}", major, minor, micro, build);
}

std::vector<device> backend::devices()
{
    const SANE_Device **list = nullptr;
    const SANE_Status status = sane_pelsane_get_devices(&list, SANE_FALSE);
    if (status != SANE_STATUS_GOOD)
        throw failure(exit_status::device_failed,
                      fmt::format("the driver lists no devices: {}", sane_pelsane_err_desc(status)));
    std::vector<device> devices;
    for (; *list != nullptr; ++list)
        devices.push_back({(*list)->name, (*list)->vendor, (*list)->model, (*list)->type});
    return devices;
}

std::string backend::device_named(const std::string &given)
{
    const std::vector<device> listed = devices();
    if (given.empty()) {
        if (listed.empty())
            throw failure(exit_status::no_device, "no scanner was found");
        if (listed.size() > 1)
            throw failure(exit_status::usage,
                          fmt::format("there are several scanners, name one of them: {}", joined_names(listed)));
        return listed.front().name;
    }
    const bool prefixed = given.compare(0, name_prefix.size(), name_prefix) == 0;
    const std::string plain = prefixed ? given.substr(name_prefix.size()) : given;
    for (const std::string &name : {given, plain})
        if (std::any_of(listed.begin(), listed.end(), [&name](const device &each) { return each.name == name; }))
            return name;
    throw failure(exit_status::no_device, fmt::format("there is no scanner \"{}\"", given));
}

int backend::take_event(void *, int event, void *data, unsigned int *length, void *parameter)
{
    try {
        static_cast<backend *>(parameter)->listener_({event, data, length != nullptr ? *length : 0});
    } catch (const std::exception &) {
        return SCANNER_ERR_IO;
    }
    return SCANNER_ERR_OK;
}

} // namespace inspect
