// SPDX-License-Identifier: MIT
// An interactive application: it links SANE's library and keeps one device open. Values are texts in the C locale
// ("true", "200", "1.5"), whatever the option's type, so that tests can stand in tables.
#ifndef PELSANE_TESTS_SYSTEM_SANE_CLIENT_H
#define PELSANE_TESTS_SYSTEM_SANE_CLIENT_H

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace system_test {

// What a change of an option was answered with.
struct answer {
    SANE_Status status;
    SANE_Int info;
    bool operator==(const answer &other) const { return status == other.status && info == other.info; }
};
std::ostream &operator<<(std::ostream &out, const answer &given);

constexpr answer taken{SANE_STATUS_GOOD, 0};
constexpr answer inexact{SANE_STATUS_GOOD, SANE_INFO_INEXACT};
constexpr answer reload_options{SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS};
constexpr answer reload_image{SANE_STATUS_GOOD, SANE_INFO_RELOAD_PARAMS};
constexpr answer reload_all{SANE_STATUS_GOOD, SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS};
constexpr answer invalid{SANE_STATUS_INVAL, 0};
constexpr answer unsupported{SANE_STATUS_UNSUPPORTED, 0};

struct delivered_page {
    SANE_Parameters parameters;
    std::size_t size;     // bytes that were read
    SANE_Status end;      // of the last read, or of a start that failed
    SANE_Int last_length; // that came with the last read
};

// A SANE configuration that knows this build's backend alone, and the scanner opened by the name it is listed under.
// What the environment should say is set before `open`.
class sane_client : public testing::Test {
protected:
    sane_client();
    ~sane_client() override;

    static void set_variable(const char *name, const std::string &value);
    // The built-in profile with `from` replaced by `to` becomes the scanner's profile.
    static void use_profile_with(const std::string &from, const std::string &to);
    void open();
    // The device is closed and opened again, and SANE goes on.
    void reopen();
    [[nodiscard]] SANE_Handle handle() const { return handle_; }

    // The names found by walking numbers upward from 1 until there is no descriptor; those of groups are empty.
    [[nodiscard]] std::vector<std::string> walk() const;
    // Throws std::out_of_range when the walk meets no such option.
    [[nodiscard]] SANE_Int number_of(const std::string &name) const;
    [[nodiscard]] const SANE_Option_Descriptor *descriptor(const std::string &name) const;
    [[nodiscard]] bool is_active(const std::string &name) const;
    [[nodiscard]] std::vector<const SANE_Option_Descriptor *> descriptors() const;

    // An option that cannot be read says "(unreadable)".
    [[nodiscard]] std::string get(const std::string &name) const;
    answer set(const std::string &name, const std::string &value) const;
    answer set_auto(const std::string &name) const;
    answer press(const std::string &name) const;

    // Reads a started page, or starts and reads one.
    [[nodiscard]] delivered_page read_page() const;
    [[nodiscard]] delivered_page scan_page() const;

private:
    SANE_Handle handle_ = nullptr;
};

} // namespace system_test

#endif
