// SPDX-License-Identifier: MIT
// The handler does what a signal handler may: it sets a flag, and calls cancel, which the SANE standard allows there.
// Tested by tests/tools/scan_test.cpp and watch_test.cpp.
#include "interruption.h"

#include "sane_pelsane.h"

#include <atomic>
#include <cerrno>
#include <csignal>

namespace inspect {

namespace {

std::atomic<bool> interrupted{false};
std::atomic<SANE_Handle> device_to_cancel{nullptr};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<SANE_Handle>::is_always_lock_free,
              "used in a signal handler");

void take_signal(int)
{
    const int interrupted_errno = errno;
    interrupted = true;
    if (const SANE_Handle device = device_to_cancel)
        sane_pelsane_cancel(device);
    errno = interrupted_errno;
}

} // namespace

interruption::interruption(SANE_Handle to_cancel)
{
    interrupted = false;
    device_to_cancel = to_cancel;
    struct sigaction action = {};
    action.sa_handler = take_signal;
    ::sigaction(SIGINT, &action, &earlier_int_);
    ::sigaction(SIGTERM, &action, &earlier_term_);
    ::sigaction(SIGHUP, nullptr, &earlier_hup_);
    if (earlier_hup_.sa_handler != SIG_IGN) // by nohup
        ::sigaction(SIGHUP, &action, nullptr);
}

interruption::~interruption()
{
    ::sigaction(SIGINT, &earlier_int_, nullptr);
    ::sigaction(SIGTERM, &earlier_term_, nullptr);
    ::sigaction(SIGHUP, &earlier_hup_, nullptr);
    device_to_cancel = nullptr;
}

bool interruption::happened()
{
    return interrupted;
}

} // namespace inspect
