// SPDX-License-Identifier: MIT
// SIGINT, SIGTERM and SIGHUP end what runs in good order, instead of the program.
#ifndef PELSANE_INSPECT_INTERRUPTION_H
#define PELSANE_INSPECT_INTERRUPTION_H

#include <sane/sane.h>

#include <csignal>

namespace inspect {

class interruption {
public:
    // While the object lives, a signal is remembered; a device that is given is cancelled at once, whatever its reads
    // wait for. One object at a time.
    explicit interruption(SANE_Handle to_cancel = nullptr);
    ~interruption();
    interruption(const interruption &) = delete;
    interruption &operator=(const interruption &) = delete;

    [[nodiscard]] static bool happened();

private:
    struct sigaction earlier_int_ = {};
    struct sigaction earlier_term_ = {};
    struct sigaction earlier_hup_ = {};
};

} // namespace inspect

#endif
