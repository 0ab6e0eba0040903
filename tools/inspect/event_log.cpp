// SPDX-License-Identifier: MIT
// Data of events is copied while the driver's call lasts, and shown as bytes. Tested by tests/tools/watch_test.cpp.
#include "event_log.h"

#include "backend.h"
#include "output.h"

#include <algorithm>
#include <chrono>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace inspect {

namespace {

constexpr unsigned int most_data = 4096;

std::string bytes_text(const std::string &data, const char *separator)
{
    std::string text;
    for (const char byte : data)
        text += fmt::format("{}{:02x}", text.empty() ? "" : separator, static_cast<unsigned char>(byte));
    return text;
}

} // namespace

event_record record_of(const event &reported)
{
    event_record record{std::chrono::system_clock::now(), reported.code, {}};
    if (reported.data != nullptr)
        record.data.assign(static_cast<const char *>(reported.data), std::min(reported.length, most_data));
    return record;
}

std::string as_text(const event_record &record)
{
    const std::string text = fmt::format("event {:#x}", record.code);
    return record.data.empty() ? text : fmt::format("{}, data {}", text, bytes_text(record.data, " "));
}

json_value as_json(const event_record &record)
{
    using namespace std::chrono;
    const auto milliseconds_of_second = duration_cast<milliseconds>(record.time.time_since_epoch()).count() % 1000;
    const std::string time = fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                                         fmt::gmtime(system_clock::to_time_t(record.time)), milliseconds_of_second);
    return {{"time", time}, {"event", record.code}, {"data", bytes_text(record.data, "")}};
}

void event_queue::push(event_record record)
{
    const std::lock_guard<std::mutex> lock(lock_);
    records_.push_back(std::move(record));
    arrived_.notify_one();
}

std::optional<event_record> event_queue::next(std::chrono::milliseconds timeout)
{
    std::unique_lock<std::mutex> lock(lock_);
    if (!arrived_.wait_for(lock, timeout, [this] { return !records_.empty(); }))
        return std::nullopt;
    event_record record = std::move(records_.front());
    records_.pop_front();
    return record;
}

} // namespace inspect
