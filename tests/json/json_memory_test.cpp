// SPDX-License-Identifier: MIT
// Documents when the parser's library has no memory, and the children of a document that is none.
#include "json.h"

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

namespace {

int allocations_left = 0;

void *limited_malloc(std::size_t size)
{
    return allocations_left-- > 0 ? std::malloc(size) : nullptr;
}

// While it lives, the library makes `allocations` more allocations, and then none.
class library_short_of_memory {
public:
    explicit library_short_of_memory(int allocations)
    {
        allocations_left = allocations;
        cJSON_Hooks hooks{limited_malloc, std::free};
        cJSON_InitHooks(&hooks);
    }
    ~library_short_of_memory() { cJSON_InitHooks(nullptr); }
    library_short_of_memory(const library_short_of_memory &) = delete;
    library_short_of_memory &operator=(const library_short_of_memory &) = delete;
};

} // namespace

TEST(json_memory, value_that_cannot_be_kept_leaves_the_earlier_one)
{
    json document(R"({"cur": "A4"})");
    {
        const library_short_of_memory none(0);
        EXPECT_THROW(document.set_value("cur", std::string("A5")), std::bad_alloc);
    }
    std::string text;
    EXPECT_TRUE(document.get_value("cur", text));
    EXPECT_EQ("A4", text);
}

TEST(json_memory, text_does_not_parse_whichever_allocation_fails)
{
    constexpr int more_than_enough = 20;
    const char *const text = R"({"a": [1, "b"], "c": 1.5})";
    int enough = 0;
    for (; enough < more_than_enough; ++enough) {
        const library_short_of_memory limited(enough);
        json document;
        if (document.attach_text(text))
            break;
        EXPECT_EQ(nullptr, document.find("a")) << enough;
    }
    EXPECT_LT(1, enough);
    EXPECT_GT(more_than_enough, enough);
}

TEST(json_memory, item_is_not_copied_whichever_allocation_fails)
{
    constexpr int more_than_enough = 20;
    json source(R"({"a": [1, "b"]})");
    int enough = 0;
    for (; enough < more_than_enough; ++enough) {
        json copy(R"({"earlier": 1})");
        const library_short_of_memory limited(enough);
        if (copy.attach_cjson(source.find(nullptr)))
            break;
        EXPECT_EQ(nullptr, copy.find("a")) << enough;
        EXPECT_EQ(nullptr, copy.find("earlier")) << enough;
    }
    EXPECT_LT(1, enough);
    EXPECT_GT(more_than_enough, enough);
}

TEST(json_memory, nothing_has_no_children)
{
    json nothing;
    std::string text = "before";
    EXPECT_FALSE(nothing.first_child(text));
    EXPECT_EQ("", text);
    EXPECT_FALSE(nothing.next_child(text));
}
