// SPDX-License-Identifier: MIT
// The process under a locale whose decimal point is another one.
#ifndef PELSANE_TESTS_FOREIGN_LOCALE_H
#define PELSANE_TESTS_FOREIGN_LOCALE_H

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <utility>

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
    void install() const
    {
        ASSERT_EQ(setenv("LOCPATH", PELSANE_LOCALES, 1), 0);
        ASSERT_NE(std::setlocale(LC_ALL, name().c_str()), nullptr);
        ASSERT_STREQ(localeconv()->decimal_point, decimal_point());
    }

private:
    std::string language_;
};

#endif
