// SPDX-License-Identifier: MIT
// A running program whose messages are followed.
#ifndef PELSANE_TESTS_SYSTEM_APPLICATION_H
#define PELSANE_TESTS_SYSTEM_APPLICATION_H

#include <cstddef>
#include <string>
#include <sys/types.h>
#include <vector>

namespace system_test {

class application {
public:
    // Starts a program, found in the test's PATH, in the given environment ("NAME=value"). Its standard output goes to
    // the file, its messages (standard error) to this object. Throws std::system_error.
    application(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                const std::string &output_file);
    // Kills the program if nobody has waited for it.
    ~application();
    application(const application &) = delete;
    application &operator=(const application &) = delete;

    // Waits until the text stands in the messages, after those waited for before; false when they end without it. From
    // then on no messages are taken, so that a program which has many of them does not get far.
    bool wait_for_message(const std::string &text);
    // Waits until the program's main thread waits for something.
    void wait_until_it_sleeps() const;
    void send_signal(int number) const;
    // The exit status, or 128 plus the number of the signal that ended the program.
    int wait();

    [[nodiscard]] const std::string &messages() const { return messages_; }

private:
    bool take_messages();

    pid_t process_ = -1;
    int message_pipe_ = -1;
    std::string messages_;
    std::size_t awaited_ = 0; // up to where messages were waited for
};

} // namespace system_test

#endif
