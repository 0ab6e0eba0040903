// SPDX-License-Identifier: MIT
// What a library finds around it in a process (environment, files, standard error), changed for the length of a scope.
#ifndef PELSANE_TESTS_SURROUNDINGS_H
#define PELSANE_TESTS_SURROUNDINGS_H

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <ios>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace surroundings {

namespace fs = std::filesystem;

// NOLINTBEGIN(concurrency-mt-unsafe): no other thread is running while the environment changes.

// Sets a variable, or with null removes it, for its own lifetime.
class environment_variable {
public:
    environment_variable(const char *name, const char *value) : name_(name)
    {
        if (const char *earlier = getenv(name))
            earlier_ = earlier;
        set(value);
    }
    ~environment_variable() { set(earlier_ ? earlier_->c_str() : nullptr); }
    environment_variable(const environment_variable &) = delete;
    environment_variable &operator=(const environment_variable &) = delete;

private:
    void set(const char *value) const { value ? setenv(name_, value, 1) : unsetenv(name_); }

    const char *name_;
    std::optional<std::string> earlier_;
};

// NOLINTEND(concurrency-mt-unsafe)

class temporary_folder {
public:
    temporary_folder()
    {
        std::string pattern = (fs::temp_directory_path() / "pelsane_test_XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~temporary_folder() { fs::remove_all(path_); }
    temporary_folder(const temporary_folder &) = delete;
    temporary_folder &operator=(const temporary_folder &) = delete;

    [[nodiscard]] std::string file(const std::string &name) const { return (path_ / name).string(); }

private:
    fs::path path_;
};

inline std::string content_of(const std::string &path)
{
    std::ostringstream text; // a byte at a time takes seconds for a large page
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

inline std::vector<std::string> lines_of(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

// Points a descriptor elsewhere for its own lifetime.
class redirected_descriptor {
public:
    redirected_descriptor(int descriptor, int target) : descriptor_(descriptor), earlier_(dup(descriptor))
    {
        dup2(target, descriptor_);
    }
    ~redirected_descriptor()
    {
        dup2(earlier_, descriptor_);
        close(earlier_);
    }
    redirected_descriptor(const redirected_descriptor &) = delete;
    redirected_descriptor &operator=(const redirected_descriptor &) = delete;

private:
    int descriptor_;
    int earlier_;
};

template <typename Call> std::string standard_error_of(Call call)
{
    const temporary_folder folder;
    const std::string path = folder.file("standard_error");
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    {
        const redirected_descriptor redirected(STDERR_FILENO, file);
        call();
    }
    close(file);
    return content_of(path);
}

} // namespace surroundings

#endif
