// SPDX-License-Identifier: MIT
// Texts, a time and a formatted message in; one line out, at most PIPE_BUF bytes with its line end. The last byte of
// the buffer is kept for the line end; until then printf's terminator may stand there. Covered by
// tests/virtual/commonlog_test.cpp.
#include "line.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

namespace commonlog {
namespace {

struct date {
    long year;
    long month;
    long day;
};

// Years are counted from March, so that the leap day is a year's last: the days before a month are then the same in
// every year, and 400 years have always 146097 days. 719468 days lie between 0000-03-01 and 1970-01-01.
date date_of_day(long days_since_1970)
{
    const long days = days_since_1970 + 719468;
    const long era = (days >= 0 ? days : days - 146096) / 146097;
    const long day_of_era = days - era * 146097;
    const long year_of_era = (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const long day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const long month_from_march = (5 * day_of_year + 2) / 153;
    const long day = day_of_year - (153 * month_from_march + 2) / 5 + 1;
    const long month = month_from_march < 10 ? month_from_march + 3 : month_from_march - 9;
    return {era * 400 + year_of_era + (month <= 2 ? 1 : 0), month, day};
}

bool is_utf8_continuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

bool is_control(char byte)
{
    const auto code = static_cast<unsigned char>(byte);
    return code < 0x20 || code == 0x7F;
}

// The controls above ASCII, U+0080 to U+009F, some of which terminals obey, are this byte and one more.
constexpr char high_control_lead = '\xC2';

bool is_high_control_tail(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xE0U) == 0x80U;
}

} // namespace

void line::append(std::string_view text)
{
    const std::size_t fitting = std::min(text.size(), text_capacity - length_);
    std::memcpy(buffer_ + length_, text.data(), fitting);
    length_ += fitting;
    is_cut_ = is_cut_ || fitting < text.size();
}

void line::append_number(long value, int digits)
{
    char text[20];
    for (int place = digits - 1; place >= 0; --place, value /= 10)
        text[place] = static_cast<char>('0' + value % 10);
    append({text, static_cast<std::size_t>(digits)});
}

void line::append_time(const timespec &moment)
{
    constexpr long seconds_per_day = 86400;
    const long days = (moment.tv_sec >= 0 ? moment.tv_sec : moment.tv_sec - (seconds_per_day - 1)) / seconds_per_day;
    const long second = moment.tv_sec - days * seconds_per_day;
    const date today = date_of_day(days);
    const struct {
        long value;
        int digits;
        char separator;
    } parts[] = {{today.month, 2, '-'},      {today.day, 2, '-'},   {second / 3600, 2, 'T'},
                 {second / 60 % 60, 2, ':'}, {second % 60, 2, ':'}, {moment.tv_nsec / 1000000, 3, '.'}};

    append_number(today.year, 4);
    for (const auto &part : parts) {
        append({&part.separator, 1});
        append_number(part.value, part.digits);
    }
    append("Z");
}

void line::append_format(const char *format, va_list arguments)
{
    const std::size_t room = text_capacity - length_;
    const int needed = std::vsnprintf(buffer_ + length_, room + 1, format, arguments);
    if (needed < 0) {
        append(format);
        return;
    }
    const auto size = static_cast<std::size_t>(needed);
    length_ += std::min(size, room);
    is_cut_ = is_cut_ || size > room;
}

void line::show_cut()
{
    constexpr std::string_view mark = "...";
    constexpr std::size_t longest_continuation = 3;
    length_ = text_capacity - mark.size();
    for (std::size_t back = 0; back < longest_continuation && is_utf8_continuation(buffer_[length_]); ++back)
        --length_;
    append(mark);
}

void line::clean()
{
    for (std::size_t at = 0; at < length_; ++at) {
        char &byte = buffer_[at];
        if (byte == '\n' || byte == '\r' || byte == '\t') {
            byte = ' ';
        } else if (is_control(byte)) {
            byte = '?';
        } else if (byte == high_control_lead && at + 1 < length_ && is_high_control_tail(buffer_[at + 1])) {
            byte = '?';
            buffer_[++at] = '?';
        }
    }
}

std::string_view line::finish()
{
    if (is_cut_)
        show_cut();
    clean();
    buffer_[length_++] = '\n';
    return {buffer_, length_};
}

} // namespace commonlog
