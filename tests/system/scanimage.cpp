// SPDX-License-Identifier: MIT
// Test in, private surroundings and scanimage's answers out.
#include "scanimage.h"

#include "application.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ios>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace system_test {

namespace fs = std::filesystem;

std::string read_file(const std::string &path)
{
    std::ostringstream text; // a byte at a time takes seconds for a large page
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<std::string> lines_of(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

int occurrences(const std::string &text, const std::string &part)
{
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

void expect_no_sanitizer_report(const std::string &messages)
{
    EXPECT_FALSE(contains(messages, "Sanitizer") || contains(messages, "runtime error")) << messages;
}

namespace {

std::string make_folder()
{
    std::string name = (fs::temp_directory_path() / "pelsane-system-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    return name;
}

} // namespace

scanimage::scanimage() : folder_(make_folder())
{
    const char *search_path = std::getenv("PATH");
    variables_["PATH"] = search_path != nullptr ? search_path : "/usr/bin:/bin";
    variables_["HOME"] = folder_;
    variables_["LC_ALL"] = "C.UTF-8";
    variables_["SANE_CONFIG_DIR"] = path("sane.d");
    variables_["LD_LIBRARY_PATH"] = PELSANE_LIBRARIES;
    variables_["LD_PRELOAD"] = PELSANE_PRELOADED;
    // The leak checker's guess of where loaded libraries' thread-local variables lie crashes it at times. Those of the
    // backend are in allocated blocks, which it finds without.
    variables_["ASAN_OPTIONS"] = "detect_leaks=1:intercept_tls_get_addr=0";
    variables_["UBSAN_OPTIONS"] = "print_stacktrace=1";
    fs::create_directories(path("sane.d/dll.d"));
    write_file("sane.d/dll.conf", "");
    write_file("sane.d/dll.d/pelsane", "pelsane\n");
}

scanimage::~scanimage()
{
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

void scanimage::write_file(const std::string &name, const std::string &text) const
{
    std::ofstream file(path(name), std::ios::binary);
    file << text;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path(name));
}

void scanimage::use_profile_with(const std::string &from, const std::string &to)
{
    std::string text = read_file(PELSANE_PROFILE);
    const auto at = text.find(from);
    if (at == std::string::npos)
        throw std::runtime_error("the profile has no " + from);
    write_file("profile.json", text.replace(at, from.size(), to));
    set_variable("PELVIRTUAL_PROFILES", path("profile.json"));
}

std::vector<std::string> scanimage::environment() const
{
    std::vector<std::string> assignments;
    for (const auto &[name, value] : variables_)
        if (!value.empty())
            assignments.emplace_back(name).append("=").append(value);
    return assignments;
}

std::unique_ptr<application> scanimage::start(const arguments &command, const std::string &output_name) const
{
    return std::make_unique<application>(command, environment(), path(output_name));
}

outcome scanimage::run_command(const arguments &command) const
{
    const auto program = start(command);
    const int status = program->wait();
    expect_no_sanitizer_report(program->messages());
    return {status, read_file(path("output")), program->messages()};
}

outcome scanimage::run(const arguments &options) const
{
    arguments command{"scanimage"};
    command.insert(command.end(), options.begin(), options.end());
    return run_command(command);
}

outcome scanimage::scan_batch(const arguments &options, const std::string &format) const
{
    arguments all{"--format=" + format, "--batch=" + path("page-%d." + format)};
    all.insert(all.end(), options.begin(), options.end());
    return run(all);
}

std::vector<std::string> scanimage::pages(const std::string &format) const
{
    std::vector<std::string> paths;
    for (int number = 1;; ++number) {
        std::string file = path("page-" + std::to_string(number) + "." + format);
        if (!fs::exists(file))
            return paths;
        paths.push_back(std::move(file));
    }
}

} // namespace system_test
