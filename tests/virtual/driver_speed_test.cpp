// SPDX-License-Identifier: MIT
// How fast pages of 600 dpi in colour are prepared and delivered. Preparing is measured in processor time and delivery
// against copies of the same size that are made in between, so that other work of the machine counts little.
#include "driver_fixture.h"
#include "kx_scanner.h"
#include "worn_scanner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace driver_test {

namespace {

constexpr int width = 4961;
constexpr int height = 7016;

double processor_seconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Call> double seconds_of(Call call)
{
    const double start = processor_seconds();
    call();
    return processor_seconds() - start;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

class driver_speed : public worn_sheets {
protected:
    void SetUp() override { start_profile(json::parse(content_of(DUPLEX_PROFILE))); }

    static void scan_large(scanner &device)
    {
        device.set("resolution", 600);
        device.set("page", "Front side");
    }

    // The built-in document's first page in a file of its own folder.
    std::string write_document(int dpi, const std::string &name, int format) const
    {
        scanner device;
        device.set("resolution", dpi);
        const scanned_page page = device.scan();
        const pix_ptr image(pixCreate(page.parameters.pixels_per_line, page.parameters.lines, 32));
        for (int y = 0; y < page.parameters.lines; ++y) {
            l_uint32 *row = pixGetData(image.get()) + static_cast<std::ptrdiff_t>(y) * pixGetWpl(image.get());
            for (int x = 0; x < page.parameters.pixels_per_line; ++x) {
                const unsigned char *point = page.at(x, y);
                composeRGBPixel(point[0], point[1], point[2], row + x);
            }
        }
        std::string folder = folder_.file(std::to_string(dpi) + name);
        std::filesystem::create_directory(folder);
        EXPECT_EQ(0, pixWrite((folder + "/" + name).c_str(), image.get(), format));
        return folder;
    }
};

struct file_kind {
    const char *name;
    int format;
};

TEST_F(driver_speed, prepares_a_page_of_a_file_within_a_second)
{
    const file_kind kinds[] = {{"a.png", IFF_PNG}, {"a.jpg", IFF_JFIF_JPEG}, {"a.tif", IFF_TIFF}, {"a.ppm", IFF_PNM}};
    for (const int dpi : {600, 300}) {
        for (const file_kind &kind : kinds) {
            const environment_variable feed("PELVIRTUAL_FEED", write_document(dpi, kind.name, kind.format).c_str());
            scanner device;
            scan_large(device);
            std::vector<double> seconds;
            for (int run = 0; run < 3; ++run) {
                seconds.push_back(seconds_of([&] { EXPECT_EQ(0, device.start()); }));
                EXPECT_EQ(width, device.parameters().pixels_per_line);
                EXPECT_EQ(height, device.parameters().lines);
                device.stop();
            }
            RecordProperty(std::to_string(dpi) + kind.name, std::to_string(median(seconds)));
            EXPECT_LE(median(seconds), 1.0) << dpi << " " << kind.name;
        }
    }
}

TEST_F(driver_speed, delivers_at_the_rate_of_a_copy)
{
    const std::size_t size = static_cast<std::size_t>(width) * height * 3;
    const std::vector<unsigned char> source(size, 7);
    for (const long at_once : {65536L, 1L << 20}) {
        scanner device;
        scan_large(device);
        std::vector<unsigned char> buffer(static_cast<std::size_t>(at_once));
        std::vector<double> ratios;
        for (int run = 0; run < 7; ++run) {
            while (device.start() != 0) // the feeder is full again after its end
                ;
            std::size_t delivered = 0;
            const double reading = seconds_of([&] {
                for (long length = at_once; kx_scanner_read_img_data(device.handle(), buffer.data(), &length) == 0;
                     length = at_once)
                    delivered += static_cast<std::size_t>(length);
            });
            EXPECT_EQ(size, delivered);
            const double copying = seconds_of([&] {
                for (std::size_t first = 0; first < size; first += buffer.size())
                    std::memcpy(buffer.data(), &source[first], std::min(buffer.size(), size - first));
            });
            ratios.push_back(copying / reading);
        }
        RecordProperty("reads_of_" + std::to_string(at_once), std::to_string(median(ratios)));
        EXPECT_GE(median(ratios), 0.7) << at_once;
    }
}

TEST_F(driver_speed, prepares_plain_sheets_at_once)
{
    json profile = json::parse(content_of(DUPLEX_PROFILE));
    profile["feeder"] = json::parse(R"({"source": {"color": "#2a80f0"}, "endless": true})");
    start_profile(profile);
    scanner device;
    scan_large(device);
    const double seconds = seconds_of([&] {
        for (int page = 0; page < 100; ++page)
            ASSERT_EQ(0, device.start());
    });
    RecordProperty("a_plain_sheet", std::to_string(seconds / 100));
    EXPECT_LE(seconds, 0.5);
    EXPECT_EQ(static_cast<std::size_t>(width) * height * 3, device.read(1 << 20).data.size());
}

} // namespace driver_test
