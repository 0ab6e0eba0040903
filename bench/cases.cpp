// SPDX-License-Identifier: MIT
// Each case stands beside the one that it is compared with. "driver" makes the driver calls that the backend makes, and
// no others; "floor" fetches every option's text like the backend, parses it once with the same parser and frees it;
// "copy" copies the driver's device records to fresh memory. A device is closed by whoever opened it, inside the work
// where opening is measured, so that nothing can be put off until close.
#include "cases.h"

#include "bench_platform.h"
#include "kx_scanner.h"
#include "option_texts.h"
#include "sane_pelsane.h"

#include <cjson/cJSON.h>
#include <sane/sane.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr int real_options = 85;
constexpr std::size_t record_bytes = sizeof(_device);

void check(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

void describe(std::vector<std::string> options)
{
    static std::vector<std::string> texts; // the driver borrows them
    texts = std::move(options);
    std::vector<const char *> pointers;
    for (const auto &text : texts)
        pointers.push_back(text.c_str());
    bench_describe_options(pointers.data(), static_cast<int>(pointers.size()));
}

SANE_Handle opened()
{
    SANE_Handle device = nullptr;
    check(sane_pelsane_open("bench:scanner-1", &device) == SANE_STATUS_GOOD, "open failed");
    return device;
}

// The driver's handle behind a frontend's.
void *driver_handle(SANE_Handle device)
{
    const auto number = reinterpret_cast<std::uintptr_t>(device);
    return reinterpret_cast<void *>(number ^ (number >> 32));
}

// Devices that are open while a case runs; work goes to the one that was opened last.
struct open_devices {
    std::vector<SANE_Handle> all;

    void open(int count)
    {
        for (int i = 0; i < count; ++i)
            all.push_back(opened());
    }
    void close()
    {
        for (SANE_Handle device : all)
            sane_pelsane_close(device);
        all.clear();
    }
    SANE_Handle last() const { return all.back(); }
    void *driver() const { return driver_handle(all.back()); }
};
open_devices devices;

bench_case with_devices(std::string name, int rounds, int count, std::vector<std::string> options,
                        std::function<void()> work)
{
    const auto prepare = [count, options = std::move(options)] {
        describe(options);
        devices.open(count);
    };
    return {std::move(name), rounds, prepare, std::move(work), [] { devices.close(); }};
}

void add_reads(std::vector<bench_case> &cases, int bytes, int open)
{
    static std::array<SANE_Byte, 65536> buffer;
    const std::string name = "read-" + std::to_string(bytes) + "/" + std::to_string(open);
    constexpr int rounds = 100;
    cases.push_back(with_devices(name + "/backend", rounds, open, mixed_options(real_options), [bytes] {
        SANE_Int length = 0;
        sane_pelsane_read(devices.last(), buffer.data(), bytes, &length);
    }));
    cases.push_back(with_devices(name + "/driver", rounds, open, mixed_options(real_options), [bytes] {
        long length = bytes;
        kx_scanner_read_img_data(devices.driver(), buffer.data(), &length);
    }));
}

long option_count(void *scanner)
{
    long count = 0;
    kx_scanner_get_parameter(scanner, nullptr, nullptr, &count, nullptr);
    return count;
}

void fetch_and_parse_options(void *scanner)
{
    static std::array<char, 4096> text;
    const long count = option_count(scanner);
    for (std::intptr_t number = 1; number < count; ++number) {
        long length = text.size() - 1;
        int id = 0;
        kx_scanner_get_parameter(scanner, reinterpret_cast<const void *>(number), text.data(), &length, &id);
        text[static_cast<std::size_t>(length)] = '\0';
        cJSON_Delete(cJSON_Parse(std::strchr(text.data(), '{')));
    }
}

void open_without_backend()
{
    void *scanner = nullptr;
    kx_scanner_open(&scanner, "bench:scanner-1", 0, nullptr, nullptr, nullptr, nullptr);
    static_cast<void>(option_count(scanner)); // for the well-known options
    fetch_and_parse_options(scanner);
    kx_scanner_close(scanner, 1);
}

void add_open(std::vector<bench_case> &cases, int options)
{
    const std::string name = "open/" + std::to_string(options);
    const auto prepare = [options] { describe(mixed_options(options)); };
    constexpr int rounds = 2;
    cases.push_back({name + "/backend", rounds, prepare, [] { sane_pelsane_close(opened()); }});
    cases.push_back({name + "/floor", rounds, prepare, open_without_backend});
}

void add_reload(std::vector<bench_case> &cases, int options)
{
    const std::string name = "reload/" + std::to_string(options);
    constexpr int rounds = 2;
    cases.push_back(with_devices(name + "/backend", rounds, 1, mixed_options(options), bench_change_language));
    cases.push_back(with_devices(name + "/floor", rounds, 1, mixed_options(options),
                                 [] { fetch_and_parse_options(devices.driver()); }));
}

void set(SANE_Int option, SANE_Word value)
{
    SANE_Int info = 0;
    sane_pelsane_control_option(devices.last(), option, SANE_ACTION_SET_VALUE, &value, &info);
}

void set_in_driver(std::intptr_t option, const void *value, long length)
{
    void *const scanner = devices.driver();
    kx_scanner_get_status(scanner, 0);
    kx_scanner_set_parameter(scanner, reinterpret_cast<const void *>(option), const_cast<void *>(value), &length);
}

void add_set_alone(std::vector<bench_case> &cases)
{
    static constexpr int whole_number = 4; // of the mixed options
    static SANE_Word value = 0;
    const std::string name = "set/" + std::to_string(real_options);
    constexpr int rounds = 10;
    cases.push_back(with_devices(name + "/backend", rounds, 1, mixed_options(real_options),
                                 [] { set(whole_number, ++value % 256); }));
    cases.push_back(with_devices(name + "/driver", rounds, 1, mixed_options(real_options), [] {
        ++value;
        set_in_driver(whole_number, &value, sizeof(value));
    }));
}

void add_set_master(std::vector<bench_case> &cases, int dependents)
{
    static constexpr int master = 1;
    static SANE_Bool value = SANE_TRUE;
    const std::string name = "set-master/" + std::to_string(dependents);
    constexpr int rounds = 2;
    cases.push_back(with_devices(name + "/backend", rounds, 1, master_with_dependents(dependents), [] {
        value = value == SANE_TRUE ? SANE_FALSE : SANE_TRUE;
        set(master, value);
    }));
    cases.push_back(with_devices(name + "/driver", rounds, 1, master_with_dependents(dependents), [dependents] {
        const SANE_Byte flag = 1;
        set_in_driver(master, &flag, sizeof(flag));
        for (int i = 0; i < dependents; ++i)
            kx_scanner_control(devices.driver(), KX_CONTROL_OPTION_ENABLED, nullptr, nullptr);
    }));
}

void copy_records(std::size_t bytes)
{
    struct free_block {
        void operator()(void *block) const { std::free(block); }
    };
    const std::unique_ptr<void, free_block> copy(std::malloc(bytes));
    std::memcpy(copy.get(), bench_records(), bytes);
    asm volatile("" : : "g"(copy.get()) : "memory"); // the copy is wanted, says this to the compiler
}

void list_in_driver()
{
    static std::vector<_device> records;
    int count = 0;
    kx_scanner_enum(nullptr, &count, 0);
    records.resize(static_cast<std::size_t>(count));
    kx_scanner_enum(records.data(), &count, 0);
}

void add_device_list(std::vector<bench_case> &cases, int listed)
{
    const std::string name = "get-devices/" + std::to_string(listed);
    const auto prepare = [listed] { bench_list_devices(listed); };
    const auto bytes = static_cast<std::size_t>(listed) * record_bytes;
    const int rounds = 2;
    cases.push_back({name + "/backend", rounds, prepare, [] {
                         const SANE_Device **list = nullptr;
                         sane_pelsane_get_devices(&list, SANE_FALSE);
                     }});
    cases.push_back({name + "/driver", rounds, prepare, list_in_driver});
    cases.push_back({name + "/copy", rounds, prepare, [bytes] { copy_records(bytes); }});
}

} // namespace

std::vector<bench_case> bench_cases()
{
    std::vector<bench_case> cases;
    for (const int open : {1, 32})
        for (const int bytes : {512, 65536})
            add_reads(cases, bytes, open);
    for (const int options : {10, 30, real_options, 300, 1000})
        add_open(cases, options);
    for (const int options : {10, 30, real_options, 300, 1000})
        add_reload(cases, options);
    add_set_alone(cases);
    for (const int dependents : {1, 10, 100, 1000})
        add_set_master(cases, dependents);
    for (const int listed : {1, 10, 100, 1000, 10000})
        add_device_list(cases, listed);
    return cases;
}
