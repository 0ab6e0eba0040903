// SPDX-License-Identifier: MIT
// The control socket: where it is, for whom, what it answers, and that nothing sent to it does harm.
#include "driver_fixture.h"
#include "frontend.h"
#include "kx_scanner.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <grp.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace driver_test {

namespace {

bool exists(const std::string &path)
{
    return std::filesystem::exists(std::filesystem::symlink_status(path));
}

mode_t mode_of(const std::string &path)
{
    struct stat status{};
    EXPECT_EQ(0, lstat(path.c_str(), &status)) << path;
    return status.st_mode;
}

// A socket file as a process leaves it that was killed.
void leave_socket(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket_of_dead = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, bind(socket_of_dead, reinterpret_cast<const sockaddr *>(&address), sizeof address));
    EXPECT_EQ(0, listen(socket_of_dead, 1));
    close(socket_of_dead);
}

} // namespace

class control_socket : public ::testing::Test {
protected:
    control_socket() : variable_("PELVIRTUAL_CONTROL", path_.c_str()) { langkit_set_language("en"); }
    ~control_socket() override { EXPECT_EQ(0, kx_scanner_uninitialize()); }

    static void start() { ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr)); }
    // That nothing was harmed.
    void expect_answers() const { EXPECT_EQ("ok: virtual:duplex-feeder", commander(path_).command("devices")); }

    temporary_folder folder_;
    std::string path_ = folder_.file("control");
    environment_variable variable_;
};

TEST_F(control_socket, lists_devices_and_helps)
{
    start();
    commander control(path_);
    EXPECT_EQ("ok: virtual:duplex-feeder", control.command("devices"));
    EXPECT_EQ("ok: virtual:duplex-feeder", control.command("  devices\t\r"));
    EXPECT_EQ(0U, control.command("help").find("ok: devices; help; jam, "));
}

TEST_F(control_socket, takes_comments_and_empty_lines)
{
    start();
    commander control(path_);
    EXPECT_EQ("ok", control.command(""));
    EXPECT_EQ("ok", control.command("# nothing"));
    EXPECT_EQ("ok", control.command("clear # everything"));
}

TEST_F(control_socket, refuses_a_line_with_a_mistake_as_a_whole)
{
    start();
    scanner device;
    device.set("resolution", 75);
    commander control(path_);
    EXPECT_EQ(0U, control.command("cover open; no such words").find("error: line 1, column 13: "));
    EXPECT_EQ("error: there is no device virtual:other", control.command("jam; on virtual:other cover open"));
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(control_socket, sets_faults_while_a_page_is_read)
{
    start();
    scanner device;
    device.set("resolution", 75);
    ASSERT_EQ(0, device.start());
    std::vector<char> buffer(1000);
    long count = 1000;
    ASSERT_EQ(0, kx_scanner_read_img_data(device.handle(), buffer.data(), &count));
    EXPECT_EQ("ok", commander(path_).command("jam"));
    count = 1000;
    EXPECT_EQ(0xDE0A, kx_scanner_read_img_data(device.handle(), buffer.data(), &count));
    EXPECT_EQ(6U, device.scan_all().size());
}

TEST_F(control_socket, ends_what_takes_its_time)
{
    start();
    commander control(path_);
    const struct {
        const char *command;
        int answer; // of the call that waits
    } cases[] = {{"clear", 0}, {"return", 0}, {"vanish", 269}};
    for (const auto &expected : cases) {
        SCOPED_TRACE(expected.command);
        scanner device;
        ASSERT_EQ(0, device.start());
        ASSERT_EQ("ok", control.command("stall 3600 s"));
        auto answer = std::async(std::launch::async, [&] {
            char byte = 0;
            long count = 1;
            return kx_scanner_read_img_data(device.handle(), &byte, &count);
        });
        EXPECT_EQ(std::future_status::timeout, answer.wait_for(std::chrono::milliseconds(100)));
        EXPECT_EQ("ok", control.command(expected.command));
        EXPECT_EQ(expected.answer, answer.get());
    }
    EXPECT_EQ("ok", control.command("return"));
    for (const auto &expected : cases) {
        SCOPED_TRACE(expected.command);
        scanner device;
        ASSERT_EQ("ok", control.command("clear; slow start 3600 s"));
        auto answer = std::async(std::launch::async, [&] { return device.start(); });
        EXPECT_EQ(std::future_status::timeout, answer.wait_for(std::chrono::milliseconds(100)));
        EXPECT_EQ("ok", control.command(expected.command));
        EXPECT_EQ(expected.answer, answer.get());
    }
}

TEST_F(control_socket, keeps_a_thousand_faults)
{
    start();
    scanner device;
    commander control(path_);
    std::string line = "start answers 1000";
    for (int i = 1; i < 110; ++i)
        line += "; start answers " + std::to_string(1000 + i);
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ("ok", control.command(line));
    EXPECT_EQ(1100, device.start()); // the first hundred have gone
    for (int i = 1; i < 1000; ++i)
        ASSERT_NE(0, device.start());
    EXPECT_EQ(0, device.start());
}

TEST_F(control_socket, takes_several_lines_at_once_and_a_last_one_without_its_end)
{
    start();
    commander control(path_);
    ASSERT_TRUE(control.send_bytes("clear\ndevices\n\nnonsense\ndevices"));
    control.end();
    EXPECT_EQ("ok", control.receive_line());
    EXPECT_EQ("ok: virtual:duplex-feeder", control.receive_line());
    EXPECT_EQ("ok", control.receive_line());
    EXPECT_EQ(0U, control.receive_line().find("error: line 1, column 1: "));
    EXPECT_EQ("ok: virtual:duplex-feeder", control.receive_line());
    EXPECT_EQ("", control.receive_line());
}

TEST_F(control_socket, is_for_its_user_alone_and_goes_with_the_driver)
{
    start();
    EXPECT_EQ(mode_t{S_IFSOCK | 0600}, mode_of(path_));
    ASSERT_EQ(0, kx_scanner_uninitialize());
    EXPECT_FALSE(exists(path_));
}

TEST_F(control_socket, is_not_there_unless_asked_for)
{
    for (const char *value : {static_cast<const char *>(nullptr), "", "off"}) {
        const environment_variable variable("PELVIRTUAL_CONTROL", value);
        const auto descriptors = entries_of("/proc/self/fd");
        const auto threads = entries_of("/proc/self/task");
        start();
        EXPECT_EQ(descriptors, entries_of("/proc/self/fd"));
        EXPECT_EQ(threads, entries_of("/proc/self/task"));
        ASSERT_EQ(0, kx_scanner_uninitialize());
    }
}

TEST_F(control_socket, is_found_in_the_runtime_folder)
{
    const environment_variable variable("PELVIRTUAL_CONTROL", "runtime");
    const environment_variable runtime("XDG_RUNTIME_DIR", folder_.file("run").c_str());
    std::filesystem::create_directory(folder_.file("run"));
    start();
    const std::string path = folder_.file("run/pelvirtual/" + std::to_string(getpid()) + ".sock");
    EXPECT_EQ(mode_t{S_IFDIR | 0700}, mode_of(folder_.file("run/pelvirtual")));
    EXPECT_EQ("ok: virtual:duplex-feeder", commander(path).command("devices"));
    ASSERT_EQ(0, kx_scanner_uninitialize());
    EXPECT_FALSE(exists(path));
}

TEST_F(control_socket, is_left_out_where_it_cannot_be)
{
    const captured_log log;
    const std::string long_path = folder_.file(std::string(120, 'x'));
    const environment_variable runtime("XDG_RUNTIME_DIR", nullptr);
    const std::pair<std::string, std::string> mistakes[] = {
        {"control", "control: a path from the root is expected"},
        {"runtime", "XDG_RUNTIME_DIR: no folder is given"},
        {long_path, long_path + ": the path of a socket has at most 107 bytes"},
        {folder_.file("none/control"), folder_.file("none/control") + ": No such file or directory"},
    };
    for (const auto &[value, message] : mistakes) {
        const environment_variable variable("PELVIRTUAL_CONTROL", value.c_str());
        start();
        EXPECT_EQ(std::vector<std::string>{"virtual:duplex-feeder"}, device_names());
        ASSERT_EQ(0, kx_scanner_uninitialize());
        EXPECT_NE(std::string::npos, log.text().find("No commands are taken: " + message)) << log.text();
    }
}

TEST_F(control_socket, replaces_that_of_a_dead_process)
{
    leave_socket(path_);
    start();
    expect_answers();
}

TEST_F(control_socket, leaves_a_file_alone)
{
    write_file(path_, "precious");
    start();
    ASSERT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ("precious", content_of(path_));
}

TEST_F(control_socket, leaves_that_of_a_living_process_alone)
{
    start();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(60);
        const bool is_ended = kx_scanner_uninitialize() == 0;
        const bool is_started = kx_scanner_initialize(nullptr, nullptr) == 0 && kx_scanner_uninitialize() == 0;
        _exit(is_ended && is_started ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    expect_answers();
}

TEST_F(control_socket, leaves_a_file_alone_that_took_its_place)
{
    start();
    std::filesystem::remove(path_);
    write_file(path_, "another");
    ASSERT_EQ(0, kx_scanner_uninitialize());
    EXPECT_EQ("another", content_of(path_));
}

TEST_F(control_socket, bears_a_line_without_end)
{
    start();
    commander control(path_);
    EXPECT_TRUE(control.send_bytes(std::string(1000000, 'x')));
    EXPECT_EQ("error: a line has at most 4096 bytes", control.receive_line());
    EXPECT_EQ("ok: virtual:duplex-feeder", control.command("\ndevices"));
}

TEST_F(control_socket, takes_the_longest_line)
{
    start();
    commander control(path_);
    EXPECT_EQ("ok", control.command("#" + std::string(4095, ' ')));
    EXPECT_EQ("error: a line has at most 4096 bytes", control.command("#" + std::string(4096, ' ')));
    EXPECT_EQ("ok", control.command("#"));
}

TEST_F(control_socket, bears_bytes_that_are_no_text)
{
    start();
    commander control(path_);
    control.send_bytes({"clear\0\n", 7});
    EXPECT_EQ("error: a line is text, without zero bytes", control.receive_line());
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        if (byte != '\n')
            all += static_cast<char>(byte);
    const std::string answer = control.command(all);
    EXPECT_EQ(0U, answer.find("error: "));
    for (const char each : answer)
        EXPECT_TRUE(static_cast<unsigned char>(each) >= ' ' && each != '\x7F') << answer;
    expect_answers();
}

TEST_F(control_socket, bears_clients_that_take_no_answers)
{
    start();
    const commander deaf(path_);
    const timeval soon{0, 200000};
    setsockopt(deaf.connection(), SOL_SOCKET, SO_SNDTIMEO, &soon, sizeof soon);
    const std::string lines(100000, '\n');
    while (deaf.send_bytes(lines))
        ;
    expect_answers();
}

TEST_F(control_socket, bears_many_connections_and_keeps_those_in_use)
{
    start();
    commander in_use(path_);
    const auto descriptors = entries_of("/proc/self/fd");
    std::vector<std::unique_ptr<commander>> idle;
    for (int i = 0; i < 200; ++i) {
        idle.push_back(std::make_unique<commander>(path_));
        ASSERT_TRUE(idle.back()->is_connected());
        ASSERT_EQ("ok", in_use.command("#"));
    }
    EXPECT_LE(entries_of("/proc/self/fd"), descriptors + 200 + 16);
    idle.clear();
    expect_answers();
}

TEST_F(control_socket, refuses_more_events_than_thousands)
{
    start();
    commander control(path_);
    std::string line = "event wake after 1 s";
    while (line.size() < 4000)
        line += "; event wake after 3600 s";
    std::string answer = "ok";
    for (int i = 0; i < 1000 && answer == "ok"; ++i)
        answer = control.command(line);
    EXPECT_EQ("error: too many events are to come", answer);
    expect_answers();
}

TEST_F(control_socket, answers_while_events_come_thick_and_fast)
{
    start();
    commander control(path_);
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ("ok", control.command("event button every 1 ms; event paper-in every 1 ms"));
    expect_answers();
    EXPECT_EQ("ok", control.command("clear"));
}

TEST_F(control_socket, bears_clients_that_go_at_once)
{
    start();
    for (int i = 0; i < 200; ++i)
        commander(path_).send_bytes("devices\ndevices\n");
    expect_answers();
}

// A socket that somebody opened to all is for its user all the same. Only root can be another user.
TEST_F(control_socket, answers_no_other_user)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    start();
    ASSERT_EQ(0, chmod(path_.c_str(), 0666));
    ASSERT_EQ(0, chmod(folder_.file("").c_str(), 0755));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(60);
        const bool is_other = setgroups(0, nullptr) == 0 && setgid(65534) == 0 && setuid(65534) == 0;
        commander control(path_);
        _exit(is_other && control.is_connected() && control.command("devices").empty() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
    expect_answers();
}

} // namespace driver_test
