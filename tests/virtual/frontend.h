// SPDX-License-Identifier: MIT
// What listens to the virtual scanner and what gives it commands, from the side of the tests.
#ifndef PELSANE_TESTS_FRONTEND_H
#define PELSANE_TESTS_FRONTEND_H

#include "commander.h"
#include "kx_scanner.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace driver_test {

using surroundings::commander;

constexpr auto patience = std::chrono::seconds(60);

inline std::ptrdiff_t entries_of(const char *folder)
{
    const std::filesystem::directory_iterator entries(folder);
    return std::distance(begin(entries), end(entries));
}

struct heard_event {
    void *device;
    int event;
    unsigned int button; // 0 without data
    unsigned int length;

    bool operator==(const heard_event &other) const
    {
        return device == other.device && event == other.event && button == other.button && length == other.length;
    }
};

inline std::ostream &operator<<(std::ostream &out, const heard_event &heard)
{
    return out << heard.device << " event " << heard.event << " button " << heard.button << " length " << heard.length;
}

// A frontend that listens and notes what it is told.
class frontend {
public:
    static int callback(void *device, int event, void *data, unsigned int *length, void *parameter)
    {
        auto *self = static_cast<frontend *>(parameter);
        const std::lock_guard<std::mutex> guard(self->lock_);
        if (event == KX_EVENT_IS_LISTENED)
            return 0;
        self->heard_.push_back(
            {device, event, data != nullptr ? *static_cast<const unsigned int *>(data) : 0, *length});
        self->changed_.notify_one();
        return 0;
    }

    heard_event next()
    {
        std::unique_lock<std::mutex> guard(lock_);
        if (!changed_.wait_for(guard, patience, [this] { return !heard_.empty(); }))
            throw std::runtime_error("no event came");
        const heard_event first = heard_.front();
        heard_.pop_front();
        return first;
    }

    std::size_t waiting()
    {
        const std::lock_guard<std::mutex> guard(lock_);
        return heard_.size();
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    std::deque<heard_event> heard_;
};

// A profile of a scanner with nothing that is not needed; `more` are further members with a comma after each.
inline std::string small_profile(const std::string &name, const std::string &more = "", const std::string &model = "M")
{
    return R"({"device": {"name": ")" + name + R"(", "vendor": "V", "model": ")" + model +
           R"(", "type": "sheetfed scanner"}, )" + more + R"("papers": {}, "information": {}, "options": []})";
}

// With room for more than there are: devices may come while they are listed.
inline std::vector<_device> list_devices()
{
    std::vector<_device> records(128);
    int count = static_cast<int>(records.size());
    EXPECT_EQ(0, kx_scanner_enum(records.data(), &count, 0));
    records.resize(static_cast<std::size_t>(count));
    return records;
}

inline std::vector<std::string> device_names()
{
    std::vector<std::string> names;
    for (const _device &record : list_devices())
        names.emplace_back(record.name);
    return names;
}

inline void *open_device(const char *name)
{
    void *handle = nullptr;
    EXPECT_EQ(0, kx_scanner_open(&handle, name, 0, nullptr, nullptr, nullptr, nullptr)) << name;
    return handle;
}

} // namespace driver_test

#endif
