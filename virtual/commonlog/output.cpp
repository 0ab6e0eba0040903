// SPDX-License-Identifier: MIT
// Finished lines in, bytes to a descriptor out. The file is opened for appending, so that several processes can share
// it, and closed on exec, so that programs started by the application do not inherit it. Covered by
// tests/virtual/commonlog_test.cpp.
#include "output.h"

#include "line.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace commonlog {
namespace {

// Readable by the user alone: messages name devices and show settings.
constexpr mode_t log_file_mode = 0600;

void write_all(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written == 0 || (written < 0 && errno != EINTR))
            return;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

int open_log_file(const char *path)
{
    static std::atomic_flag complained = ATOMIC_FLAG_INIT;
    const int file = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, log_file_mode);
    if (file < 0 && !complained.test_and_set()) {
        const std::string reason = std::generic_category().message(errno);
        complain({"cannot open log file ", path, ": ", reason, "; standard error is used"});
    }
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
