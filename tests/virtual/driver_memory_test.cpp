// SPDX-License-Identifier: MIT
// Each allocation of a session fails once, alone or with all that follow it in the same call: while pages are made
// those of the driver and those of images' points, which is where the image library may run short; in all other calls
// those of C libraries, too. (An initialisation looks for room for each profile first, and runs short there.) The call
// then returns 258, or 269 where an image could not be made, with a line in the log, or it does without, and all that
// it delivers is as ever; and the next session is as ever.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "langkit_control.h"
#include "memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <ostream>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

int looks_before_shortage = -1; // for room; negative: there always is
std::atomic<std::size_t> looks{0};
std::atomic<std::size_t> largest_look{0};

// Whether the shortage comes with this look.
bool is_last_look()
{
    if (looks_before_shortage < 0)
        return false;
    const bool is_last = looks_before_shortage == 0;
    --looks_before_shortage;
    return is_last;
}

} // namespace

// Where the driver looks whether Leptonica has room to work, one allocation comes first that may fail.
extern "C" void *mmap(void *address, std::size_t size, int protection, int flags, int file, off_t offset) noexcept
{
    ++looks;
    largest_look = std::max(largest_look.load(), size);
    const std::unique_ptr<char[]> probe(new (std::nothrow) char[1]);
    if (probe == nullptr || is_last_look()) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return reinterpret_cast<void *>(syscall(SYS_mmap, address, size, protection, flags, file, offset));
}

// Large blocks are aligned, and no malloc makes them; likewise.
void *operator new(std::size_t size, std::align_val_t alignment)
{
    const std::unique_ptr<char[]> probe(new char[1]);
    const auto boundary = static_cast<std::size_t>(alignment);
    void *const block = std::aligned_alloc(boundary, (size + boundary - 1) / boundary * boundary);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void operator delete(void *block, std::align_val_t) noexcept
{
    std::free(block);
}

void operator delete(void *block, std::size_t, std::align_val_t) noexcept
{
    std::free(block);
}

namespace driver_test {
namespace {

using faulty_memory::shortage;

struct step {
    std::string call;
    int answer;
    std::string delivered;

    bool operator==(const step &other) const
    {
        return call == other.call && answer == other.answer && delivered == other.delivered;
    }
};

std::ostream &operator<<(std::ostream &out, const step &made)
{
    return out << made.call << " answers " << made.answer << " with " << made.delivered.size() << " bytes";
}

// What of a session may run short of memory.
enum class reach { starts, other_calls };

class session {
public:
    explicit session(reach which) : reach_(which) {}

    // From the driver's initialisation to its end, with the pages until the feeder is empty.
    std::vector<step> run()
    {
        make("initialize", [](std::string &) { return kx_scanner_initialize(nullptr, nullptr); });
        make("enum", [](std::string &delivered) {
            _device records[4]{};
            int count = 4;
            const int answer = kx_scanner_enum(records, &count, 1);
            delivered = answer == 0 ? records[0].name : "";
            return answer;
        });
        make("open",
             [this](std::string &) { return kx_scanner_open(&handle_, "", 0, nullptr, nullptr, nullptr, nullptr); });
        read_options();
        set_options();
        scan();
        make("close", [this](std::string &) { return kx_scanner_close(handle_, 1); });
        make("uninitialize", [](std::string &) { return kx_scanner_uninitialize(); });
        return std::move(steps_);
    }

private:
    template <typename Call> int make(const std::string &name, Call call)
    {
        std::string delivered;
        delivered.reserve(1 << 16);
        int answer = 0;
        if (name != "initialize" && (reach_ == reach::starts) == (name == "start")) {
            const faulty_memory::inside watched;
            answer = call(delivered);
        } else {
            answer = call(delivered);
        }
        steps_.push_back({name, answer, delivered});
        return answer;
    }

    void read_options()
    {
        for (int number = 1; number < 6; ++number)
            make("get_parameter", [&](std::string &delivered) {
                delivered.resize(4096);
                long length = static_cast<long>(delivered.size());
                const int answer = kx_scanner_get_parameter(handle_, key(number), delivered.data(), &length, nullptr);
                delivered.resize(answer == 0 ? static_cast<std::size_t>(length) : 0);
                return answer;
            });
    }

    void set_options()
    {
        make("set_parameter", [this](std::string &) {
            char word[] = "a free text that is long enough for a block";
            long length = sizeof word;
            return kx_scanner_set_parameter(handle_, "note", word, &length);
        });
        make("set_parameter", [this](std::string &) {
            char word[] = "Both sides";
            long length = sizeof word;
            return kx_scanner_set_parameter(handle_, "along", word, &length);
        });
    }

    void scan()
    {
        for (int page = 0; page < 20; ++page) {
            const int answer = make("start", [this](std::string &) { return kx_scanner_start(handle_, nullptr, -1); });
            if (answer == 0xDE07 || answer == 256 || answer == 276)
                return;
            if (answer == 0)
                make("read_img_data", [this](std::string &delivered) { return read_page(delivered); });
        }
    }

    // The page's bytes, summed up.
    int read_page(std::string &delivered) const
    {
        unsigned long sum = 5381;
        int answer = 0;
        while (answer == 0) {
            unsigned char buffer[4096];
            long count = sizeof buffer;
            answer = kx_scanner_read_img_data(handle_, buffer, &count);
            for (long i = 0; i < count; ++i)
                sum = sum * 33 + buffer[i];
        }
        const faulty_memory::outside uncounted;
        delivered = std::to_string(sum);
        return answer;
    }

    reach reach_;
    void *handle_ = nullptr;
    std::vector<step> steps_;
};

struct scenario {
    const char *name;
    const char *meanings;     // of the options, with their values
    const char *members;      // further ones of the profile, each with a comma after it
    std::vector<int> formats; // of the images in the feeder; none: the built-in document
    reach which;
};

std::ostream &operator<<(std::ostream &out, const scenario &each)
{
    return out << each.name;
}

// An option that has this value and takes no other.
json option_with(const std::string &meaning, const json &value)
{
    json option{{"name", meaning}, {"title", 1022}, {"desc", 2022}, {"means", meaning}};
    option["type"] = value.is_boolean() ? "bool" : value.is_string() ? "string" : "int";
    option["default"] = value;
    if (!value.is_boolean())
        option["range"].push_back(value);
    return option;
}

class driver_memory : public ::testing::TestWithParam<scenario> {
protected:
    driver_memory()
    {
        langkit_set_language("en");
        for (const int format : GetParam().formats)
            write_image(folder_.file("image-" + std::to_string(format) + ".png"), format);
        write_file(folder_.file("profile.json"), profile());
    }

    // Greys, print and colours, small enough for thousands of pages.
    static void write_image(const std::string &path, int format)
    {
        Pix *image = pixCreate(60, 80, 32);
        for (int y = 0; y < 80; ++y)
            for (int x = 0; x < 60; ++x)
                pixSetRGBPixel(image, x, y, x * 4, y * 3, (x / 4 + y / 6) % 2 * 255);
        ASSERT_EQ(0, pixWrite(path.c_str(), image, format));
        pixDestroy(&image);
    }

    [[nodiscard]] std::string profile() const
    {
        json options = json::parse(R"([
            {"name": "note", "type": "string", "title": 1022, "desc": 2022, "size": 64, "default": ""},
            {"name": "along", "type": "string", "title": 1022, "desc": 2022, "range": ["单面", "双面"],
             "default": "单面", "sets": {"双面": {"note": "what is set along with it, in a block"}}}])");
        const json meanings = json::parse(GetParam().meanings);
        for (const auto &[meaning, value] : meanings.items())
            options.push_back(option_with(meaning, value));
        const std::string feeder =
            GetParam().formats.empty() ? R"("feeder": {"sheets": 1},)" : R"("feeder": {"source": {"folder": "."}},)";
        return R"({"device": {"name": "test:memory", "vendor": "V", "model": "M", "type": "sheetfed scanner"},)" +
               feeder + GetParam().members +
               R"("papers": {"small": {"width": 60, "height": 80}, "own": {"width": 60, "height": 80, "original": true}},
                  "information": {"dev-name": {"value": "test:memory"}}, "options": )" +
               options.dump() + "}";
    }

    // What differs is an answer that memory is short.
    static void expect_defined(const std::vector<step> &usual, const std::vector<step> &struck, const std::string &log)
    {
        const auto [expected, differs] = std::mismatch(usual.begin(), usual.end(), struck.begin(), struck.end());
        if (differs == struck.end())
            return;
        EXPECT_TRUE(differs->answer == 258 || differs->answer == 269) << *differs << ", and not as " << *expected;
        EXPECT_NE("", log) << *differs;
        for (const step &each : struck)
            if (each.answer == 0 && (each.call == "enum" || each.call == "get_parameter")) {
                EXPECT_TRUE(std::count(usual.begin(), usual.end(), each) > 0) << each;
            }
    }

    void expect_each_allocation_may_fail(shortage kind) const
    {
        const environment_variable profiles("PELVIRTUAL_PROFILES", folder_.file("profile.json").c_str());
        const environment_variable level("PELLOG_LEVEL", "critical");
        const environment_variable file("PELLOG_FILE", folder_.file("log").c_str());
        faulty_memory::count_c_libraries(GetParam().which == reach::other_calls);
        session(GetParam().which).run(); // what is made once in a process
        faulty_memory::reset();
        const std::vector<step> usual = session(GetParam().which).run();
        const std::size_t allocations = faulty_memory::made();
        ASSERT_EQ(0, usual[0].answer);
        ASSERT_EQ(0xDE07, usual[usual.size() - 3].answer) << content_of(folder_.file("log"));
        for (std::size_t nth = 0; nth < allocations && !HasFailure(); ++nth) {
            SCOPED_TRACE("allocation " + std::to_string(nth) + " of " + std::to_string(allocations));
            write_file(folder_.file("log"), "");
            faulty_memory::reset();
            faulty_memory::fail(nth, kind);
            const std::vector<step> struck = session(GetParam().which).run();
            faulty_memory::reset();
            expect_defined(usual, struck, content_of(folder_.file("log")));
            EXPECT_EQ(usual, session(GetParam().which).run());
        }
        RecordProperty("allocations", std::to_string(allocations));
        std::printf("%zu shortages of memory\n", allocations);
    }

    temporary_folder folder_;
};

TEST(driver_initialisation, answers_258_when_there_is_no_room_for_its_profile)
{
    const captured_log log;
    looks_before_shortage = 0;
    EXPECT_EQ(258, kx_scanner_initialize(nullptr, nullptr));
    int count = 0;
    EXPECT_EQ(276, kx_scanner_enum(nullptr, &count, 1));
    EXPECT_NE(std::string::npos, log.text().find("Memory is short"));
    EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    _device record{};
    count = 1;
    EXPECT_EQ(0, kx_scanner_enum(&record, &count, 1));
    EXPECT_STREQ("virtual:duplex-feeder", record.name);
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

TEST(driver_settings, stay_as_they_were_when_memory_is_short)
{
    ASSERT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
    {
        scanner device;
        const auto before = device.options();
        std::size_t shortages = 0;
        for (bool has_failed = true; has_failed;) {
            faulty_memory::reset();
            faulty_memory::fail(shortages, shortage::single);
            int answer = 0;
            {
                const faulty_memory::inside watched;
                answer =
                    device.set("is-erase-black-frame", false); // which three options depend on, one through another
            }
            has_failed = faulty_memory::has_failed();
            faulty_memory::reset();
            if (has_failed) {
                ++shortages;
                EXPECT_EQ(258, answer) << shortages;
                EXPECT_EQ(before, device.options()) << shortages;
            }
        }
        EXPECT_GT(shortages, 2U);
        EXPECT_NE(before, device.options());
    }
    EXPECT_EQ(0, kx_scanner_uninitialize());
}

// An image of 256 bytes counts as 512, and 32 of them as 16 KiB.
TEST(driver_room, is_looked_for_once_for_many_small_images)
{
    std::thread another([] { // where no image was made before
        looks = 0;
        for (int i = 0; i < 1024; ++i) {
            Pix *image = pixCreate(8, 8, 32);
            pixDestroy(&image);
        }
    });
    another.join();
    EXPECT_EQ(32U, looks.load());
}

// Of 600 x 600 points, with 16 MiB to spare.
TEST(driver_room, is_looked_for_before_work_that_cannot_end_without_it)
{
    constexpr std::size_t spare = 16777216;
    constexpr std::size_t gray = 360000;
    constexpr std::size_t color = 1440000;
    const auto looked_for = [](const char *options, const char *pages) {
        const temporary_folder folder;
        const std::string path = write_file(folder.file("profile.json"), R"({
            "device": {"name": "test:room", "vendor": "V", "model": "M", "type": "sheetfed scanner"},
            "papers": {"Inch": {"width": 25.4, "height": 25.4}}, "information": {}, "pages": )" +
                                                                             std::string(pages) + R"(, "options": [
            {"name": "paper", "type": "string", "title": 1, "desc": 2, "range": ["Inch"], "default": "Inch",
             "means": "paper"},
            {"name": "resolution", "type": "int", "title": 1, "desc": 2, "range": [600], "default": 600,
             "means": "resolution"},
            {"name": "mode", "type": "string", "title": 1, "desc": 2, )" + options +
                                                                             "]}");
        const environment_variable profile("PELVIRTUAL_PROFILES", path.c_str());
        EXPECT_EQ(0, kx_scanner_initialize(nullptr, nullptr));
        {
            scanner device;
            largest_look = 0;
            EXPECT_EQ(0, device.start());
        }
        EXPECT_EQ(0, kx_scanner_uninitialize());
        return largest_look.load();
    };
    EXPECT_EQ(spare, looked_for(R"("range": ["gray"], "default": "gray", "means": "mode"})", "{}"));
    // Two images in colour, to turn one.
    EXPECT_EQ(spare + 2 * color,
              looked_for(R"("range": ["gray"], "default": "gray", "means": "mode"})", R"({"skew_degrees": 4})"));
    // Three to take a screen away.
    EXPECT_EQ(spare + 3 * color, looked_for(R"("range": ["gray"], "default": "gray", "means": "mode"},
            {"name": "screen", "type": "bool", "title": 1, "desc": 2, "default": true, "means": "remove-halftone"})",
                                            "{}"));
    // One in grey and 64 bytes for each point of a tile, for a threshold by the neighbourhood.
    EXPECT_EQ(spare + gray + 64 * gray, looked_for(R"("range": ["lineart"], "default": "lineart", "means": "mode"},
            {"name": "method", "type": "string", "title": 1, "desc": 2, "range": ["adaptive"], "default": "adaptive",
             "means": "binarization"})",
                                                   "{}"));
}

std::atomic<int> told_events{0};

// A frontend that listens, on a thread whose allocations count from its first question on.
int count_on_this_thread(void *, int, void *, unsigned int *, void *)
{
    alignas(faulty_memory::inside) static unsigned char place[sizeof(faulty_memory::inside)];
    new (place) faulty_memory::inside; // as long as the thread lives
    ++told_events;
    return 0;
}

template <typename Condition> bool comes_true(Condition holds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!holds() && std::chrono::steady_clock::now() < end)
        std::this_thread::yield();
    return holds();
}

TEST(driver_thread, lives_on_when_memory_is_short)
{
    constexpr std::size_t allocations = 24;
    const environment_variable faults("PELVIRTUAL_FAULTS", "event button every 2 ms always");
    std::size_t logged = 0;
    for (std::size_t nth = 0; nth < allocations; ++nth) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        const temporary_folder folder;
        const environment_variable level("PELLOG_LEVEL", "warn");
        const environment_variable file("PELLOG_FILE", folder.file("log").c_str());
        faulty_memory::count_c_libraries(true);
        faulty_memory::reset();
        faulty_memory::fail(nth, shortage::single);
        ASSERT_EQ(0, kx_scanner_initialize(count_on_this_thread, nullptr));
        void *handle = nullptr;
        EXPECT_EQ(0, kx_scanner_open(&handle, "", 0, nullptr, nullptr, nullptr, nullptr));
        EXPECT_TRUE(comes_true(faulty_memory::has_failed));
        const int told = told_events;
        const auto is_logged = [&folder] { return !content_of(folder.file("log")).empty(); };
        EXPECT_TRUE(comes_true([&] { return is_logged() || told_events > told + 3; }));
        EXPECT_EQ(0, kx_scanner_close(handle, 1));
        EXPECT_EQ(0, kx_scanner_uninitialize());
        logged += is_logged() ? 1 : 0;
        faulty_memory::reset();
    }
    EXPECT_GE(logged, allocations - 1); // a library may do without the memory once
}

TEST_P(driver_memory, may_run_short_once)
{
    expect_each_allocation_may_fail(shortage::single);
}

TEST_P(driver_memory, may_run_short_for_the_rest_of_a_call)
{
    expect_each_allocation_may_fail(shortage::lasting);
}

const scenario scenarios[] = {
    {"session", R"({"mode": "color", "resolution": 25, "paper": "small"})", "", {IFF_PNM}, reach::other_calls},
    {"document",
     R"({"mode": "color", "resolution": 25, "paper": "small", "sides": "both", "rotate-back": true})",
     "",
     {},
     reach::starts},
    {"images",
     R"({"mode": "color", "resolution": 25, "paper": "own", "sides": "both"})",
     "",
     {IFF_PNG, IFF_JFIF_JPEG, IFF_TIFF_LZW, IFF_PNM, IFF_BMP},
     reach::starts},
    {"plain",
     R"({"mode": "gray", "resolution": 25, "paper": "small", "discard-blank": true, "blank-limit": 20})",
     R"("flatbed": {"source": "document"},)",
     {},
     reach::starts},
    {"otsu",
     R"({"mode": "lineart", "resolution": 50, "paper": "small", "binarization": "otsu", "invert": true})",
     "",
     {IFF_PNM},
     reach::starts},
    {"adaptive",
     R"({"mode": "lineart", "resolution": 50, "paper": "small", "binarization": "adaptive",
                     "despeckle": true, "speckle-size": 3, "speckle-strength": 20})",
     "",
     {IFF_PNM},
     reach::starts},
    {"diffused",
     R"({"mode": "lineart", "resolution": 50, "paper": "small", "error-diffusion": true})",
     "",
     {IFF_PNM},
     reach::starts},
    {"filtered",
     R"({"mode": "gray", "resolution": 50, "paper": "small", "channel": "green", "remove-halftone": true,
                     "remove-moire": true, "sharpness": "sharpen"})",
     "",
     {IFF_PNM},
     reach::starts},
    {"softened",
     R"({"mode": "color", "resolution": 50, "paper": "small", "remove-halftone": true, "remove-moire": true,
                     "sharpness": "soften"})",
     "",
     {IFF_PNM},
     reach::starts},
    {"worn",
     R"({"mode": "color", "resolution": 50, "paper": "small", "sides": "both"})",
     R"("pages": {"seed": 7, "skew_degrees": 3, "holes": {"count": 2}, "staples": 1, "background": "#f4ecd0",
         "shine_through": 0.2, "dog_ear": {"size_mm": 10}, "noise": 4, "dust": 20},)",
     {IFF_PNM, IFF_PNG},
     reach::starts},
    {"mended",
     R"({"mode": "color", "resolution": 50, "paper": "small", "straighten": true, "erase-frame": true,
                   "frame-shape": "convex", "fill-color": true, "fill-holes": true, "correct-color": true,
                   "erase-background": true})",
     R"("pages": {"seed": 7, "skew_degrees": 3, "holes": {"count": 2}, "background": "#f4ecd0"},)",
     {},
     reach::starts},
    {"concave",
     R"({"mode": "gray", "resolution": 50, "paper": "small", "straighten": true, "erase-frame": true,
                    "frame-shape": "concave"})",
     R"("pages": {"seed": 7, "skew_degrees": 3},)",
     {},
     reach::starts},
};

INSTANTIATE_TEST_SUITE_P(, driver_memory, ::testing::ValuesIn(scenarios),
                         [](const auto &each) { return std::string(each.param.name); });

} // namespace
} // namespace driver_test
