// SPDX-License-Identifier: MIT
// Leptonica says why it fails by printing. Its messages are taken for the log where they are collected, and go to
// standard error everywhere else: the application may use Leptonica too. Tested by driver_feed_test.
#include "pix.h"

#include <cstdio>

namespace virtual_scanner {

namespace {

thread_local collected_messages *collecting = nullptr;

void take_message(const char *text)
{
    if (collecting != nullptr)
        collecting->add(text);
    else
        std::fputs(text, stderr);
}

// Takes Leptonica's messages for as long as the library is loaded.
class message_handler {
public:
    message_handler() { leptSetStderrHandler(take_message); }
    ~message_handler() { leptSetStderrHandler(nullptr); }
    message_handler(const message_handler &) = delete;
    message_handler &operator=(const message_handler &) = delete;
};

const message_handler handler;

} // namespace

collected_messages::collected_messages() : outer_(collecting)
{
    collecting = this;
}

collected_messages::~collected_messages()
{
    collecting = outer_;
}

void collected_messages::add(const char *text)
{
    if (text_.empty())
        text_ = text;
}

std::string collected_messages::reason() const
{
    const std::string line = text_.substr(0, text_.find('\n'));
    return line.empty() ? "it is no image that can be used" : line;
}

} // namespace virtual_scanner
