// SPDX-License-Identifier: MIT
// The process under a locale whose decimal point is another one. The locales are compiled for the tests alone.
#ifndef PELSANE_TESTS_FOREIGN_LOCALE_H
#define PELSANE_TESTS_FOREIGN_LOCALE_H

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

// Compiled locales in a folder of their own, made once in a process.
class compiled_locales {
public:
    compiled_locales()
    {
        char pattern[] = "/tmp/foreign-locale-XXXXXX";
        if (mkdtemp(pattern) != nullptr)
            folder_ = pattern;
    }
    ~compiled_locales()
    {
        if (!folder_.empty())
            std::filesystem::remove_all(folder_);
    }
    compiled_locales(const compiled_locales &) = delete;
    compiled_locales &operator=(const compiled_locales &) = delete;

    bool make(const std::string &language) const
    {
        const std::string made = folder_ + "/" + language + ".UTF-8";
        return !folder_.empty() && (std::filesystem::exists(made) ||
                                    std::system(("localedef -i " + language + " -f UTF-8 " + made).c_str()) == 0);
    }
    const char *folder() const { return folder_.c_str(); }

private:
    std::string folder_;
};

class foreign_locale {
public:
    // "de_DE" has decimal commas, the decimal point of "ps_AF" is U+066B, which is two bytes.
    explicit foreign_locale(std::string language) : language_(std::move(language)) {}
    ~foreign_locale()
    {
        std::setlocale(LC_ALL, "C");
        unsetenv("LOCPATH");
    }
    foreign_locale(const foreign_locale &) = delete;
    foreign_locale &operator=(const foreign_locale &) = delete;

    std::string name() const { return language_ + ".UTF-8"; }
    const char *decimal_point() const { return language_ == "de_DE" ? "," : "\u066B"; }

    // Fatal failure of the test when the locale cannot be had.
    void install()
    {
        static const compiled_locales compiled;
        ASSERT_TRUE(compiled.make(language_));
        ASSERT_EQ(setenv("LOCPATH", compiled.folder(), 1), 0);
        ASSERT_NE(std::setlocale(LC_ALL, name().c_str()), nullptr);
        ASSERT_STREQ(localeconv()->decimal_point, decimal_point());
    }

private:
    std::string language_;
};

#endif
