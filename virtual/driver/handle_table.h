// SPDX-License-Identifier: MIT
// The handles of opened devices. A handle is a number that looks like an address and is never followed as one.
#ifndef PELSANE_VIRTUAL_HANDLE_TABLE_H
#define PELSANE_VIRTUAL_HANDLE_TABLE_H

#include "session.h"
#include "stop_flag.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace virtual_scanner {

class handle_table {
public:
    using factory = std::function<std::shared_ptr<session>(std::uintptr_t handle, stop_flag &stop)>;

    // Makes a session under a new handle, which is never given again; null when all places are taken.
    void *add(const factory &make);

    // The session, null for a handle that is not open. It lives on while the caller holds it.
    std::shared_ptr<session> find(void *handle);

    // Those that are open of a device, or of all when it has no name.
    std::vector<void *> handles_of(std::string_view device);

    // False for a handle that is not open. A call that is in it meanwhile ends as by a stop.
    bool remove(void *handle);
    void clear();

    // Asks the device's job to stop; false for a handle that is not open. Lock-free and async-signal-safe.
    bool request_stop(void *handle) noexcept;

    // Makes every device that waits look again whether it still has to.
    void wake() noexcept;

private:
    struct place {
        std::atomic<std::uintptr_t> handle{0};
        stop_flag stop;
        std::shared_ptr<session> opened;
    };

    place &place_of(void *handle) noexcept;

    std::array<place, 256> places_;
    std::mutex lock_; // over the sessions; the handles are read without it
    std::uintptr_t generation_ = 0x50000001;
};

} // namespace virtual_scanner

#endif
