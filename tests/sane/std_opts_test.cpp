// SPDX-License-Identifier: MIT
// The mapper of the well-known options by itself: its list, defaults, both directions of a value.
#include "scripted.h"
#include "std_opts.h"

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using texts = std::vector<std::string>;

constexpr int base = 10, page_width = 10, page_height = 11, duplex = 12;

class std_opts : public testing::Test {
protected:
    void SetUp() override
    {
        scripted::reset();
        offer(1, paper_);
        offer(2, page_);
    }

    void offer(int number, SANE_Option_Descriptor &option) { mapper_.init_known_opt(number, &option); }

    static SANE_Option_Descriptor option(const char *name, SANE_Int size)
    {
        SANE_Option_Descriptor made = {};
        made.name = name;
        made.title = "";
        made.desc = "";
        made.type = SANE_TYPE_STRING;
        made.size = size;
        return made;
    }

    static void script_page(const std::string &description) { scripted::set_option(2, "page", description); }

    // What a read leaves in a word that held 99.
    SANE_Word read(int number)
    {
        SANE_Word word = 99;
        EXPECT_EQ(mapper_.get_value(scanner_, number, &word), 256);
        return word;
    }

    void *scanner_ = reinterpret_cast<void *>(0x100000002);
    SANE_Option_Descriptor paper_ = option("paper", 44);
    SANE_Option_Descriptor page_ = option("page", 20);
    sane_std_opts mapper_{base};
};

} // namespace

// ----- the list -----

TEST_F(std_opts, options_are_found_by_number)
{
    const std::pair<int, const char *> expected[] = {
        {page_width, "page-width"}, {page_height, "page-height"}, {duplex, "duplex"}};
    int position = 0;
    for (const auto &[number, name] : expected) {
        int index = -5;
        const auto *found = mapper_.get_known_option(number, &index);
        ASSERT_NE(found, nullptr) << name;
        EXPECT_STREQ(found->name, name);
        EXPECT_EQ(index, position++);
        EXPECT_EQ(mapper_.get_option(number), found);
        EXPECT_EQ(mapper_.get_known_option(number, nullptr), found);
    }
}

TEST_F(std_opts, options_are_found_by_name)
{
    int index = -5;
    EXPECT_EQ(mapper_.get_known_option("duplex", &index), mapper_.get_option(duplex));
    EXPECT_EQ(index, 2);
    EXPECT_EQ(mapper_.get_known_option("page-width", nullptr), mapper_.get_option(page_width));
}

TEST_F(std_opts, what_is_not_there_has_no_position)
{
    for (const int number : {-1, 0, 1, 9, 13, INT_MAX, INT_MIN}) {
        int index = -5;
        EXPECT_EQ(mapper_.get_known_option(number, &index), nullptr) << number;
        EXPECT_EQ(index, -1) << number;
        EXPECT_EQ(mapper_.get_option(number), nullptr) << number;
    }
    for (const char *name : {"", "Duplex", "page", "paper", "page-width "}) {
        int index = -5;
        EXPECT_EQ(mapper_.get_known_option(name, &index), nullptr) << name;
        EXPECT_EQ(index, -1) << name;
    }
}

TEST_F(std_opts, an_options_driver_option_is_told)
{
    SANE_Option_Descriptor *behind = nullptr;
    EXPECT_TRUE(mapper_.is_known_option(page_height, &behind));
    EXPECT_EQ(behind, &paper_);
    EXPECT_TRUE(mapper_.is_known_option(duplex, &behind));
    EXPECT_EQ(behind, &page_);
    EXPECT_TRUE(mapper_.is_known_option(duplex, nullptr));
    behind = &paper_;
    EXPECT_FALSE(mapper_.is_known_option(-1, &behind));
    EXPECT_EQ(behind, &paper_);
    EXPECT_FALSE(mapper_.is_known_option(2, nullptr));
}

TEST_F(std_opts, other_driver_options_add_nothing)
{
    sane_std_opts mapper(5);
    for (const char *name : {"Paper", "pages", "duplex", "page-width", ""}) {
        SANE_Option_Descriptor other = option(name, 4);
        mapper.init_known_opt(1, &other);
        EXPECT_EQ(mapper.get_option(5), nullptr) << name;
    }
}

TEST_F(std_opts, a_cleared_list_can_be_filled_again)
{
    const auto *width = mapper_.get_option(page_width);
    const auto *sides = mapper_.get_option(duplex);
    mapper_.clear();
    EXPECT_EQ(mapper_.get_option(page_width), nullptr);
    offer(2, page_);
    offer(1, paper_);
    EXPECT_EQ(mapper_.get_option(10), sides);
    EXPECT_EQ(mapper_.get_option(11), width);
    EXPECT_STREQ(mapper_.get_option(12)->name, "page-height");
}

// ----- defaults -----

TEST_F(std_opts, defaults_are_words)
{
    const std::pair<int, SANE_Word> expected[] = {{page_width, 210}, {page_height, 297}, {duplex, 1}};
    for (const auto &[number, word] : expected) {
        const auto value = mapper_.get_default_value(nullptr, number);
        ASSERT_NE(value, nullptr) << number;
        SANE_Word held = 0;
        std::memcpy(&held, value.get(), sizeof(held));
        EXPECT_EQ(held, word) << number;
    }
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(std_opts, an_unknown_number_has_no_default)
{
    for (const int number : {-1, 1, 13})
        EXPECT_EQ(mapper_.get_default_value(scanner_, number), nullptr) << number;
}

// ----- reading -----

TEST_F(std_opts, duplex_reads_the_sides)
{
    struct {
        const char *cur;
        SANE_Word word;
    } const cases[] = {{"单面", 0}, {"双面", 1}, {"whatever", 1}, {"", 1}};
    for (const auto &c : cases) {
        script_page(std::string(R"({"type":"string","size":20,"cur":")") + c.cur + "\"}");
        EXPECT_EQ(read(duplex), c.word) << c.cur;
    }
}

TEST_F(std_opts, duplex_reads_a_driver_option_without_text_as_two_sided)
{
    for (const char *description : {R"({"type":"bool","size":4,"cur":false})", R"({"type":"bool","size":4,"cur":true})",
                                    R"({"type":"int","size":4,"cur":0})", R"({"type":"float","size":4,"cur":1.5})"}) {
        script_page(description);
        EXPECT_EQ(read(duplex), 1) << description;
    }
}

TEST_F(std_opts, duplex_reads_in_the_users_language)
{
    scripted::set_translation("单面", "one side");
    script_page(R"({"type":"string","size":20,"cur":"one side"})");
    EXPECT_EQ(read(duplex), 0);
    script_page(R"({"type":"string","size":20,"cur":"单面"})");
    EXPECT_EQ(read(duplex), 1);
}

TEST_F(std_opts, a_text_longer_than_its_size_is_read_whole)
{
    script_page(R"({"type":"string","size":1,"cur":"单面"})");
    EXPECT_EQ(read(duplex), 0);
    script_page(R"({"type":"string","size":-5,"cur":"单面"})");
    EXPECT_EQ(read(duplex), 0);
    script_page(R"({"type":"string","size":6,"cur":"单面"})");
    EXPECT_EQ(read(duplex), 0);
    script_page(R"({"type":"string","cur":"单面"})");
    EXPECT_EQ(read(duplex), 0);
}

TEST_F(std_opts, the_driver_is_asked_for_the_length_first)
{
    scripted::set_option_text(2, "page", R"("page":{"type":"string","size":20,"cur":"x"})"); // 45 bytes
    read(duplex);
    const texts calls = scripted::calls_of("kx_scanner_get_parameter");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].rfind("kx_scanner_get_parameter(0x100000002,2,null,", 0), 0U) << calls[0];
    EXPECT_EQ(calls[1].rfind("kx_scanner_get_parameter(0x100000002,2,buffer,", 0), 0U) << calls[1];
}

TEST_F(std_opts, a_bare_object_is_understood_too)
{
    scripted::set_option_text(2, "page", R"({"type":"string","size":20,"cur":"单面"})");
    EXPECT_EQ(read(duplex), 0);
}

TEST_F(std_opts, a_driver_option_that_cannot_be_read_gives_no_value)
{
    EXPECT_EQ(read(duplex), 99); // the driver has no such option
    for (const char *description : {"{", "{}", R"({"type":"matrix","cur":"x"})", R"({"cur":"x"})", "7"}) {
        script_page(description);
        EXPECT_EQ(read(duplex), 99) << description;
    }
    script_page(R"({"type":"string","size":20,"cur":"单面"})");
    for (const int code : {0, 256, 269}) {
        scripted::answer("kx_scanner_get_parameter", code, 1, 40); // must ask for a buffer first
        EXPECT_EQ(read(duplex), 99) << code;
    }
    scripted::answer("kx_scanner_get_parameter", 258, 2, 100); // and then deliver
    EXPECT_EQ(read(duplex), 99);
}

TEST_F(std_opts, absurd_lengths_give_no_value)
{
    script_page(R"({"type":"string","size":20,"cur":"单面"})");
    for (const long length : {-1L, LONG_MIN, LONG_MAX}) {
        scripted::answer("kx_scanner_get_parameter", 258, 1, length);
        scripted::answer("kx_scanner_get_parameter", 269, 1);
        EXPECT_EQ(read(duplex), 99) << length;
        scripted::reset();
        script_page(R"({"type":"string","size":20,"cur":"单面"})");
    }
}

TEST_F(std_opts, a_text_of_negative_length_gives_no_value)
{
    scripted::answer("kx_scanner_get_parameter", 258, 1, 100);
    scripted::answer("kx_scanner_get_parameter", 0, 1, -1);
    EXPECT_EQ(read(duplex), 99);
}

TEST_F(std_opts, a_length_beyond_the_buffer_is_cut_to_it)
{
    const std::string text = R"("page":{"type":"string","size":20,"cur":"单面"})";
    scripted::on().get_parameter = [&text](void *, const void *, void *data, long *length, int *) {
        if (data == nullptr) {
            *length = static_cast<long>(text.size());
            return std::optional<int>(258);
        }
        std::memcpy(data, text.data(), text.size());
        *length = INT_MAX;
        return std::optional<int>(0);
    };
    EXPECT_EQ(read(duplex), 0);
}

TEST_F(std_opts, a_page_size_reads_as_nothing)
{
    scripted::set_option(1, "paper", R"({"type":"string","size":44,"cur":"A3"})");
    EXPECT_EQ(read(page_width), 99);
    EXPECT_EQ(read(page_height), 99);
}

TEST_F(std_opts, an_unknown_number_reads_as_nothing)
{
    for (const int number : {-1, 1, 13})
        EXPECT_EQ(read(number), 99) << number;
    EXPECT_TRUE(scripted::record().empty());
}

// ----- writing -----

TEST_F(std_opts, an_unknown_number_cannot_be_written)
{
    for (const int number : {-1, 1, 13}) {
        SANE_Word word = 1;
        EXPECT_EQ(mapper_.set_value(scanner_, number, &word), 256) << number;
    }
    EXPECT_TRUE(scripted::record().empty());
}

TEST_F(std_opts, the_drivers_answer_is_the_result)
{
    for (const int code : {0, 256, 259, 261, 262, 277, 278, 269, 999, -1}) {
        scripted::answer("kx_scanner_set_parameter", code, 1);
        SANE_Word word = 1;
        EXPECT_EQ(mapper_.set_value(scanner_, duplex, &word), code);
        EXPECT_EQ(word, 1);
    }
}

TEST_F(std_opts, an_adjusted_text_comes_back_for_261_only)
{
    const std::string one_side = "单面";
    const scripted::bytes rewritten(one_side.c_str(), one_side.c_str() + one_side.size() + 1);
    const std::pair<int, SANE_Word> cases[] = {{0, 1}, {261, 0}, {262, 1}, {269, 1}};
    for (const auto &[code, after] : cases) {
        scripted::answer_write("2", code, rewritten);
        SANE_Word word = 1;
        mapper_.set_value(scanner_, duplex, &word);
        EXPECT_EQ(word, after) << code;
    }
}

TEST_F(std_opts, a_negative_size_of_the_driver_option_does_no_harm)
{
    page_.size = -100;
    SANE_Word word = 1;
    EXPECT_EQ(mapper_.set_value(scanner_, duplex, &word), 0);
    const auto write = scripted::writes().at(0);
    EXPECT_EQ(write.length, 7); // the word and its terminator
    page_.size = 0;
    scripted::set_translation("双面", "2");
    EXPECT_EQ(mapper_.set_value(scanner_, duplex, &word), 0);
    EXPECT_EQ(scripted::writes().at(1).length, 2);
}
