// SPDX-License-Identifier: MIT
// Why a command could not be done, and what the program's exit status says of it.
#ifndef PELSANE_INSPECT_FAILURE_H
#define PELSANE_INSPECT_FAILURE_H

#include <stdexcept>
#include <string>

namespace inspect {

// The numbers are a promise to scripts; --help and the man page list them.
enum class exit_status : int {
    done = 0,
    findings = 1,
    usage = 2,
    no_device = 3,
    no_option = 4,
    access_denied = 5,
    device_failed = 6,
    device_gone = 7,
    refused = 8,
    no_paper = 9,
    output_failed = 10,
    interrupted = 130,
};

class failure : public std::runtime_error {
public:
    failure(exit_status status, const std::string &reason) : std::runtime_error(reason), status_(status) {}

    [[nodiscard]] exit_status status() const { return status_; }

private:
    exit_status status_;
};

} // namespace inspect

#endif
