// SPDX-License-Identifier: MIT
// "scan": one page, or all that are in the feeder, each into a file, with a bar that moves and the driver's events as
// they come. Events arrive on the driver's thread, so one lock keeps what is shown apart.
// Tested by tests/tools/scan_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "event_log.h"
#include "failure.h"
#include "interruption.h"
#include "option.h"
#include "output.h"
#include "output_file.h"
#include "page.h"
#include "sane_pelsane.h"
#include "scanner.h"
#include "setting.h"

#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

namespace inspect {

namespace {

struct scan_arguments {
    std::string device;
    std::string file;
    std::string format;
    std::vector<std::string> settings;
    int count = 0;
    bool json = false;
};

// What the user sees while it scans.
class display {
public:
    display(bool json, bool prints_pages)
        : json_(json), prints_pages_(prints_pages), has_bar_(::isatty(STDERR_FILENO) != 0)
    {
    }

    void show(const event &reported)
    {
        const event_record record = record_of(reported);
        const std::lock_guard<std::mutex> lock(lock_);
        clear_bar();
        if (json_)
            print_json_line(as_json(record));
        else
            print_message(as_text(record) + "\n");
    }

    void show_progress(int page_number, double share)
    {
        constexpr int width = 40;
        const int filled = static_cast<int>(share * width);
        const int percent = static_cast<int>(share * 100);
        const std::lock_guard<std::mutex> lock(lock_);
        if (!has_bar_ || (bar_shown_ && percent == percent_))
            return;
        percent_ = percent;
        bar_shown_ = true;
        print_message(
            fmt::format("\rpage {} [{:#<{}}{:.<{}}] {:3} %", page_number, "", filled, "", width - filled, percent));
    }

    void show(const page &scanned, const std::string &path)
    {
        const SANE_Parameters &parameters = scanned.parameters;
        const std::lock_guard<std::mutex> lock(lock_);
        clear_bar();
        if (json_)
            return print_json_line({{"file", path},
                                    {"width", parameters.pixels_per_line},
                                    {"height", parameters.lines},
                                    {"depth", parameters.depth},
                                    {"color", parameters.format == SANE_FRAME_RGB},
                                    {"complete", parameters.lines >= scanned.expected_lines}});
        std::string text = fmt::format("{}: {} x {}, {}\n", printable(path), parameters.pixels_per_line,
                                       parameters.lines, kind_of(parameters));
        if (parameters.lines < scanned.expected_lines)
            text += fmt::format("  incomplete: {} lines were expected\n", scanned.expected_lines);
        if (prints_pages_)
            return print_message(text);
        print(text);
        std::fflush(stdout);
    }

    void end()
    {
        const std::lock_guard<std::mutex> lock(lock_);
        clear_bar();
    }

private:
    static std::string kind_of(const SANE_Parameters &parameters)
    {
        if (parameters.format == SANE_FRAME_RGB)
            return "color";
        return parameters.depth == 1 ? "black and white" : fmt::format("gray, {} bits", parameters.depth);
    }

    void clear_bar()
    {
        if (bar_shown_)
            print_message("\r\033[K");
        bar_shown_ = false;
    }

    std::mutex lock_;
    bool json_;
    bool prints_pages_; // the images themselves, to standard output
    bool has_bar_;
    bool bar_shown_ = false;
    int percent_ = 0;
};

// Ends the job however the scan ends, and takes the bar away.
class job {
public:
    job(const scanner &device, display &shown) : device_(device), shown_(shown) {}
    ~job()
    {
        sane_pelsane_cancel(device_.handle());
        shown_.end();
    }
    job(const job &) = delete;
    job &operator=(const job &) = delete;

private:
    const scanner &device_;
    display &shown_;
};

// Where the page's number goes in a file's name: "%d", or with leading zeros "%03d".
struct number_place {
    std::size_t at;
    std::size_t length; // 0: there is none
    int digits;
};

number_place number_place_in(const std::string &name)
{
    for (auto at = name.find('%'); at != std::string::npos; at = name.find('%', at + 1)) {
        const auto end = name.find_first_not_of("0123456789", at + 1);
        if (end != std::string::npos && name[end] == 'd' && end - at <= 3)
            return {at, end + 1 - at, end > at + 1 ? std::stoi(name.substr(at + 1, end - at - 1)) : 1};
    }
    return {0, 0, 0};
}

std::string file_of_page(const std::string &name, int number)
{
    const number_place place = number_place_in(name);
    std::string file = name;
    if (place.length > 0)
        file.replace(place.at, place.length, fmt::format("{:0{}}", number, place.digits));
    return file;
}

int resolution_of(const scanner &device)
{
    for (const option &each : read_options(device))
        if (each.name == "resolution" && each.current.is_number())
            return each.current.get<int>();
    return 0;
}

// False at the end of the feeder, once there was a page.
bool start_page(const scanner &device, int number)
{
    if (interruption::happened())
        throw failure(exit_status::interrupted, "interrupted");
    const SANE_Status status = sane_pelsane_start(device.handle());
    if (interruption::happened())
        throw failure(exit_status::interrupted, "interrupted");
    if (status == SANE_STATUS_NO_DOCS && number > 1)
        return false;
    device.check(status, fmt::format("page {}", number));
    return true;
}

exit_status scan(const scan_arguments &arguments)
{
    require_one_output(arguments.file, arguments.json);
    const file_format format =
        arguments.format.empty() ? format_of_file(arguments.file) : format_named(arguments.format);
    const bool batch = number_place_in(arguments.file).length > 0;
    if (!batch && arguments.count > 1)
        throw failure(exit_status::usage, "the file needs \"%d\" in its name for more than one page");
    const int last_page = batch ? arguments.count : 1;
    require_place_for(file_of_page(arguments.file, 1)); // a page cannot be fed again

    display shown(arguments.json, is_standard_output(arguments.file));
    const backend sane([&shown](const event &reported) { shown.show(reported); });
    const scanner device(arguments.device);
    apply_all(device, arguments.settings);
    const int dpi = resolution_of(device);
    const interruption signals(device.handle());
    const job running(device, shown);
    for (int number = 1; (last_page == 0 || number <= last_page) && start_page(device, number); ++number) {
        const page scanned =
            read_page(device, dpi, [&shown, number](double share) { shown.show_progress(number, share); });
        const std::string path = file_of_page(arguments.file, number);
        write_page(scanned, path, format);
        shown.show(scanned, path);
    }
    return exit_status::done;
}

} // namespace

void add_scan_command(command_line &program)
{
    const auto arguments = std::make_shared<scan_arguments>();
    program
        .add_command("scan", "Scan one page, or all that are in the feeder, into files",
                     "Examples:\n"
                     "  pelsane-inspect scan -o page.png --set resolution=300\n"
                     "  pelsane-inspect scan virtual:duplex-feeder -o 'page-%03d.tiff' --count 10",
                     [arguments] { return scan(*arguments); })
        .device(arguments->device)
        .required_text(arguments->file, "-o,--output", "FILE",
                       "The file, or - for standard output; all pages are scanned when \"%d\" stands in it\n"
                       "for the page's number")
        .text(arguments->format, "--format", "FORMAT", "png, tiff or pnm; otherwise as the file's name ends")
        .count(arguments->count, "--count", "No more than this many pages")
        .settings(arguments->settings)
        .json(arguments->json);
}

} // namespace inspect
