// SPDX-License-Identifier: MIT
// The notice that the list of devices has changed.
#ifndef PELSANE_VIRTUAL_DEVICE_NOTICE_H
#define PELSANE_VIRTUAL_DEVICE_NOTICE_H

namespace virtual_scanner {

// Raises SIGUSR1 in this process when there is a handler for it; without one it would end the process.
void raise_device_notice();

} // namespace virtual_scanner

#endif
