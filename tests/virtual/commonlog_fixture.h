// SPDX-License-Identifier: MIT
// The logging library's stand-in, loaded afresh by each test: what it says "once" it says once per process.
#ifndef PELSANE_TESTS_COMMONLOG_FIXTURE_H
#define PELSANE_TESTS_COMMONLOG_FIXTURE_H

#include "commonlog.h"
#include "surroundings.h"

#include <algorithm>
#include <cstddef>
#include <dlfcn.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace commonlog_fixture {

using namespace surroundings;

struct log_environment {
    explicit log_environment(const char *level_name, const std::string &file_path = "",
                             const char *sane_number = nullptr)
        : level("PELLOG_LEVEL", level_name), file("PELLOG_FILE", file_path.empty() ? nullptr : file_path.c_str()),
          sane("SANE_DEBUG_PELSANE", sane_number)
    {
    }

    environment_variable level;
    environment_variable file;
    environment_variable sane;
};

class commonlog_library {
public:
    commonlog_library() : library_(dlopen(COMMONLOG_LIBRARY, RTLD_NOW | RTLD_LOCAL))
    {
        if (!library_)
            throw std::runtime_error("cannot load " COMMONLOG_LIBRARY);
        enable = function<decltype(enable)>("EnableLog");
        disable = function<decltype(disable)>("DisableLog");
        debug = function<decltype(debug)>("DebugLog");
        info = function<decltype(info)>("InfoLog");
        warn = function<decltype(warn)>("WarnLog");
        critical = function<decltype(critical)>("CriticalLog");
    }
    ~commonlog_library() { dlclose(library_); }
    commonlog_library(const commonlog_library &) = delete;
    commonlog_library &operator=(const commonlog_library &) = delete;

    decltype(&EnableLog) enable;
    decltype(&DisableLog) disable;
    decltype(&DebugLog) debug;
    decltype(&InfoLog) info;
    decltype(&WarnLog) warn;
    decltype(&CriticalLog) critical;

private:
    template <typename Function> Function function(const char *name)
    {
        return reinterpret_cast<Function>(dlsym(library_, name));
    }

    void *library_;
};

// A log of the backend's, enabled in the environment of the moment.
class backend_log {
public:
    backend_log() : handle(library.enable(0, "Vantoscan", "driver")) {}
    ~backend_log() { library.disable(handle); }
    backend_log(const backend_log &) = delete;
    backend_log &operator=(const backend_log &) = delete;

    void say_everything() const
    {
        library.debug(handle, "a debug message");
        library.info(handle, "an info message");
        library.warn(handle, "a warning");
        library.critical(handle, "a critical message");
    }

    commonlog_library library;
    void *handle;
};

// The message of a line of the backend's log.
inline std::string message_of(const std::string &line)
{
    const std::string mark = " Vantoscan/driver: ";
    const std::size_t at = line.find(mark);
    return at == std::string::npos ? "no message in: " + line : line.substr(at + mark.size());
}

// The messages that a scope's worth of calls left in the log's file.
template <typename Call> std::vector<std::string> messages_of(const char *level, Call call)
{
    const temporary_folder folder;
    const log_environment environment(level, folder.file("log"));
    {
        const backend_log log;
        call(log);
    }
    std::vector<std::string> messages = lines_of(folder.file("log"));
    std::transform(messages.begin(), messages.end(), messages.begin(), message_of);
    return messages;
}

using texts = std::vector<std::string>;

inline void say_everything(const backend_log &log)
{
    log.say_everything();
}

} // namespace commonlog_fixture

#endif
