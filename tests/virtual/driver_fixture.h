// SPDX-License-Identifier: MIT
// What the tests of the virtual scanner share: its functions are called as the backend calls them.
#ifndef PELSANE_TESTS_DRIVER_FIXTURE_H
#define PELSANE_TESTS_DRIVER_FIXTURE_H

#include "kx_scanner.h"
#include "langkit_control.h"
#include "surroundings.h"

#include <gtest/gtest.h>
#include <leptonica/allheaders.h>
#include <nlohmann/json.hpp>
#include <sane/sane.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <ios>
#include <string>
#include <utility>
#include <vector>

namespace driver_test {

using json = nlohmann::json;
using surroundings::content_of;
using surroundings::environment_variable;
using surroundings::standard_error_of;
using surroundings::temporary_folder;

inline std::string write_file(const std::string &path, const std::string &text)
{
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

inline const void *key(int number)
{
    return reinterpret_cast<const void *>(static_cast<std::intptr_t>(number));
}

struct scanned_page {
    SANE_Parameters parameters{};
    std::vector<unsigned char> data;

    const unsigned char *at(int x, int y) const
    {
        const int bytes = parameters.format == SANE_FRAME_RGB ? 3 : 1;
        return &data[static_cast<std::size_t>(y) * static_cast<std::size_t>(parameters.bytes_per_line) +
                     static_cast<std::size_t>(x * bytes)];
    }
    int gray(int x, int y) const { return *at(x, y); }
    std::vector<int> color(int x, int y) const { return {at(x, y)[0], at(x, y)[1], at(x, y)[2]}; }
    bool black(int x, int y) const
    {
        const auto row = static_cast<std::size_t>(y) * static_cast<std::size_t>(parameters.bytes_per_line);
        return (data[row + static_cast<std::size_t>(x / 8)] & (0x80 >> (x % 8))) != 0;
    }
};

// A device, opened: the first one unless it is named.
class scanner {
public:
    explicit scanner(const char *name = "")
    {
        EXPECT_EQ(0, kx_scanner_open(&handle_, name, 0, nullptr, nullptr, nullptr, nullptr));
    }
    ~scanner() { kx_scanner_close(handle_, 1); }
    scanner(const scanner &) = delete;
    scanner &operator=(const scanner &) = delete;

    void *handle() const { return handle_; }

    long count() const
    {
        long length = 0;
        EXPECT_EQ(0, kx_scanner_get_parameter(handle_, nullptr, nullptr, &length, nullptr));
        return length;
    }

    // The option's text as the driver prints it, empty when there is none.
    std::string text(const void *option) const
    {
        std::string buffer(8192, '\xAA');
        long length = static_cast<long>(buffer.size());
        if (kx_scanner_get_parameter(handle_, option, buffer.data(), &length, nullptr) != 0)
            return {};
        return buffer.substr(0, static_cast<std::size_t>(length));
    }
    std::string text(const char *name) const { return text(static_cast<const void *>(name)); }

    json option(const std::string &name) const { return parse(text(name.c_str())).second; }

    // All options by number, from 1.
    std::vector<std::pair<std::string, json>> options() const
    {
        std::vector<std::pair<std::string, json>> all;
        for (int number = 1; number < count(); ++number)
            all.push_back(parse(text(key(number))));
        return all;
    }

    bool is_enabled(const char *name) const { return option(name).at("enable").get<bool>(); }

    int set(const char *name, bool value)
    {
        long length = 1;
        return kx_scanner_set_parameter(handle_, name, &value, &length);
    }
    int set(const char *name, int value)
    {
        long length = 4;
        return kx_scanner_set_parameter(handle_, name, &value, &length);
    }
    int set(const char *name, double value)
    {
        long length = 8;
        return kx_scanner_set_parameter(handle_, name, &value, &length);
    }
    int set(const char *name, const char *value)
    {
        std::string buffer(value);
        long length = static_cast<long>(buffer.size() + 1);
        const int answer = kx_scanner_set_parameter(handle_, name, buffer.data(), &length);
        EXPECT_EQ(value, buffer);
        return answer;
    }

    void set_area(double left, double top, double right, double bottom)
    {
        set("tl-x", left);
        set("tl-y", top);
        set("br-x", right);
        set("br-y", bottom);
    }

    int start() { return kx_scanner_start(handle_, nullptr, -1); }
    int stop() { return kx_scanner_stop(handle_); }

    SANE_Parameters parameters() const
    {
        SANE_Parameters parameters{};
        EXPECT_EQ(0, kx_scanner_get_img_info(handle_, &parameters, 24));
        return parameters;
    }

    // Reads the page that was started to its end.
    scanned_page read(long at_once = 65536)
    {
        scanned_page page;
        page.parameters = parameters();
        std::vector<unsigned char> buffer(static_cast<std::size_t>(at_once));
        int answer = 0;
        while (true) {
            long length = at_once;
            answer = kx_scanner_read_img_data(handle_, buffer.data(), &length);
            if (answer != 0) {
                EXPECT_EQ(0, length);
                break;
            }
            EXPECT_GT(length, 0);
            page.data.insert(page.data.end(), buffer.begin(), buffer.begin() + length);
        }
        EXPECT_EQ(266, answer);
        EXPECT_EQ(static_cast<std::size_t>(page.parameters.lines) *
                      static_cast<std::size_t>(page.parameters.bytes_per_line),
                  page.data.size());
        return page;
    }

    scanned_page scan()
    {
        EXPECT_EQ(0, start());
        return read();
    }

    // The pages until the feeder is empty.
    std::vector<scanned_page> scan_all()
    {
        std::vector<scanned_page> pages;
        int answer = start();
        for (; answer == 0 && pages.size() < 100; answer = start())
            pages.push_back(read());
        EXPECT_EQ(0xDE07, answer);
        return pages;
    }

private:
    static std::pair<std::string, json> parse(const std::string &text)
    {
        const json object = json::parse("{" + text + "}", nullptr, false);
        EXPECT_TRUE(object.is_object() && object.size() == 1) << text;
        if (!object.is_object() || object.size() != 1)
            return {};
        return {object.begin().key(), object.begin().value()};
    }

    void *handle_ = nullptr;
};

// The driver from initialisation to its end, in English.
class driver_running : public ::testing::Test {
protected:
    driver_running() { langkit_set_language("en"); }

    void SetUp() override { ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr)); }
    void TearDown() override
    {
        EXPECT_EQ(0, kx_scanner_uninitialize());
        langkit_set_language("en");
    }

    // Starts the driver again, so that it takes a changed environment over.
    static void restart()
    {
        EXPECT_EQ(0, kx_scanner_uninitialize());
        EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    }
};

// The driver's log of a test in a file.
class captured_log {
public:
    captured_log() : file_("PELLOG_FILE", folder_.file("log").c_str()), level_("PELLOG_LEVEL", "debug") {}

    std::string text() const { return content_of(folder_.file("log")); }

private:
    temporary_folder folder_;
    environment_variable file_;
    environment_variable level_;
};

} // namespace driver_test

#endif
