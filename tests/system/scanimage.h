// SPDX-License-Identifier: MIT
// scanimage in surroundings of its own: a temporary folder, a SANE configuration that knows this build's backend alone,
// and no variable of the developer's environment.
#ifndef PELSANE_TESTS_SYSTEM_SCANIMAGE_H
#define PELSANE_TESTS_SYSTEM_SCANIMAGE_H

#include "application.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace system_test {

struct outcome {
    int status; // as application::wait answers it; scanimage's own is the SANE status
    std::string output;
    std::string messages;
};

class scanimage : public testing::Test {
protected:
    using arguments = std::vector<std::string>;

    scanimage();
    ~scanimage() override;

    [[nodiscard]] std::string path(const std::string &name) const { return folder_ + "/" + name; }
    void write_file(const std::string &name, const std::string &text) const;
    // The built-in profile with `from` replaced by `to` becomes the scanner's profile.
    void use_profile_with(const std::string &from, const std::string &to);
    void set_variable(const std::string &name, const std::string &value) { variables_[name] = value; }

    [[nodiscard]] std::unique_ptr<application> start(const arguments &command,
                                                     const std::string &output_name = "output") const;
    // Runs to the end. A report of a sanitizer fails the test.
    outcome run_command(const arguments &command) const;
    outcome run(const arguments &options) const;

    // Scans with the options into page-1.EXT, page-2.EXT, ... of the test's folder.
    outcome scan_batch(const arguments &options, const std::string &format = "png") const;
    // The paths of the pages that scan_batch wrote.
    [[nodiscard]] std::vector<std::string> pages(const std::string &format = "png") const;

private:
    [[nodiscard]] std::vector<std::string> environment() const;

    std::string folder_;
    std::map<std::string, std::string> variables_;
};

void expect_no_sanitizer_report(const std::string &messages);
std::string read_file(const std::string &path);
std::vector<std::string> lines_of(const std::string &text);
bool contains(const std::string &text, const std::string &part);
int occurrences(const std::string &text, const std::string &part);

} // namespace system_test

#endif
