// SPDX-License-Identifier: MIT
// The process under de_DE.UTF-8, whose decimals have commas. The locale is compiled for the tests alone.
#ifndef PELSANE_TESTS_COMMA_LOCALE_H
#define PELSANE_TESTS_COMMA_LOCALE_H

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

// The compiled locale in a folder of its own, made once in a process.
class compiled_locale {
public:
    compiled_locale()
    {
        char pattern[] = "/tmp/comma-locale-XXXXXX";
        if (mkdtemp(pattern) == nullptr)
            return;
        folder_ = pattern;
        const std::string command = "localedef -i de_DE -f UTF-8 " + folder_ + "/de_DE.UTF-8";
        is_made_ = std::system(command.c_str()) == 0;
    }
    ~compiled_locale()
    {
        if (!folder_.empty())
            std::filesystem::remove_all(folder_);
    }
    compiled_locale(const compiled_locale &) = delete;
    compiled_locale &operator=(const compiled_locale &) = delete;

    bool is_made() const { return is_made_; }
    const char *folder() const { return folder_.c_str(); }

private:
    std::string folder_;
    bool is_made_ = false;
};

class comma_locale {
public:
    comma_locale() = default;
    ~comma_locale()
    {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
    }
    comma_locale(const comma_locale &) = delete;
    comma_locale &operator=(const comma_locale &) = delete;

    // Fatal failure of the test when the locale cannot be had.
    void install()
    {
        static const compiled_locale compiled;
        ASSERT_TRUE(compiled.is_made());
        ASSERT_EQ(setenv("LOCPATH", compiled.folder(), 1), 0);
        ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
        ASSERT_STREQ(localeconv()->decimal_point, ",");
    }
};

#endif
