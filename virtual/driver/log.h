// SPDX-License-Identifier: MIT
// The driver's log.
#ifndef PELSANE_VIRTUAL_LOG_H
#define PELSANE_VIRTUAL_LOG_H

#include "commonlog.h"

namespace virtual_scanner {

// From the driver's initialisation to its end; each may be called twice.
void open_log();
void close_log();

// The log to pass to the logging functions, null (which they ignore) while it is closed.
void *driver_log();

} // namespace virtual_scanner

#endif
