// SPDX-License-Identifier: MIT
// Driver calls that answer what they are told to, option texts that are spoilt, and faults that are written down wrong.
#include "driver_fixture.h"
#include "faulty_driver.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace driver_test {
namespace {

struct option_answer {
    int code;
    long length;
    std::string buffer; // all of it
};

option_answer get(const scanner &device, const char *name, std::size_t room = 8192)
{
    option_answer answer{0, static_cast<long>(room), std::string(room, '\xAA')};
    answer.code = kx_scanner_get_parameter(device.handle(), name, answer.buffer.data(), &answer.length, nullptr);
    return answer;
}

int status_of(const scanner &device)
{
    return kx_scanner_get_status(device.handle(), 0);
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

// The built-in profile with "faults".
std::string profile_with_faults(const std::string &faults)
{
    auto profile = nlohmann::ordered_json::parse(content_of(PELSANE_PROFILE));
    profile["faults"] = nlohmann::ordered_json::parse(faults);
    return profile.dump();
}

} // namespace

TEST(call_faults, answer_from_the_call_on_that_they_name)
{
    const faulty_driver driver("start from 3 answers 0xDE0A once");
    small_scanner device;
    EXPECT_EQ(0, device.start());
    EXPECT_EQ(0, device.start());
    EXPECT_EQ(0xDE0A, device.start());
    EXPECT_EQ(4U, device.scan_all().size());
}

TEST(call_faults, answer_at_the_page_that_they_name)
{
    const faulty_driver driver("start at page 2 answers busy 2 times; read_img_data at page 3 answers io");
    small_scanner device;
    device.scan();
    EXPECT_EQ(0xDE02, device.start());
    EXPECT_EQ(0xDE02, device.start());
    device.scan();
    ASSERT_EQ(0, device.start());
    unsigned char byte = 0;
    long length = 1;
    EXPECT_EQ(269, kx_scanner_read_img_data(device.handle(), &byte, &length));
    EXPECT_EQ(0, length);
    device.read();
    EXPECT_EQ(3U, device.scan_all().size());
}

TEST(call_faults, leave_calls_without_a_page_alone_that_name_one)
{
    const faulty_driver driver("get_img_info at page 1 answers busy; read_img_data at page 1 answers io");
    small_scanner device;
    EXPECT_EQ(620, device.parameters().pixels_per_line);
    unsigned char byte = 0;
    long length = 1;
    EXPECT_EQ(268, kx_scanner_read_img_data(device.handle(), &byte, &length));
    ASSERT_EQ(0, device.start());
    SANE_Parameters parameters{};
    EXPECT_EQ(0xDE02, kx_scanner_get_img_info(device.handle(), &parameters, 24));
    length = 1;
    EXPECT_EQ(269, kx_scanner_read_img_data(device.handle(), &byte, &length));
}

TEST(call_faults, answer_for_the_option_that_they_name)
{
    const faulty_driver driver("set_parameter(resolution) answers denied always; get_parameter(mode) answers invalid;"
                               "set_parameter(11) answers io");
    scanner device;
    EXPECT_EQ(259, device.set("resolution", 75));
    EXPECT_EQ(259, device.set("resolution", 300));
    EXPECT_EQ(200, device.option("resolution").at("cur"));
    EXPECT_EQ(256, get(device, "mode").code);
    EXPECT_EQ(0, get(device, "mode").code);
    long length = 4;
    int value = 0;
    EXPECT_EQ(269, kx_scanner_set_parameter(device.handle(), key(11), &value, &length));
}

TEST(call_faults, find_an_option_by_any_of_its_keys)
{
    const faulty_driver driver("get_parameter(resolution) answers 270 2 times; get_parameter(dev-sn) answers 269");
    scanner device;
    long length = 0;
    EXPECT_EQ(270, kx_scanner_get_parameter(device.handle(), key(34840), nullptr, &length, nullptr));
    EXPECT_EQ(270, get(device, "resolution").code);
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), key(34840), nullptr, &length, nullptr));
    EXPECT_EQ(269, kx_scanner_get_parameter(device.handle(), key(34902), nullptr, &length, nullptr));
}

TEST(call_faults, give_a_success_another_code)
{
    const faulty_driver driver("set_parameter(brightness) answers both-changed; set_parameter(mode) answers adjusted");
    scanner device;
    EXPECT_EQ(278, device.set("brightness", 10));
    EXPECT_EQ(10, device.option("brightness").at("cur"));
    EXPECT_EQ(0, device.set("brightness", 20));
    EXPECT_EQ(256, device.set("mode", "Sepia"));
}

TEST(call_faults, give_a_success_of_the_driver_another_code)
{
    const environment_variable faults("PELVIRTUAL_FAULTS",
                                      "initialize answers adjusted; enum answers 260; open answers options-changed");
    EXPECT_EQ(261, kx_scanner_initialize(nullptr, nullptr));
    _device record{};
    int count = 1;
    EXPECT_EQ(260, kx_scanner_enum(&record, &count, 1));
    EXPECT_EQ(1, count);
    EXPECT_STREQ("virtual:duplex-feeder", record.name);
    void *handle = nullptr;
    EXPECT_EQ(262, kx_scanner_open(&handle, record.name, 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_close(handle, 1));
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(call_faults, reach_every_call)
{
    const faulty_driver driver("open answers busy; enum answers not-ready; control answers unsupported;"
                               "get_img_info answers invalid-state; get_status answers 1000; close answers io-write;"
                               "start answers cover-open; read_img_data answers no-data");
    int count = 0;
    void *handle = nullptr;
    SANE_Parameters parameters{};
    unsigned char byte = 0;
    long length = 1;
    EXPECT_EQ(276, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_EQ(258, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_EQ(0xDE02, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    ASSERT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(0xDE01, kx_scanner_control(handle, 0x20000001, nullptr, nullptr));
    EXPECT_EQ(262, kx_scanner_control(handle, 0x20000001, nullptr, nullptr));
    EXPECT_EQ(268, kx_scanner_get_img_info(handle, &parameters, 24));
    EXPECT_EQ(0, kx_scanner_get_img_info(handle, &parameters, 24));
    EXPECT_EQ(1000, kx_scanner_get_status(handle, 0));
    EXPECT_EQ(0, kx_scanner_get_status(handle, 0));
    EXPECT_EQ(0xDE06, kx_scanner_start(handle, nullptr, -1));
    EXPECT_EQ(0, kx_scanner_start(handle, nullptr, -1));
    EXPECT_EQ(266, kx_scanner_read_img_data(handle, &byte, &length));
    length = 1;
    EXPECT_EQ(0, kx_scanner_read_img_data(handle, &byte, &length));
    EXPECT_EQ(270, kx_scanner_close(handle, 1));
    EXPECT_EQ(256, kx_scanner_close(handle, 1));
}

TEST(call_faults, of_initialize_hold_across_the_attempts)
{
    const environment_variable faults("PELVIRTUAL_FAULTS", "initialize answers io 2 times");
    int count = 0;
    EXPECT_EQ(269, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(276, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_EQ(269, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(call_faults, status_stays_as_it_is_set)
{
    const faulty_driver driver("status 0xDE00");
    small_scanner device;
    EXPECT_EQ(0xDE00, status_of(device));
    EXPECT_EQ(0xDE00, status_of(device));
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST(call_faults, spoil_the_text_of_an_option)
{
    const faulty_driver driver("garbage(mode); garbage(resolution) as misnamed; garbage(paper) as empty once");
    scanner device;
    const option_answer broken = get(device, "mode");
    EXPECT_EQ(0, broken.code);
    const std::string text = broken.buffer.substr(0, static_cast<std::size_t>(broken.length));
    EXPECT_EQ("\"mode\" : {\"type\":\"string\"", text.substr(0, 25));
    EXPECT_TRUE(json::parse("{" + text + "}", nullptr, false).is_discarded());
    EXPECT_EQ('\0', broken.buffer[static_cast<std::size_t>(broken.length)]);

    const option_answer misnamed = get(device, "resolution");
    EXPECT_EQ(0, misnamed.code);
    EXPECT_EQ("\"not-resolution\" : {", misnamed.buffer.substr(0, 20));

    const option_answer empty = get(device, "paper");
    EXPECT_EQ(0, empty.code);
    EXPECT_EQ(0, empty.length);
    EXPECT_EQ("A4", device.option("paper").at("cur"));
}

TEST(call_faults, tell_wrong_lengths_but_stay_in_the_buffer)
{
    const faulty_driver driver("garbage(mode) as unterminated; garbage(resolution) as overlong");
    scanner device;
    const option_answer unterminated = get(device, "mode", 2000);
    EXPECT_EQ(0, unterminated.code);
    EXPECT_EQ(2000, unterminated.length);
    EXPECT_EQ(' ', unterminated.buffer.back());
    EXPECT_EQ("Color", json::parse("{" + unterminated.buffer + "}").at("mode").at("cur"));
    EXPECT_EQ(258, get(device, "mode", 20).code);

    const option_answer overlong = get(device, "resolution", 2000);
    EXPECT_EQ(0, overlong.code);
    EXPECT_EQ(3000, overlong.length);
    EXPECT_EQ('\xAA', overlong.buffer.back());
}

TEST(call_faults, find_a_buffer_too_small_that_is_not)
{
    const faulty_driver driver("too small(paper) 2 times");
    scanner device;
    const option_answer small = get(device, "paper", 8192);
    EXPECT_EQ(258, small.code);
    EXPECT_EQ(9192, small.length);
    EXPECT_EQ('\xAA', small.buffer.front());
    EXPECT_EQ(258, get(device, "paper", 9192).code);
    EXPECT_EQ(0, get(device, "paper", 9192).code);
    EXPECT_EQ("Color", device.option("mode").at("cur"));
}

TEST(call_faults, may_hold_for_every_option)
{
    const faulty_driver driver("garbage as empty 3 times");
    const scanner device;
    EXPECT_EQ("", device.text(key(1)));
    EXPECT_EQ("", device.text("mode"));
    EXPECT_EQ("", device.text(key(34840)));
    EXPECT_TRUE(contains(device.text("mode"), "\"mode\" : {"));
}

TEST(call_faults, that_cannot_be_understood_are_logged_and_none_is_used)
{
    const captured_log log;
    const faulty_driver driver("deny; jam after some lines");
    const scanner device; // which is not denied
    EXPECT_TRUE(contains(log.text(), "PELVIRTUAL_FAULTS cannot be used: line 1, column 17: a number of lines, pages or "
                                     "sheets is expected and not \"some\""))
        << log.text();
}

TEST(call_faults, stand_in_a_profile_for_its_device)
{
    const temporary_folder folder;
    const std::string file = write_file(
        folder.file("faulty.json"), profile_with_faults(R"(["start answers busy; jam after 3 lines", "status 7"])"));
    const environment_variable profiles("PELVIRTUAL_PROFILES", file.c_str());
    const faulty_driver driver("start answers cover-open");
    small_scanner device;
    EXPECT_EQ(0xDE02, device.start());
    EXPECT_EQ(0xDE06, device.start());
    EXPECT_EQ(7, status_of(device));
    ASSERT_EQ(0, device.start());
    unsigned char bytes[4 * 620 * 3];
    long length = sizeof bytes;
    EXPECT_EQ(0, kx_scanner_read_img_data(device.handle(), bytes, &length));
    EXPECT_EQ(3 * 620 * 3, length);
    length = 1;
    EXPECT_EQ(0xDE0A, kx_scanner_read_img_data(device.handle(), bytes, &length));
}

TEST(call_faults, that_are_wrong_in_a_profile_are_told_with_their_place)
{
    const struct {
        const char *faults;
        const char *complaint;
    } mistakes[] = {
        {R"("jam")", ": /faults: a list is expected"},
        {R"([7])", ": /faults/0: a text is expected"},
        {R"(["jam", "clear; jam later"])",
         ": /faults/1: line 1, column 12: the command's end is expected and not \"later\""},
        {R"(["on virtual:a jam"])", ": /faults/0: a profile's faults are its own device's: \"on\" is not for here"},
        {R"(["enum answers io"])", ": /faults/0: initialize and enum are not calls of a device"},
    };
    for (const auto &each : mistakes) {
        const temporary_folder folder;
        const std::string file = write_file(folder.file("faulty.json"), profile_with_faults(each.faults));
        const environment_variable profiles("PELVIRTUAL_PROFILES", file.c_str());
        const captured_log log;
        const faulty_driver driver("");
        EXPECT_TRUE(contains(log.text(), file + each.complaint)) << log.text();
    }
}

} // namespace driver_test
