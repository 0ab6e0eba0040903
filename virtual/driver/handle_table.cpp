// SPDX-License-Identifier: MIT
// A handle holds its place in the table and a generation, so that a stale one is recognised without being followed:
// bits 0 to 3 are zero, 4 to 11 the place, the rest the generation. A place outlives its sessions, which is why a stop
// can be asked for in a signal handler at any time. Tested by driver_lifecycle_test and driver_cancel_test.
#include "handle_table.h"

#include "session.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <tuple>
#include <vector>

namespace virtual_scanner {

handle_table::place &handle_table::place_of(void *handle) noexcept
{
    return places_[(reinterpret_cast<std::uintptr_t>(handle) >> 4) % std::tuple_size_v<decltype(places_)>];
}

void *handle_table::add(const factory &make)
{
    const std::lock_guard<std::mutex> guard(lock_);
    for (std::size_t index = 0; index < places_.size(); ++index) {
        place &free = places_[index];
        if (free.opened != nullptr)
            continue;
        const std::uintptr_t handle = (generation_ << 12) | (index << 4);
        free.opened = make(handle, free.stop);
        free.handle = handle;
        ++generation_;
        return reinterpret_cast<void *>(handle);
    }
    return nullptr;
}

std::shared_ptr<session> handle_table::find(void *handle)
{
    const std::lock_guard<std::mutex> guard(lock_);
    const place &found = place_of(handle);
    return handle != nullptr && found.handle == reinterpret_cast<std::uintptr_t>(handle) ? found.opened : nullptr;
}

std::vector<void *> handle_table::handles_of(std::string_view device)
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::vector<void *> handles;
    for (const place &each : places_)
        if (each.handle != 0 && (device.empty() || each.opened->device_name() == device))
            handles.push_back(reinterpret_cast<void *>(each.handle.load()));
    return handles;
}

bool handle_table::remove(void *handle)
{
    std::shared_ptr<session> closed; // ends outside the lock
    const std::lock_guard<std::mutex> guard(lock_);
    place &found = place_of(handle);
    if (handle == nullptr || found.handle != reinterpret_cast<std::uintptr_t>(handle))
        return false;
    found.stop.request(found.handle); // for a call that still waits
    found.handle = 0;
    closed.swap(found.opened);
    return true;
}

void handle_table::clear()
{
    for (place &each : places_)
        remove(reinterpret_cast<void *>(each.handle.load()));
}

bool handle_table::request_stop(void *handle) noexcept
{
    place &found = place_of(handle);
    if (handle == nullptr || found.handle != reinterpret_cast<std::uintptr_t>(handle))
        return false;
    found.stop.request(reinterpret_cast<std::uintptr_t>(handle));
    return true;
}

void handle_table::wake() noexcept
{
    for (place &each : places_)
        each.stop.wake();
}

} // namespace virtual_scanner
