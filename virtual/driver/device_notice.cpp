// SPDX-License-Identifier: MIT
// Tested by hotplug_test.
#include "device_notice.h"

#include <csignal>
#include <unistd.h>

namespace virtual_scanner {

void raise_device_notice()
{
    struct sigaction installed{};
    if (sigaction(SIGUSR1, nullptr, &installed) != 0)
        return;
    if (installed.sa_handler != SIG_DFL && installed.sa_handler != SIG_IGN)
        kill(getpid(), SIGUSR1);
}

} // namespace virtual_scanner
