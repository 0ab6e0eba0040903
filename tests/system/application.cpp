// SPDX-License-Identifier: MIT
// fork, exec, and a short pipe for the messages. The program does not outlive the test that started it.
#include "application.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/prctl.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace system_test {

namespace {

constexpr int pipe_size = 4096;

void check(int result, const char *what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

std::vector<char *> pointers_to(std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// In the child: from here on nothing but system calls.
[[noreturn]] void become(char *const *command, char *const *environment, int output, int messages)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::dup2(output, STDOUT_FILENO) >= 0 && ::dup2(messages, STDERR_FILENO) >= 0)
        ::execvpe(command[0], command, environment);
    ::_exit(127);
}

} // namespace

application::application(const std::vector<std::string> &command, const std::vector<std::string> &environment,
                         const std::string &output_file)
{
    std::vector<std::string> command_texts = command;
    std::vector<std::string> environment_texts = environment;
    const std::vector<char *> arguments = pointers_to(command_texts);
    const std::vector<char *> variables = pointers_to(environment_texts);

    const int output = ::open(output_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    check(output, output_file.c_str());
    std::array<int, 2> pipe_ends{};
    check(::pipe2(pipe_ends.data(), O_CLOEXEC), "pipe");
    check(::fcntl(pipe_ends[1], F_SETPIPE_SZ, pipe_size), "pipe size");
    process_ = ::fork();
    check(process_, "fork");
    if (process_ == 0)
        become(arguments.data(), variables.data(), output, pipe_ends[1]);
    message_pipe_ = pipe_ends[0];
    ::close(pipe_ends[1]);
    ::close(output);
}

application::~application()
{
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    ::close(message_pipe_);
}

bool application::take_messages()
{
    std::array<char, pipe_size> buffer{};
    const ssize_t size = ::read(message_pipe_, buffer.data(), buffer.size());
    if (size <= 0)
        return false;
    messages_.append(buffer.data(), static_cast<std::size_t>(size));
    return true;
}

bool application::wait_for_message(const std::string &text)
{
    auto found = messages_.find(text, awaited_);
    for (; found == std::string::npos; found = messages_.find(text, awaited_))
        if (!take_messages())
            return false;
    awaited_ = found + text.size();
    return true;
}

void application::wait_until_it_sleeps() const
{
    const std::string state_file = "/proc/" + std::to_string(process_) + "/stat";
    for (;;) {
        std::ifstream file(state_file);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        // "number (name) state ..."
        const auto name_end = text.rfind(')');
        if (name_end == std::string::npos || text.compare(name_end, 3, ") S") == 0)
            return;
        std::this_thread::yield();
    }
}

void application::send_signal(int number) const
{
    ::kill(process_, number);
}

int application::wait()
{
    while (take_messages()) {
    }
    int state = 0;
    check(::waitpid(process_, &state, 0), "waitpid");
    process_ = -1;
    return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
}

} // namespace system_test
