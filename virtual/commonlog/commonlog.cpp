// SPDX-License-Identifier: MIT
// The logging library's interface: messages in, one line each out, as
//
//     2026-11-21T10:30:00.123Z warn Vantoscan/driver: the message
//
// Messages come from several threads and from signal handlers. So a log does not change once it is enabled, and a
// message is formatted on its caller's stack and written at once: no lock that an interrupted thread could hold, no
// memory from the heap. Covered by tests/virtual/commonlog_test.cpp and, for that, commonlog_callers_test.cpp.
#include "line.h"
#include "output.h"
#include "settings.h"

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#pragma GCC visibility push(default)
#include "commonlog.h"
#pragma GCC visibility pop

namespace {

using commonlog::severity;

struct locale_deleter {
    using pointer = locale_t;
    void operator()(locale_t locale) const { freelocale(locale); }
};
using unique_locale = std::unique_ptr<locale_t, locale_deleter>;

const char *text_or_empty(const char *text)
{
    return text ? text : "";
}

std::string origin_of(const char *owner, const char *name)
{
    constexpr std::size_t longest = 128; // leaves most of a line to the message
    const std::string origin = std::string(text_or_empty(owner)) + "/" + text_or_empty(name);
    return origin.substr(0, longest);
}

struct enabled_log {
    enabled_log(const commonlog::settings &wanted, std::string log_origin)
        : threshold(wanted.threshold), origin(std::move(log_origin)),
          out(threshold == severity::silent ? nullptr : wanted.file)
    {
    }

    const severity threshold;
    const std::string origin; // "owner/name"
    const commonlog::output out;
    const unique_locale c_locale{newlocale(LC_ALL_MASK, "C", nullptr)}; // here, since making one may allocate
};

// Numbers in messages are to look the same whatever language the application has set, and the application's locale is
// not ours to change: uselocale changes it for this thread alone, and for as long as one message takes to format.
class scoped_locale {
public:
    explicit scoped_locale(locale_t locale) : earlier_(uselocale(locale)) {}
    ~scoped_locale() { uselocale(earlier_); }
    scoped_locale(const scoped_locale &) = delete;
    scoped_locale &operator=(const scoped_locale &) = delete;

private:
    locale_t earlier_;
};

// A message is often written between a failed call and the look at its errno.
class errno_keeper {
public:
    errno_keeper() = default;
    ~errno_keeper() { errno = earlier_; }
    errno_keeper(const errno_keeper &) = delete;
    errno_keeper &operator=(const errno_keeper &) = delete;

private:
    int earlier_ = errno;
};

const char *name_of(severity level)
{
    constexpr const char *names[] = {"debug", "info", "warn", "critical"}; // no message is silent
    return names[static_cast<int>(level)];
}

bool wants(const void *log, severity level)
{
    return log && level >= static_cast<const enabled_log *>(log)->threshold;
}

__attribute__((format(printf, 3, 0))) void write_message(const void *handle, severity level, const char *format,
                                                         va_list arguments)
{
    const errno_keeper keeper;
    const auto &log = *static_cast<const enabled_log *>(handle);
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);

    commonlog::line line;
    line.append_time(now);
    for (const std::string_view part : {" ", name_of(level), " ", log.origin.c_str(), ": "})
        line.append(part);
    {
        const scoped_locale c_locale(log.c_locale.get());
        line.append_format(text_or_empty(format), arguments);
    }
    log.out.write(line.finish());
}

} // namespace

void *EnableLog(int, const char *owner, const char *name)
{
    try {
        return std::make_unique<enabled_log>(commonlog::read_settings(), origin_of(owner, name)).release();
    } catch (const std::bad_alloc &) {
        return nullptr; // as good as a silent log
    }
}

void DisableLog(void *log)
{
    const std::unique_ptr<enabled_log> released(static_cast<enabled_log *>(log));
}

void DebugLog(void *log, const char *format, ...)
{
    if (!wants(log, severity::debug))
        return;
    va_list arguments;
    va_start(arguments, format);
    write_message(log, severity::debug, format, arguments);
    va_end(arguments);
}

void InfoLog(void *log, const char *format, ...)
{
    if (!wants(log, severity::info))
        return;
    va_list arguments;
    va_start(arguments, format);
    write_message(log, severity::info, format, arguments);
    va_end(arguments);
}

void WarnLog(void *log, const char *format, ...)
{
    if (!wants(log, severity::warn))
        return;
    va_list arguments;
    va_start(arguments, format);
    write_message(log, severity::warn, format, arguments);
    va_end(arguments);
}

void CriticalLog(void *log, const char *format, ...)
{
    if (!wants(log, severity::critical))
        return;
    va_list arguments;
    va_start(arguments, format);
    write_message(log, severity::critical, format, arguments);
    va_end(arguments);
}
