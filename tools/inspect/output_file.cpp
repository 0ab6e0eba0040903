// SPDX-License-Identifier: MIT
// Written under a name of this process's own in the same folder, then renamed: whoever looks sees the old file or the
// whole new one. Tested by tests/tools/scan_test.cpp.
#include "output_file.h"

#include "failure.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <string>
#include <system_error>
#include <unistd.h>

namespace inspect {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string &path)
{
    throw failure(exit_status::output_failed, fmt::format("{}: {}", path, std::generic_category().message(errno)));
}

// A link stays one: the file that it leads to is replaced.
std::string file_behind(const std::string &path)
{
    std::error_code error;
    const fs::path target = fs::canonical(path, error);
    return error ? path : target.string();
}

bool can_be_replaced(const std::string &path)
{
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return !fs::exists(status) || fs::is_regular_file(status);
}

} // namespace

output_file::output_file(const std::string &path) : path_(file_behind(path))
{
    if (is_standard_output(path)) {
        path_ = "standard output";
        stream_.reset(stdout);
        return;
    }
    if (can_be_replaced(path_))
        partial_ = fmt::format("{}.{}.partial", path_, ::getpid());
    stream_.reset(std::fopen((partial_.empty() ? path_ : partial_).c_str(), partial_.empty() ? "wb" : "wbx"));
    if (stream_ == nullptr) {
        partial_.clear();
        fail(path);
    }
}

output_file::~output_file()
{
    stream_.reset();
    if (!partial_.empty())
        ::unlink(partial_.c_str());
}

void output_file::commit()
{
    const bool written = std::fflush(stream_.get()) == 0 && std::ferror(stream_.get()) == 0;
    if (!written || close(stream_.release()) != 0)
        fail(path_);
    if (!partial_.empty() && std::rename(partial_.c_str(), path_.c_str()) != 0)
        fail(path_);
    partial_.clear();
}

bool is_standard_output(const std::string &path)
{
    return path == "-";
}

void require_place_for(const std::string &path)
{
    if (is_standard_output(path))
        return;
    if (std::error_code error; fs::is_directory(path, error)) {
        errno = EISDIR;
        fail(path);
    }
    if (can_be_replaced(file_behind(path)))
        const output_file trial(path); // nothing is left of it
}

void require_one_output(const std::string &path, bool json)
{
    if (json && is_standard_output(path))
        throw failure(exit_status::usage, "standard output cannot take both the file and JSON");
}

} // namespace inspect
