// SPDX-License-Identifier: MIT
// Information items of the virtual scanner: each within its length, read and written as it is meant to be.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "option_ids.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace driver_test {

class driver_information : public driver_running {
protected:
    static std::string read(const scanner &device, const void *item, std::size_t room = 2000)
    {
        std::string buffer(room, '\xAA');
        long length = static_cast<long>(room);
        EXPECT_EQ(0, kx_scanner_get_parameter(device.handle(), item, buffer.data(), &length, nullptr));
        return buffer.substr(0, static_cast<std::size_t>(length));
    }

    static int write(scanner &device, const char *item, std::string bytes)
    {
        long length = static_cast<long>(bytes.size());
        return kx_scanner_set_parameter(device.handle(), item, bytes.data(), &length);
    }
};

TEST_F(driver_information, is_there_for_every_item_within_its_length)
{
    scanner device;
    for (const information_item &item : information_items) {
        SCOPED_TRACE(item.name);
        const auto length = static_cast<std::size_t>(item.length);
        const std::string value = read(device, key(item.id), length);
        EXPECT_LE(value.size(), length);
        EXPECT_EQ(value, read(device, item.name, length));
        if (item.length == 255 || item.length == 80) {
            EXPECT_EQ(value.size() - 1, value.find('\0'));
        } else {
            EXPECT_EQ(length, value.size());
        }
    }
}

TEST_F(driver_information, tells_texts_with_their_terminator)
{
    scanner device;
    EXPECT_EQ(std::string("PV00000001\0", 11), read(device, "dev-sn"));
    EXPECT_EQ(std::string("1.0.0.0\0", 8), read(device, key(34890)));
}

TEST_F(driver_information, tells_numbers_of_their_length)
{
    scanner device;
    int roller_life = 0;
    std::memcpy(&roller_life, read(device, "roller-life").data(), 4);
    EXPECT_EQ(200000, roller_life);
    long long free_buffer = 0;
    std::memcpy(&free_buffer, read(device, "free-buf").data(), 8);
    EXPECT_EQ(67108864, free_buffer);
    EXPECT_EQ(std::string(1, '\0'), read(device, "original-image"));
}

TEST_F(driver_information, tells_the_length_that_a_buffer_needs)
{
    scanner device;
    char buffer[10];
    long length = 10;
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), "dev-sn", buffer, &length, nullptr));
    EXPECT_EQ(11, length);
    length = 0;
    EXPECT_EQ(258, kx_scanner_get_parameter(device.handle(), "custom-gamma", nullptr, &length, nullptr));
    EXPECT_EQ(1312, length);
}

TEST_F(driver_information, can_be_written_where_it_is_meant_to_be)
{
    scanner device;
    EXPECT_EQ(0, write(device, "login", "operator"));
    EXPECT_EQ(std::string("operator\0", 9), read(device, "login"));
    std::string gamma;
    for (int i = 0; i < 1312; ++i)
        gamma += static_cast<char>(i % 251);
    EXPECT_EQ(0, write(device, "custom-gamma", gamma));
    EXPECT_EQ(gamma, read(device, "custom-gamma"));
    EXPECT_EQ(0, write(device, "roll-cnt", std::string(4, '\0')));
    EXPECT_EQ(std::string(4, '\0'), read(device, "roll-cnt"));
}

TEST_F(driver_information, refuses_what_does_not_fit_or_is_only_read)
{
    scanner device;
    EXPECT_EQ(259, write(device, "dev-sn", "other"));
    EXPECT_EQ(256, write(device, "custom-gamma", std::string(1311, 'x')));
    EXPECT_EQ(256, write(device, "roller-life", std::string(8, 'x')));
    EXPECT_EQ(0, write(device, "login", std::string(254, 'x')));
    EXPECT_EQ(256, write(device, "login", std::string(255, 'x')));
    EXPECT_EQ(256, kx_scanner_set_parameter(device.handle(), "login", nullptr, nullptr));
}

TEST_F(driver_information, reads_a_text_up_to_its_terminator)
{
    scanner device;
    std::string buffer("name\0rubbish", 12);
    EXPECT_EQ(0, write(device, "logout", buffer));
    EXPECT_EQ(std::string("name\0", 5), read(device, "logout"));
}

TEST_F(driver_information, has_the_drivers_log_text_whatever_the_handle)
{
    void *foreign = reinterpret_cast<void *>(0x12345678);
    char text[255] = "note";
    long length = 255;
    EXPECT_EQ(0, kx_scanner_set_parameter(foreign, "drv-log", text, &length));
    std::memset(text, 0xAA, sizeof text);
    EXPECT_EQ(0, kx_scanner_get_parameter(foreign, key(39171), text, &length, nullptr));
    EXPECT_STREQ("note", text);
    EXPECT_EQ(5, length);
}

} // namespace driver_test
