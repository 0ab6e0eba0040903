// SPDX-License-Identifier: MIT
// The backend from its start to its end, and the devices that it lists.
#ifndef PELSANE_INSPECT_BACKEND_H
#define PELSANE_INSPECT_BACKEND_H

#include <functional>
#include <string>
#include <vector>

namespace inspect {

struct device {
    std::string name;
    std::string vendor;
    std::string model;
    std::string type;
};

// What the driver tells. `data` is the driver's, for the call alone.
struct event {
    int code;
    const void *data;
    unsigned int length;
};

// Is called on the driver's thread.
using event_listener = std::function<void(const event &)>;

class backend {
public:
    // Without a listener, devices have the options "page-width", "page-height" and "duplex" as well. A device that asks
    // for access is opened without a user. One object at a time. Throws failure.
    explicit backend(event_listener listener = {});
    ~backend();
    backend(const backend &) = delete;
    backend &operator=(const backend &) = delete;

    [[nodiscard]] std::string version() const { return version_; }
    [[nodiscard]] static std::string driver_version();

    // Throws failure.
    [[nodiscard]] static std::vector<device> devices();

    // The full name of the device that the user means: one of the list, with or without "pelsane:" before it, or for an
    // empty text the only one that there is. Throws failure.
    [[nodiscard]] static std::string device_named(const std::string &given);

private:
    static int take_event(void *handle, int event, void *data, unsigned int *length, void *parameter);

    event_listener listener_;
    std::string version_;
};

} // namespace inspect

#endif
