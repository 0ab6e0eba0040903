// SPDX-License-Identifier: MIT
// The library's file: the names that it shows, the libraries that it needs, where it looks for them.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <istream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>

namespace {

struct pipe_closer {
    void operator()(std::FILE *pipe) const { pclose(pipe); }
};

std::string output_of(const std::string &command)
{
    const std::unique_ptr<std::FILE, pipe_closer> pipe(popen(command.c_str(), "r"));
    std::string output;
    std::array<char, 4096> part;
    std::size_t length = 0;
    while (pipe != nullptr && (length = std::fread(part.data(), 1, part.size(), pipe.get())) != 0)
        output.append(part.data(), length);
    return output;
}

std::string dynamic_section()
{
    return output_of("readelf -dW " PELSANE_LIBRARY);
}

// "0000000000012345 T name": the kinds and names of all defined dynamic symbols.
std::set<std::pair<char, std::string>> shown_symbols()
{
    std::istringstream lines(output_of("nm -D -C --defined-only " PELSANE_LIBRARY));
    std::set<std::pair<char, std::string>> symbols;
    std::string address;
    char kind = 0;
    std::string name;
    while (lines >> address >> kind && std::getline(lines >> std::ws, name))
        symbols.emplace(kind, name);
    return symbols;
}

std::set<std::string> all_matches(const std::string &text, const std::string &pattern)
{
    const std::regex expression(pattern);
    std::set<std::string> matches;
    for (std::sregex_iterator i(text.begin(), text.end(), expression), end; i != end; ++i)
        matches.insert((*i)[1].str());
    return matches;
}

const std::set<std::string> expected_names = {
    "sane_pelsane_init",
    "sane_pelsane_init_ex",
    "sane_pelsane_exit",
    "sane_pelsane_get_devices",
    "sane_pelsane_open",
    "sane_pelsane_close",
    "sane_pelsane_get_option_descriptor",
    "sane_pelsane_get_option_descriptor_ex",
    "sane_pelsane_control_option",
    "sane_pelsane_control_option_ex",
    "sane_pelsane_get_parameters",
    "sane_pelsane_get_parameters_ex",
    "sane_pelsane_start",
    "sane_pelsane_read",
    "sane_pelsane_cancel",
    "sane_pelsane_set_io_mode",
    "sane_pelsane_get_select_fd",
    "sane_pelsane_strstatus",
    "sane_pelsane_err_desc",
    "sane_pelsane_io_control",
    "sane_pelsane_read_ext_info",
    "sane_ex_get_driver_version",
    "inner_sane_init",
    "inner_sane_init_ex",
    "inner_sane_exit",
    "inner_sane_get_devices",
    "inner_sane_open",
    "inner_sane_close",
    "inner_sane_get_option_descriptor",
    "inner_sane_control_option",
    "inner_sane_get_parameters",
    "inner_sane_get_parameters_ex",
    "inner_sane_start",
    "inner_sane_read",
    "inner_sane_cancel",
    "inner_sane_set_io_mode",
    "inner_sane_get_select_fd",
    "inner_sane_strstatus",
    "inner_sane_err_desc",
    "inner_sane_io_control",
    "inner_sane_read_ext",
    "inner_sane_ex_get_driver_version",
    "sanei_debug_msg",
    "sanei_debug_pelsane",
    "kx_sane_middleware::instance()",
    "kx_sane_middleware::clear()",
    "kx_sane_middleware::is_ready()",
    "kx_sane_middleware::set_callback(int (*)(void*, int, void*, unsigned int*, void*), void*)",
    "kx_sane_middleware::sane_path[abi:cxx11]()",
    "kx_sane_middleware::language_changed(int, void*)",
    "local_utility::get_version(int*)",
};

} // namespace

TEST(exported_names, are_the_documented_ones_and_no_others)
{
    std::set<std::string> names;
    for (const auto &symbol : shown_symbols())
        names.insert(symbol.second);
    EXPECT_EQ(expected_names, names);
}

TEST(exported_names, are_never_unique_in_the_process)
{
    for (const auto &[kind, name] : shown_symbols())
        EXPECT_NE('u', kind) << name;
}

TEST(library_file, has_the_name_that_applications_look_for)
{
    const std::string path = PELSANE_LIBRARY;
    EXPECT_EQ("libsane-pelsane.so.1", path.substr(path.rfind('/') + 1));
    EXPECT_EQ(std::set<std::string>({"libsane-pelsane.so.1"}),
              all_matches(dynamic_section(), "\\(SONAME\\)[^\\[]*\\[([^\\]]*)\\]"));
}

TEST(library_file, needs_the_platform_libraries_by_their_names_and_the_runtime)
{
    const std::regex runtime("lib(c|m|gcc_s|stdc\\+\\+|asan|ubsan|tsan|cjson)\\.so\\.[0-9]+|ld-linux.*");
    std::set<std::string> needed = all_matches(dynamic_section(), "\\(NEEDED\\)[^\\[]*\\[([^\\]]*)\\]");
    EXPECT_EQ(1U, needed.count("libcjson.so.1"));
    for (auto each = needed.begin(); each != needed.end();)
        each = std::regex_match(*each, runtime) ? needed.erase(each) : std::next(each);
    EXPECT_EQ(std::set<std::string>({"libpeldriver.so", "liblangkit.so", "libcommonlog.so"}), needed);
}

TEST(library_file, names_no_path_to_other_libraries)
{
    EXPECT_EQ(std::set<std::string>(), all_matches(dynamic_section(), "\\((RPATH|RUNPATH)\\)"));
}

TEST(library_file, binds_its_own_calls_inside)
{
    EXPECT_EQ(std::set<std::string>({"SYMBOLIC"}), all_matches(dynamic_section(), "\\((SYMBOLIC)\\)"));
}
