// SPDX-License-Identifier: MIT
// What the logging library's stand-in owes to those who call it: from threads and signal handlers, in any locale.
#include "commonlog_fixture.h"
#include "foreign_locale.h"
#include "surroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <pthread.h>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace commonlog_fixture;

std::size_t open_descriptors()
{
    const fs::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

} // namespace

TEST(commonlog, keeps_errno)
{
    messages_of("debug", [](const backend_log &log) {
        errno = ERANGE;
        log.library.debug(log.handle, "%s", "written");
        EXPECT_EQ(errno, ERANGE);
    });

    const log_environment full("debug", "/dev/full");
    const backend_log log;
    errno = ERANGE;
    log.library.debug(log.handle, "%s", "not written");
    EXPECT_EQ(errno, ERANGE);
}

TEST(commonlog, lets_the_application_live_when_nobody_reads_any_more)
{
    int ends[2] = {};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    const log_environment environment("debug");
    const backend_log log;
    int after = 0;
    sigset_t pending;
    {
        const redirected_descriptor redirected(STDERR_FILENO, ends[1]);
        errno = ERANGE;
        log.library.debug(log.handle, "not read"); // SIGPIPE would end the test here
        after = errno;
        sigpending(&pending);
    }
    close(ends[1]);
    EXPECT_EQ(after, ERANGE);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST(commonlog, leaves_a_pending_sigpipe_of_the_application_pending)
{
    int ends[2] = {};
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    sigset_t pipe_signal;
    sigset_t before;
    sigset_t pending;
    sigemptyset(&pipe_signal);
    sigaddset(&pipe_signal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_signal, &before);
    raise(SIGPIPE);
    const log_environment environment("debug");
    const backend_log log;
    {
        const redirected_descriptor redirected(STDERR_FILENO, ends[1]);
        log.library.debug(log.handle, "not read");
    }
    close(ends[1]);
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 1);
    int taken = 0;
    EXPECT_EQ(sigwait(&pipe_signal, &taken), 0);
    EXPECT_EQ(taken, SIGPIPE);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TEST(commonlog, does_not_wait_for_the_reader_of_a_pipe)
{
    const temporary_folder folder;
    const std::string path = folder.file("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const log_environment environment("warn", path);
    const auto log_once = [] {
        const backend_log log;
        log.library.warn(log.handle, "seen");
    };
    EXPECT_NE(standard_error_of(log_once).find("cannot open log file " + path + ": No such device or address; "),
              std::string::npos);
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const std::string with_reader = standard_error_of(log_once);
    close(reader);
    EXPECT_NE(with_reader.find(path + ": it is neither a file nor a device for characters; "), std::string::npos);
    EXPECT_NE(with_reader.find(" warn Vantoscan/driver: seen"), std::string::npos);
}

TEST(commonlog, leaves_no_descriptors_behind)
{
    const temporary_folder folder;
    const log_environment environment("warn", folder.file("log"));
    const commonlog_library library;
    const std::size_t before = open_descriptors();
    for (int cycle = 0; cycle < 10000; ++cycle)
        library.disable(library.enable(0, "Vantoscan", "driver"));
    EXPECT_EQ(open_descriptors(), before);
}

TEST(commonlog, writes_whole_lines_from_many_threads)
{
    constexpr int thread_count = 8;
    constexpr int message_count = 500;
    const std::string filler(200, '-');
    texts expected;
    for (int thread = 0; thread < thread_count; ++thread) {
        for (int message = 0; message < message_count; ++message)
            expected.push_back("thread " + std::to_string(thread) + filler + "message " + std::to_string(message));
    }

    texts written = messages_of("info", [&](const backend_log &log) {
        std::vector<std::thread> threads;
        threads.reserve(thread_count);
        for (int thread = 0; thread < thread_count; ++thread) {
            threads.emplace_back([&log, &filler, thread] {
                for (int message = 0; message < message_count; ++message)
                    log.library.info(log.handle, "thread %d%smessage %d", thread, filler.c_str(), message);
            });
        }
        for (std::thread &thread : threads)
            thread.join();
    });

    std::sort(expected.begin(), expected.end());
    std::sort(written.begin(), written.end());
    EXPECT_EQ(written, expected);
}

namespace {

const backend_log *signal_log = nullptr;

void log_from_signal(int number)
{
    signal_log->library.info(signal_log->handle, "signal %d at %.1f", number, 0.5);
}

} // namespace

TEST(commonlog, writes_from_a_signal_handler)
{
    constexpr int signal_count = 200;
    const texts messages = messages_of("info", [](const backend_log &log) {
        signal_log = &log;
        const auto earlier = std::signal(SIGUSR1, log_from_signal);
        std::atomic<bool> done{false};
        const pthread_t target = pthread_self();
        std::thread sender([&] {
            for (int sent = 0; sent < signal_count; ++sent)
                pthread_kill(target, SIGUSR1);
            done = true;
        });
        while (!done)
            log.library.info(log.handle, "interrupted %d", 1);
        sender.join();
        raise(SIGUSR1);
        std::signal(SIGUSR1, earlier);
    });

    // Signals that arrive together are delivered once, so how many there were is not known; each left a line of its
    // own.
    EXPECT_EQ(messages.back(), "signal 10 at 0.5");
    for (const std::string &message : messages)
        EXPECT_TRUE(message == "interrupted 1" || message == "signal 10 at 0.5") << message;
}

namespace {

std::atomic<int> interruptions{0};

void count_interruption(int)
{
    ++interruptions;
}

std::string read_available(int descriptor)
{
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    std::string text(65536, '\0');
    const ssize_t length = read(descriptor, text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return text;
}

} // namespace

TEST(commonlog, writes_on_after_an_interrupted_write)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const int pipe_size = fcntl(ends[1], F_GETPIPE_SZ);
    ASSERT_GT(pipe_size, 0);
    std::string filler(static_cast<std::size_t>(pipe_size), ' ');
    ASSERT_EQ(write(ends[1], filler.data(), filler.size()), pipe_size); // the next write waits

    struct sigaction action = {};
    struct sigaction earlier = {};
    action.sa_handler = count_interruption; // without SA_RESTART
    sigaction(SIGUSR2, &action, &earlier);
    {
        const log_environment environment("warn");
        const redirected_descriptor redirected(STDERR_FILENO, ends[1]);
        const backend_log log;
        interruptions = 0;
        std::thread writer([&log] { log.library.warn(log.handle, "after the interruptions"); });
        for (int sent = 0; interruptions < 100 && sent < 10000000; ++sent)
            pthread_kill(writer.native_handle(), SIGUSR2);
        EXPECT_EQ(read(ends[0], filler.data(), filler.size()), pipe_size);
        writer.join();
    }
    sigaction(SIGUSR2, &earlier, nullptr);
    EXPECT_GE(interruptions, 100);
    EXPECT_EQ(message_of(read_available(ends[0])), "after the interruptions\n");
    close(ends[0]);
    close(ends[1]);
}

namespace {

std::string printed(double number)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f", number);
    return text.data();
}

} // namespace

TEST(commonlog, writes_numbers_the_same_in_every_locale)
{
    const foreign_locale german("de_DE");
    german.install();
    ASSERT_EQ(printed(210.5), "210,50");
    const texts messages = messages_of("debug", [](const backend_log &log) {
        log.library.debug(log.handle, "width %.2f", 210.5);
        EXPECT_EQ(printed(210.5), "210,50");
    });
    EXPECT_EQ(messages, texts{"width 210.50"});
}

TEST(commonlog, leaves_a_threads_own_locale_in_place)
{
    const foreign_locale german("de_DE");
    german.install();
    const locale_t own = duplocale(LC_GLOBAL_LOCALE);
    const locale_t earlier = uselocale(own);
    const texts messages = messages_of("debug", [own](const backend_log &log) {
        log.library.debug(log.handle, "width %.2f", 210.5);
        EXPECT_EQ(uselocale(nullptr), own);
    });
    uselocale(earlier);
    freelocale(own);
    EXPECT_EQ(messages, texts{"width 210.50"});
}
