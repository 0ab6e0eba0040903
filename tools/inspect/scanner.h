// SPDX-License-Identifier: MIT
// A device that is open, as long as the object lives.
#ifndef PELSANE_INSPECT_SCANNER_H
#define PELSANE_INSPECT_SCANNER_H

#include <sane/sane.h>

#include <string>

namespace inspect {

class scanner {
public:
    // The device that the user means, see backend::device_named. A backend must be there. Throws failure.
    explicit scanner(const std::string &given_name);
    ~scanner();
    scanner(const scanner &) = delete;
    scanner &operator=(const scanner &) = delete;

    [[nodiscard]] const std::string &name() const { return name_; }
    [[nodiscard]] SANE_Handle handle() const { return handle_; }
    // For the driver's own functions.
    [[nodiscard]] void *driver_handle() const;

    // Whether the driver says that the device has gone.
    [[nodiscard]] bool is_gone() const;

    // Throws a failure that says what was tried, unless the status is good.
    void check(SANE_Status status, const std::string &tried) const;

private:
    std::string name_;
    SANE_Handle handle_ = nullptr;
};

// A status as words, also one that is a code of the driver.
[[nodiscard]] std::string text_of(SANE_Status status);

} // namespace inspect

#endif
