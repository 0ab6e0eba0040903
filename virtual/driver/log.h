// SPDX-License-Identifier: MIT
// The driver's log.
#ifndef PELSANE_VIRTUAL_LOG_H
#define PELSANE_VIRTUAL_LOG_H

#include <memory>

namespace virtual_scanner {

// A share in the log, which is open as long as anyone has one: the driver from its initialisation to its end, and a
// session, which may outlive this when a call is still in it. Null when memory is short, as good as a silent log.
std::shared_ptr<void> open_log() noexcept;

// The log to pass to the logging functions, null (which they ignore) while it is closed.
void *driver_log();

} // namespace virtual_scanner

#endif
