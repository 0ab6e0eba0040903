// SPDX-License-Identifier: MIT
// From the environment's texts to a threshold and a file. PELLOG_LEVEL names a level; SANE_DEBUG_PELSANE is how SANE's
// applications and manuals ask any backend for messages, and gives way to the more exact variable. The variables are
// read with secure_getenv: a set-user-id scanning program must not append to a file that its caller names. Covered by
// tests/virtual/commonlog_test.cpp.
#include "settings.h"

#include "output.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>

namespace commonlog {
namespace {

const char *variable(const char *name)
{
    const char *value = secure_getenv(name);
    return value && *value ? value : nullptr;
}

std::optional<severity> named_level(std::string_view name)
{
    if (name == "debug")
        return severity::debug;
    if (name == "info")
        return severity::info;
    if (name == "warn")
        return severity::warn;
    if (name == "critical")
        return severity::critical;
    return std::nullopt;
}

std::optional<severity> numbered_level(std::string_view text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return severity::debug;
    constexpr severity levels[] = {severity::silent, severity::critical, severity::warn, severity::info,
                                   severity::debug};
    return levels[std::min(number, 4U)];
}

severity level_or_complaint(std::optional<severity> level, const char *name, const char *value)
{
    static std::atomic_flag complained = ATOMIC_FLAG_INIT;
    if (level)
        return *level;
    if (!complained.test_and_set())
        complain({"unknown level in ", name, ": ", value, "; nothing is logged"});
    return severity::silent;
}

severity read_threshold()
{
    if (const char *name = variable("PELLOG_LEVEL"))
        return level_or_complaint(named_level(name), "PELLOG_LEVEL", name);
    if (const char *number = variable("SANE_DEBUG_PELSANE"))
        return level_or_complaint(numbered_level(number), "SANE_DEBUG_PELSANE", number);
    return severity::silent;
}

} // namespace

settings read_settings()
{
    return {read_threshold(), variable("PELLOG_FILE")};
}

} // namespace commonlog
