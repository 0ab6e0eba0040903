// SPDX-License-Identifier: MIT
// The index finds what a search from the front would find.
#include "place_index.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace {

struct element {
    std::string name;
    int number = 0;
};

using by_name = place_index<element, &element::name>;
using by_number = place_index<element, &element::number>;

} // namespace

TEST(place_index, an_empty_list_holds_nothing)
{
    std::vector<element> list;
    by_name index;
    EXPECT_EQ(index.find(list, std::string_view("a")), nullptr);
}

TEST(place_index, of_equal_elements_the_first_is_found)
{
    std::vector<element> list = {{"a", 1}, {"b", 2}, {"a", 3}, {"", 4}, {"b", 5}};
    by_name index;
    EXPECT_EQ(index.find(list, std::string_view("a")), &list[0]);
    EXPECT_EQ(index.find(list, std::string_view("b")), &list[1]);
    EXPECT_EQ(index.find(list, std::string_view("")), &list[3]);
    EXPECT_EQ(index.find(list, std::string_view("c")), nullptr);
}

TEST(place_index, finds_what_was_appended_since_the_last_look_up)
{
    std::vector<element> list;
    by_name names;
    by_number numbers;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(numbers.find(list, i - 500), nullptr);
        list.push_back({"option-" + std::to_string(i), i - 500});
        EXPECT_EQ(numbers.find(list, i - 500), &list.back());
    }
    for (auto &one : list)
        EXPECT_EQ(names.find(list, std::string_view(one.name)), &one);
}

TEST(place_index, begins_anew_after_it_is_cleared)
{
    std::vector<element> list = {{"a", 1}, {"b", 2}};
    by_name index;
    ASSERT_NE(index.find(list, std::string_view("b")), nullptr);
    list = {{"b", 3}, {"c", 4}};
    index.clear();
    EXPECT_EQ(index.find(list, std::string_view("b")), &list[0]);
    EXPECT_EQ(index.find(list, std::string_view("a")), nullptr);
}
