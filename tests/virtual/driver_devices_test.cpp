// SPDX-License-Identifier: MIT
// Several profiles at once: which devices they make, under which names, who may open them, and two of them scanning at
// the same time.
#include "driver_fixture.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace driver_test {

class driver_devices : public ::testing::Test {
protected:
    std::string write_profile(const std::string &file, const std::string &name, const std::string &further = "",
                              const std::string &information = "") const
    {
        return write_file(folder_.file(file),
                          R"({"device": {"name": ")" + name + R"(", "vendor": "V", "model": "M", "type": "t"}, )" +
                              further + R"("papers": {}, "information": {)" + information + R"(}, "options": []})");
    }

    void use(const std::string &places) { profiles_.emplace("PELVIRTUAL_PROFILES", places.c_str()); }

    void start(const std::string &places)
    {
        use(places);
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    }

    void TearDown() override { kx_scanner_uninitialize(); }

    static std::vector<std::string> listed()
    {
        int count = 0;
        kx_scanner_enum(nullptr, &count, 1);
        std::vector<_device> records(static_cast<std::size_t>(count));
        EXPECT_EQ(0, kx_scanner_enum(records.data(), &count, 1));
        std::vector<std::string> names;
        names.reserve(records.size());
        for (const _device &record : records)
            names.emplace_back(record.name);
        return names;
    }

    static int open(const char *name, void **handle, char *need_auth = nullptr)
    {
        return kx_scanner_open(handle, name, 0, nullptr, nullptr, nullptr, need_auth);
    }

    static std::string information(void *handle, const char *name)
    {
        std::string text(255, '\0');
        long length = 255;
        EXPECT_EQ(0, kx_scanner_get_parameter(handle, name, text.data(), &length, nullptr));
        text.resize(text.find('\0'));
        return text;
    }

    using names = std::vector<std::string>;

    temporary_folder folder_;
    std::optional<environment_variable> profiles_;
};

TEST_F(driver_devices, are_listed_in_the_order_of_the_variable)
{
    const std::string second = write_profile("2.json", "second");
    const std::string first = write_profile("1.json", "first");
    start(second + ":" + first);
    EXPECT_EQ((names{"second", "first"}), listed());
}

TEST_F(driver_devices, of_a_folder_are_listed_in_the_order_of_its_names)
{
    write_profile("b.json", "later");
    write_profile("a.json", "earlier");
    write_profile(".hidden.json", "hidden");
    write_profile("notes.txt", "notes");
    write_file(folder_.file("any.schema.json"), "{}");
    start("::" + folder_.file("") + ":");
    EXPECT_EQ((names{"earlier", "later"}), listed());
}

TEST_F(driver_devices, of_one_name_are_numbered_the_same_way_each_time)
{
    const std::string one = write_profile("one.json", "scanner");
    const std::string two = write_profile("two.json", "scanner");
    const std::string numbered = write_profile("numbered.json", "scanner-2");
    use(one + ":" + one + ":" + two + ":" + numbered);
    for (int run = 0; run < 2; ++run) {
        ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        EXPECT_EQ((names{"scanner", "scanner-3", "scanner-4", "scanner-2"}), listed());
        ASSERT_EQ(0, kx_scanner_uninitialize());
    }
}

TEST_F(driver_devices, of_one_name_that_fills_its_field_are_told_apart)
{
    const std::string name(255, 'n');
    const std::string path = write_profile("long.json", name);
    start(path + ":" + path);
    EXPECT_EQ((names{name, std::string(253, 'n') + "-2"}), listed());
}

TEST_F(driver_devices, know_the_names_that_they_were_given)
{
    const std::string path = write_profile("one.json", "scanner", "", R"("dev-name": {"value": "scanner"})");
    start(path + ":" + path);
    void *handle = nullptr;
    ASSERT_EQ(0, open("scanner-2", &handle));
    EXPECT_EQ("scanner-2", information(handle, "dev-name"));
    ASSERT_EQ(0, open("scanner", &handle));
    EXPECT_EQ("scanner", information(handle, "dev-name"));
    EXPECT_EQ(256, open("scanner-3", &handle));
}

TEST_F(driver_devices, without_a_name_means_the_first)
{
    const std::string first = write_profile("1.json", "first", "", R"("dev-name": {"value": "first"})");
    start(first + ":" + write_profile("2.json", "second"));
    void *handle = nullptr;
    ASSERT_EQ(0, open("", &handle));
    EXPECT_EQ("first", information(handle, "dev-name"));
}

TEST_F(driver_devices, with_an_unusable_profile_are_left_out)
{
    const captured_log log;
    const std::string sound = write_profile("a.json", "sound");
    const std::string broken = write_profile("b.json", "broken", R"("feeder": {"sheets": -1}, )");
    const std::string missing = folder_.file("c.json");
    start(broken + ":" + missing + ":" + sound);
    EXPECT_EQ((names{"sound"}), listed());
    const std::string text = log.text();
    EXPECT_NE(std::string::npos, text.find("The scanner's profile cannot be used: " + broken +
                                           ": /feeder/sheets: the number is out of bounds"))
        << text;
    EXPECT_NE(std::string::npos, text.find("The scanner's profile cannot be used: " + missing +
                                           ": cannot be read: No such file or directory"))
        << text;
}

TEST_F(driver_devices, are_none_in_a_folder_without_profiles)
{
    start(folder_.file(""));
    int count = 5;
    EXPECT_EQ(0, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_EQ(0, count);
    void *handle = nullptr;
    EXPECT_EQ(256, open("", &handle));
}

TEST_F(driver_devices, are_listed_from_a_folder_that_has_gone)
{
    const std::string sound = write_profile("a.json", "sound");
    const std::filesystem::path before = std::filesystem::current_path();
    const std::string gone = folder_.file("gone");
    std::filesystem::create_directory(gone);
    std::filesystem::current_path(gone);
    std::filesystem::remove(gone);
    start("relative.json:" + sound);
    EXPECT_EQ((names{"sound"}), listed());
    std::filesystem::current_path(before);
}

TEST_F(driver_devices, need_not_be_there_for_the_drivers_log_text)
{
    start(folder_.file(""));
    char text[255] = "";
    long length = 255;
    EXPECT_EQ(0, kx_scanner_get_parameter(nullptr, "drv-log", text, &length, nullptr));
    char note[255] = "note";
    length = 255;
    EXPECT_EQ(0, kx_scanner_set_parameter(nullptr, "drv-log", note, &length));
    EXPECT_EQ(0, kx_scanner_get_parameter(nullptr, "drv-log", text, &length, nullptr));
    EXPECT_STREQ("note", text);
}

TEST_F(driver_devices, are_listed_where_there_is_room_for_all_of_them)
{
    start(write_profile("1.json", "one") + ":" + write_profile("2.json", "two"));
    _device records[3] = {};
    int count = 1;
    EXPECT_EQ(258, kx_scanner_enum(records, &count, 1));
    EXPECT_EQ(2, count);
    EXPECT_STREQ("", records[0].name);
    count = 3;
    EXPECT_EQ(0, kx_scanner_enum(records, &count, 1));
    EXPECT_EQ(2, count);
    EXPECT_STREQ("two", records[1].name);
}

TEST_F(driver_devices, that_deny_access_open_for_nobody)
{
    start(write_profile("1.json", "locked", R"("access": "denied", )"));
    void *handle = nullptr;
    for (int attempt = 0; attempt < 2; ++attempt) {
        char need_auth = 1;
        EXPECT_EQ(259, open("locked", &handle, &need_auth));
        EXPECT_EQ(0, need_auth);
    }
    EXPECT_EQ((names{"locked"}), listed());
}

TEST_F(driver_devices, that_ask_once_open_after_the_question)
{
    const std::string path = write_profile("1.json", "asking", R"("access": "asks-once", )");
    start(path + ":" + path);
    for (const char *name : {"asking", "asking-2"}) {
        void *handle = nullptr;
        char need_auth = 0;
        EXPECT_EQ(259, open(name, &handle, &need_auth));
        EXPECT_NE(0, need_auth);
        EXPECT_EQ(0, open(name, &handle, &need_auth));
        EXPECT_EQ(0, need_auth);
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    void *handle = nullptr;
    EXPECT_EQ(0, open("asking", &handle)); // the process was asked before
}

TEST_F(driver_devices, scan_on_two_threads_each_its_own_pages)
{
    start(write_profile("1.json", "red", R"("feeder": {"source": {"color": "#ff0000"}, "sheets": 4}, )") + ":" +
          write_profile("2.json", "blue", R"("feeder": {"source": {"color": "#0000ff"}, "sheets": 4}, )"));
    const auto scan = [](const char *name, const std::vector<int> &expected) {
        scanner device(name);
        for (int page = 0; page < 4; ++page) {
            ASSERT_EQ(0, kx_scanner_start(device.handle(), nullptr, -1));
            const scanned_page found = device.read();
            EXPECT_EQ(expected, found.color(0, 0));
            EXPECT_EQ(expected, found.color(1653, 2338));
        }
        EXPECT_EQ(0xDE07, kx_scanner_start(device.handle(), nullptr, -1));
    };
    std::thread other(scan, "red", std::vector<int>{255, 0, 0});
    scan("blue", {0, 0, 255});
    other.join();
}

} // namespace driver_test
