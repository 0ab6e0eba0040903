// SPDX-License-Identifier: MIT
// The journey of doc/option_journey.md, made by an application on the virtual scanner: the document's blocks "calls"
// and "log", one after the other, are what the driver was asked and what was logged, line by line.
#include "guarded_memory.h"
#include "sane_client.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>

namespace system_test {

namespace {

std::string read_text(const std::string &path)
{
    const std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The lines of all fenced blocks of the kind.
std::string blocks_of(const std::string &kind)
{
    std::ifstream document(PELSANE_DOCUMENT);
    std::string lines;
    bool inside = false;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("```", 0) == 0)
            inside = !inside && line == "```" + kind;
        else if (inside)
            lines += line + '\n';
    }
    return lines;
}

// Each line without the time that it begins with.
std::string without_times(const std::string &log)
{
    std::istringstream in(log);
    std::string lines;
    for (std::string line; std::getline(in, line);)
        lines += line.substr(line.find(' ') + 1) + '\n';
    return lines;
}

} // namespace

class option_journey : public sane_client {
protected:
    option_journey()
    {
        std::filesystem::create_directories(folder_);
        set_variable("PELSANE_CALLS", calls_);
        set_variable("PELLOG_FILE", log_);
        set_variable("PELLOG_LEVEL", "debug");
        open();
        shape_ = number_of("bkg-fill-mode");
        margin_ = number_of("margin");
    }

    ~option_journey() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    // One click: a setting, and since the options are to be looked at again, a look at one that was inactive.
    answer click() const
    {
        std::filesystem::resize_file(calls_, 0);
        std::filesystem::resize_file(log_, 0);
        const auto shape = guarded_memory::of_text("Concave", sane_get_option_descriptor(handle(), shape_)->size);
        answer given{};
        given.status = sane_control_option(handle(), shape_, SANE_ACTION_SET_VALUE, shape.data(), &given.info);
        const auto *const margin = sane_get_option_descriptor(handle(), margin_);
        EXPECT_TRUE(SANE_OPTION_IS_ACTIVE(margin->cap));
        SANE_Word millimetres = 0;
        EXPECT_EQ(SANE_STATUS_GOOD,
                  sane_control_option(handle(), margin_, SANE_ACTION_GET_VALUE, &millimetres, nullptr));
        return given;
    }

    [[nodiscard]] std::string calls() const { return read_text(calls_); }
    [[nodiscard]] std::string log() const { return without_times(read_text(log_)); }

private:
    std::string folder_ =
        (std::filesystem::temp_directory_path() / ("pelsane-journey-" + std::to_string(::getpid()))).string();
    std::string calls_ = folder_ + "/calls";
    std::string log_ = folder_ + "/log";
    SANE_Int shape_ = 0;
    SANE_Int margin_ = 0;
};

TEST_F(option_journey, asks_the_driver_what_the_document_says)
{
    click();
    EXPECT_FALSE(calls().empty());
    EXPECT_EQ(blocks_of("calls"), calls());
}

TEST_F(option_journey, logs_what_the_document_says)
{
    click();
    EXPECT_FALSE(log().empty());
    EXPECT_EQ(blocks_of("log"), log());
}

TEST_F(option_journey, switches_two_options_on)
{
    EXPECT_FALSE(is_active("margin"));
    EXPECT_FALSE(is_active("is-fill-color"));
    const auto *const descriptor_before = descriptor("margin");
    EXPECT_EQ(reload_options, click());
    EXPECT_TRUE(is_active("margin"));
    EXPECT_TRUE(is_active("is-fill-color"));
    EXPECT_EQ("Concave", get("bkg-fill-mode"));
    EXPECT_EQ(descriptor_before, descriptor("margin"));
}

} // namespace system_test
