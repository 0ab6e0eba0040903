// SPDX-License-Identifier: MIT
// A driver whose texts exceed their options' sizes: they are delivered whole, so the sizes say nothing of the room that
// they need. The program shows them as they are.
#include "backend.h"
#include "information.h"
#include "option.h"
#include "output.h"
#include "scanner.h"
#include "scripted.h"
#include "setting.h"

#include <gtest/gtest.h>

#include <string>

namespace inspect_test {
namespace {

using inspect::json_value;

class long_texts : public testing::Test {
protected:
    long_texts()
    {
        scripted::reset();
        scripted::set_devices({{"scripted:1", "Vendor", "Model", "sheetfed scanner"}});
    }
    ~long_texts() override { scripted::reset(); }

    static inspect::option read(const std::string &description)
    {
        scripted::set_option(1, "text", description);
        const inspect::backend sane;
        const inspect::scanner device("scripted:1");
        return inspect::read_options(device).at(0);
    }
};

const std::string longest(100000, 'x');

} // namespace

TEST_F(long_texts, are_read_whole)
{
    for (const char *size : {"0", "1", "4", "-1"}) {
        std::string text = R"({"type":"string","size":)";
        text.append(size).append(R"(,"cur":")").append(longest);
        text.append(R"(","default":"d)").append(longest).append("\"}");
        const auto shown = read(text);
        EXPECT_EQ(shown.current, json_value(longest)) << size;
        EXPECT_EQ(shown.default_value, json_value("d" + longest)) << size;
    }
}

TEST_F(long_texts, that_fit_are_read_without_their_padding)
{
    const auto shown = read(R"({"type":"string","size":64,"cur":"abc","default":"d"})");
    EXPECT_EQ(shown.current, json_value("abc"));
    EXPECT_EQ(shown.default_value, json_value("d"));
}

TEST_F(long_texts, do_not_hide_words_of_any_size)
{
    EXPECT_EQ(read(R"({"type":"int","cur":7})").current, json_value(7));
    EXPECT_EQ(read(R"({"type":"bool","size":1,"cur":true})").current, json_value(true));
    EXPECT_EQ(read(R"({"type":"float","size":12,"cur":1.5,"range":[1.5]})").current, json_value(1.5));
}

TEST_F(long_texts, are_set_with_their_own_room)
{
    scripted::set_option(1, "text", R"({"type":"string","size":4,"cur":"abc"})");
    const inspect::backend sane;
    const inspect::scanner device("scripted:1");
    const auto outcome = inspect::apply(device, inspect::read_options(device), {"text", longest});
    EXPECT_EQ(outcome.applied, json_value(longest));
}

TEST_F(long_texts, fill_an_information_item_to_its_last_byte)
{
    scripted::set_option(1, "text", R"({"type":"string","size":4})");
    scripted::set_information("dev-sn", std::string(255, 's'));
    const inspect::backend sane;
    const inspect::scanner device("scripted:1");
    const auto items = inspect::read_information(device);
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].value, json_value(std::string(255, 's')));
}

} // namespace inspect_test
