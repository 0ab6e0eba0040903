// SPDX-License-Identifier: MIT
// The loader's path, by which SANE finds the backend and the backend its libraries, is given by whoever runs the tests.
#include "sane_client.h"

#include "guarded_memory.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

// Under the address sanitizer: its leak checker crashes over the thread-local data of libraries that are gone.
extern "C" __attribute__((visibility("default"))) const char *__asan_default_options();
const char *__asan_default_options()
{
    return "intercept_tls_get_addr=0";
}

namespace system_test {

namespace fs = std::filesystem;

namespace {

constexpr const char *device_name = "pelsane:virtual:duplex-feeder";
double to_number(const std::string &text)
{
    double number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc())
        throw std::invalid_argument(text);
    return number;
}

std::string to_text(double number)
{
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general, 6).ptr;
    return {text.data(), end};
}

SANE_Word to_word(SANE_Value_Type type, const std::string &text)
{
    if (type == SANE_TYPE_BOOL)
        return text == "true" ? SANE_TRUE : SANE_FALSE;
    return type == SANE_TYPE_FIXED ? SANE_FIX(to_number(text)) : static_cast<SANE_Word>(to_number(text));
}

// A value as an application's buffer holds it, with the room that the option tells.
guarded_memory to_value(const SANE_Option_Descriptor &option, const std::string &text)
{
    if (option.type == SANE_TYPE_STRING)
        return guarded_memory::of_text(text, option.size);
    return guarded_memory::of_word(to_word(option.type, text));
}

std::string value_text(SANE_Value_Type type, const guarded_memory &value)
{
    if (type == SANE_TYPE_STRING)
        return value.text();
    if (type == SANE_TYPE_BOOL)
        return value.word() == SANE_TRUE ? "true" : "false";
    return to_text(type == SANE_TYPE_FIXED ? SANE_UNFIX(value.word()) : value.word());
}

void write_file(const std::string &path, const std::string &text)
{
    std::ofstream file(path);
    file << text;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path);
}

class configuration_folder {
public:
    configuration_folder()
    {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        fs::create_directories(path_ + "/dll.d");
        write_file(path_ + "/dll.conf", "");
        write_file(path_ + "/dll.d/pelsane", "pelsane\n");
    }
    ~configuration_folder()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    configuration_folder(const configuration_folder &) = delete;
    configuration_folder &operator=(const configuration_folder &) = delete;
    [[nodiscard]] const std::string &path() const { return path_; }

private:
    std::string path_ = (fs::temp_directory_path() / "pelsane-client-XXXXXX").string();
};

// SANE's library asks for its folder once in a process.
const std::string &process_folder()
{
    static const configuration_folder folder;
    return folder.path();
}

} // namespace

std::ostream &operator<<(std::ostream &out, const answer &given)
{
    return out << sane_strstatus(given.status) << ", info " << given.info;
}

sane_client::sane_client()
{
    set_variable("SANE_CONFIG_DIR", process_folder());
    set_variable("PELLANG", "en");
    ::unsetenv("PELVIRTUAL_PROFILES");
}

sane_client::~sane_client()
{
    if (handle_ != nullptr)
        sane_close(handle_);
    sane_exit();
}

void sane_client::set_variable(const char *name, const std::string &value)
{
    ::setenv(name, value.c_str(), 1);
}

void sane_client::use_profile_with(const std::string &from, const std::string &to)
{
    std::ifstream file(PELSANE_PROFILE);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto at = text.find(from);
    if (at == std::string::npos)
        throw std::runtime_error("the profile has no " + from);
    const std::string path = process_folder() + "/profile.json";
    write_file(path, text.replace(at, from.size(), to));
    set_variable("PELVIRTUAL_PROFILES", path);
}

void sane_client::open()
{
    ASSERT_EQ(SANE_STATUS_GOOD, sane_init(nullptr, nullptr));
    const SANE_Device **list = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_get_devices(&list, SANE_FALSE));
    ASSERT_NE(nullptr, list[0]);
    ASSERT_STREQ(device_name, list[0]->name);
    ASSERT_EQ(nullptr, list[1]);
    ASSERT_EQ(SANE_STATUS_GOOD, sane_open(list[0]->name, &handle_));
}

void sane_client::reopen()
{
    sane_close(handle_);
    handle_ = nullptr;
    ASSERT_EQ(SANE_STATUS_GOOD, sane_open(device_name, &handle_));
}

std::vector<const SANE_Option_Descriptor *> sane_client::descriptors() const
{
    std::vector<const SANE_Option_Descriptor *> all;
    for (SANE_Int number = 1; const auto *found = sane_get_option_descriptor(handle_, number); ++number)
        all.push_back(found);
    return all;
}

std::vector<std::string> sane_client::walk() const
{
    std::vector<std::string> names;
    for (const auto *option : descriptors())
        names.emplace_back(option->type == SANE_TYPE_GROUP ? "" : option->name);
    return names;
}

SANE_Int sane_client::number_of(const std::string &name) const
{
    const auto names = walk();
    for (std::size_t i = 0; i < names.size(); ++i)
        if (names[i] == name)
            return static_cast<SANE_Int>(i) + 1;
    throw std::out_of_range("no option " + name);
}

const SANE_Option_Descriptor *sane_client::descriptor(const std::string &name) const
{
    return sane_get_option_descriptor(handle_, number_of(name));
}

bool sane_client::is_active(const std::string &name) const
{
    return SANE_OPTION_IS_ACTIVE(descriptor(name)->cap) != 0;
}

std::string sane_client::get(const std::string &name) const
{
    const SANE_Int number = number_of(name);
    const auto *const option = sane_get_option_descriptor(handle_, number);
    const guarded_memory value(option->size, 'u');
    if (sane_control_option(handle_, number, SANE_ACTION_GET_VALUE, value.data(), nullptr) != SANE_STATUS_GOOD)
        return "(unreadable)";
    return value_text(option->type, value);
}

answer sane_client::set(const std::string &name, const std::string &text) const
{
    const SANE_Int number = number_of(name);
    const guarded_memory value = to_value(*sane_get_option_descriptor(handle_, number), text);
    answer given{};
    given.status = sane_control_option(handle_, number, SANE_ACTION_SET_VALUE, value.data(), &given.info);
    return given;
}

answer sane_client::set_auto(const std::string &name) const
{
    answer given{};
    given.status = sane_control_option(handle_, number_of(name), SANE_ACTION_SET_AUTO, nullptr, &given.info);
    return given;
}

answer sane_client::press(const std::string &name) const
{
    answer given{};
    given.status = sane_control_option(handle_, number_of(name), SANE_ACTION_SET_VALUE, nullptr, &given.info);
    return given;
}

delivered_page sane_client::read_page() const
{
    delivered_page page{};
    sane_get_parameters(handle_, &page.parameters);
    std::array<SANE_Byte, 32768> buffer{};
    while (page.end == SANE_STATUS_GOOD) {
        page.end = sane_read(handle_, buffer.data(), static_cast<SANE_Int>(buffer.size()), &page.last_length);
        page.size += static_cast<std::size_t>(page.last_length);
    }
    return page;
}

delivered_page sane_client::scan_page() const
{
    delivered_page page{};
    page.end = sane_start(handle_);
    return page.end == SANE_STATUS_GOOD ? read_page() : page;
}

} // namespace system_test
