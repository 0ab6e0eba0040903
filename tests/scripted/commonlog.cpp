// SPDX-License-Identifier: MIT
// The scripted logging library: every line goes to the record.
#include "commonlog.h"

#include "state.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

using namespace scripted;

namespace {

char the_log;

// Handlers of signals log too, so a line of usual length is recorded without allocating.
void record_line(const char *level, void *log, const char *format, std::va_list arguments)
{
    char text[sizeof(fixed_entry::text)];
    const int begin = std::snprintf(text, sizeof text, "%s%s", level, log == &the_log ? "" : "(wrong log handle) ");
    const auto begun = static_cast<std::size_t>(begin);
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(text + begun, sizeof text - begun, format, arguments);
    const auto needed = static_cast<std::size_t>(length < 0 ? 0 : length);
    if (begun + needed >= sizeof text || !record_fixed_log(text, level, format)) {
        std::string whole(begun + needed + 1, '\0');
        whole.replace(0, begun, text, begun);
        std::vsnprintf(whole.data() + begun, needed + 1, format, again);
        whole.pop_back();
        record_log(whole, std::string(level) + format);
    }
    va_end(again);
    errno = EBADF; // as a log may that writes to a file
}

} // namespace

void *EnableLog(int reserved, const char *owner, const char *name)
{
    record_call("EnableLog(" + std::to_string(reserved) + "," + shown(owner) + "," + shown(name) + ")");
    return &the_log;
}

void DisableLog(void *log)
{
    record_call("DisableLog(" + std::string(log == &the_log ? "log" : "unknown") + ")");
}

void DebugLog(void *log, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    record_line("Debug: ", log, format, arguments);
    va_end(arguments);
}

void InfoLog(void *log, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    record_line("Info: ", log, format, arguments);
    va_end(arguments);
}

void WarnLog(void *log, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    record_line("Warn: ", log, format, arguments);
    va_end(arguments);
}

void CriticalLog(void *log, const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    record_line("Critical: ", log, format, arguments);
    va_end(arguments);
}
