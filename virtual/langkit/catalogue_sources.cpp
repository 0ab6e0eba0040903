// SPDX-License-Identifier: MIT
// From files to catalogues by language. A user's folder may hold anything: each file stands for itself, and its failure
// is a line in the log and nothing else. Covered by tests/virtual/langkit_test.cpp.
#include "catalogue_sources.h"

#include "catalogue.h"
#include "commonlog.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <ios>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace langkit {
namespace {

namespace fs = std::filesystem;

struct log_deleter {
    void operator()(void *log) const { DisableLog(log); }
};
using unique_log = std::unique_ptr<void, log_deleter>;

class loader {
public:
    void add_built_in();
    void add_folder(const fs::path &folder);
    [[nodiscard]] catalogue_map take() { return std::move(catalogues_); }

private:
    template <typename Read> void add(const std::string &name, Read read);
    void report(const std::string &name, const char *reason) const;

    unique_log log_{EnableLog(0, "pelsane", "langkit")};
    catalogue_map catalogues_;
};

std::string read_file(const fs::path &path)
{
    // A folder, a device or a pipe would give no text, no end, or no answer.
    if (!fs::is_regular_file(path))
        throw std::runtime_error("not a regular file");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::system_error(errno, std::generic_category(), "cannot be opened");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool is_folder(const char *path)
{
    std::error_code unknown;
    return fs::is_directory(path, unknown);
}

std::vector<fs::path> catalogue_files(const fs::path &folder)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".json")
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void loader::report(const std::string &name, const char *reason) const
{
    WarnLog(log_.get(), "language catalogue %s is left out: %s", name.c_str(), reason);
}

template <typename Read> void loader::add(const std::string &name, Read read)
{
    try {
        catalogue added = parse_catalogue(read());
        catalogue &base = catalogues_[added.language];
        merge(base, std::move(added));
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &failure) {
        report(name, failure.what());
    }
}

void loader::add_built_in()
{
    for (const catalogue_source &source : built_in_catalogues())
        add(source.name, [&] { return source.text; });
}

void loader::add_folder(const fs::path &folder)
{
    try {
        for (const fs::path &file : catalogue_files(folder))
            add(file.string(), [&] { return read_file(file); });
    } catch (const fs::filesystem_error &failure) {
        report(folder.string(), failure.code().message().c_str());
    }
}

} // namespace

catalogue_map load_catalogues()
{
    loader all;
    all.add_built_in();
    if (const char *folder = secure_getenv("PELLANG_CATALOGUES")) {
        if (*folder)
            all.add_folder(folder);
    } else if (is_folder(PELLANG_SYSTEM_CATALOGUES)) {
        all.add_folder(PELLANG_SYSTEM_CATALOGUES);
    }
    return all.take();
}

} // namespace langkit
