// SPDX-License-Identifier: MIT
// Finished lines in, bytes to a descriptor out. The file is opened for appending, so that several processes can share
// it, and closed on exec, so that programs started by the application do not inherit it. Nobody may be reading any more
// what goes to a pipe: that is no reason for the application to die. Covered by tests/virtual/commonlog_test.cpp and
// commonlog_callers_test.cpp.
#include "output.h"

#include "line.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace commonlog {
namespace {

// Readable by the user alone: messages name devices and show settings.
constexpr mode_t log_file_mode = 0600;

// Keeps a write's SIGPIPE from this thread, and takes it back when there was one; one that the application has pending
// stays. Only calls that a signal handler may make.
class without_sigpipe {
public:
    without_sigpipe()
    {
        sigemptyset(&pipe_);
        sigaddset(&pipe_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
        was_pending_ = is_pending();
    }
    ~without_sigpipe()
    {
        constexpr timespec at_once{};
        if (!was_pending_ && is_pending())
            sigtimedwait(&pipe_, nullptr, &at_once);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    without_sigpipe(const without_sigpipe &) = delete;
    without_sigpipe &operator=(const without_sigpipe &) = delete;

private:
    static bool is_pending()
    {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t pipe_;
    sigset_t before_;
    bool was_pending_;
};

void write_all(int file, std::string_view bytes)
{
    const without_sigpipe shield;
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written == 0 || (written < 0 && errno != EINTR))
            return;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// Whether it takes lines without a reader: a file, or a device such as a terminal.
bool takes_lines(int file)
{
    struct stat status = {};
    return ::fstat(file, &status) == 0 && (S_ISREG(status.st_mode) || S_ISCHR(status.st_mode));
}

int use_standard_error(const char *path, const std::string &reason)
{
    static std::atomic_flag complained = ATOMIC_FLAG_INIT;
    if (!complained.test_and_set())
        complain({"cannot open log file ", path, ": ", reason, "; standard error is used"});
    return -1;
}

// Opened without waiting, since a pipe would wait for its reader; written in the usual way.
int open_log_file(const char *path)
{
    const int file = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, log_file_mode);
    if (file < 0)
        return use_standard_error(path, std::generic_category().message(errno));
    if (!takes_lines(file)) {
        ::close(file);
        return use_standard_error(path, "it is neither a file nor a device for characters");
    }
    ::fcntl(file, F_SETFL, ::fcntl(file, F_GETFL) & ~O_NONBLOCK);
    return file;
}

} // namespace

output::output(const char *path) : file_(path ? open_log_file(path) : -1) {}

output::~output()
{
    if (file_ >= 0)
        ::close(file_);
}

void output::write(std::string_view line) const
{
    write_all(file_ >= 0 ? file_ : STDERR_FILENO, line);
}

void complain(std::initializer_list<std::string_view> parts)
{
    line message;
    message.append("pelsane log: ");
    for (const std::string_view part : parts)
        message.append(part);
    write_all(STDERR_FILENO, message.finish());
}

} // namespace commonlog
