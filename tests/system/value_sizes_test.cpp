// SPDX-License-Identifier: MIT
// Every value of every option of every shipped scanner fits into the size that the application was told: values and
// defaults, whatever was set, in whatever language, also in one that another handle switched on after the application
// had its descriptors. The buffers end at an unreadable page, and their sizes are those that were told first.
#include "guarded_memory.h"
#include "langkit_control.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "surroundings.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <ostream>
#include <string>
#include <vector>

namespace {

using surroundings::environment_variable;

// The languages that come with the scanners, or besides these one whose words are much longer.
enum class words { shipped, longer };

struct scanner_case {
    const char *profile;
    words spoken;
    const char *language;
};

std::ostream &operator<<(std::ostream &out, const scanner_case &shown)
{
    return out << shown.profile << (shown.spoken == words::shipped ? "" : " with longer words") << " in "
               << shown.language;
}

constexpr const char *profiles[] = {"duplex_feeder", "simplex_feeder", "flatbed_feeder", "large_format"};
constexpr const char *long_language = "xx"; // each of its words is 70 bytes longer than the English one
constexpr std::size_t longer_by = 70;
constexpr const char *names_of_languages[] = {"简体中文", "English"}; // alike in every language

// No text that is valid UTF-8: each byte becomes three in a text that has to be.
const std::string no_utf8[] = {std::string(63, '\xFC'), std::string(10, '\xFF'), "abc\x80", "\xE4\xB8", "\xC0\x80",
                               "\xED\xA0\x80",          "\xF5\x80\x80\x80"};

std::string file_with(const std::string &path, const std::string &content)
{
    std::ofstream(path) << content;
    return path;
}

std::string long_words()
{
    auto catalogue = nlohmann::json::parse(surroundings::content_of(PELSANE_ENGLISH_CATALOGUE));
    catalogue["language"] = long_language;
    for (auto &[word, text] : catalogue["texts"].items())
        if (std::find(std::begin(names_of_languages), std::end(names_of_languages), word) ==
            std::end(names_of_languages))
            text = std::string(longer_by, 'x') + text.get<std::string>();
    return catalogue.dump();
}

// What the application noted when it opened the device.
struct told_option {
    SANE_Int number;
    std::string name;
    SANE_Value_Type type;
    SANE_Int size;
    bool is_writable;
    bool is_automatic;
    bool is_added; // by the backend, which sets these and does not read them
    std::vector<std::string> listed;

    [[nodiscard]] bool has_value() const { return type != SANE_TYPE_BUTTON && type != SANE_TYPE_GROUP; }
    [[nodiscard]] bool is_free_text() const { return type == SANE_TYPE_STRING && listed.empty(); }
};

std::vector<std::string> listed_texts(const SANE_Option_Descriptor &descriptor)
{
    std::vector<std::string> texts;
    if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST)
        for (const auto *text = descriptor.constraint.string_list; *text != nullptr; ++text)
            texts.emplace_back(*text);
    return texts;
}

std::vector<SANE_Word> words_to_try(const SANE_Option_Descriptor &descriptor)
{
    std::vector<SANE_Word> words{0, 1, -1, 2147483647, -2147483647 - 1};
    if (descriptor.constraint_type == SANE_CONSTRAINT_RANGE)
        words.insert(words.end(), {descriptor.constraint.range->min, descriptor.constraint.range->max});
    if (descriptor.constraint_type == SANE_CONSTRAINT_WORD_LIST)
        words.insert(words.end(), descriptor.constraint.word_list + 1,
                     descriptor.constraint.word_list + 1 + descriptor.constraint.word_list[0]);
    return words;
}

class value_sizes : public testing::TestWithParam<scanner_case> {
protected:
    value_sizes()
    {
        if (GetParam().spoken == words::longer)
            file_with(catalogues_.file("long.json"), long_words());
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_init(nullptr, nullptr));
        scanner_ = opened(GetParam().profile);
        other_ = opened(std::strcmp(GetParam().profile, "large_format") == 0 ? "duplex_feeder" : "large_format");
        note_options();
    }

    ~value_sizes() override { sane_pelsane_exit(); }

    [[nodiscard]] static std::vector<std::string> languages()
    {
        if (GetParam().spoken == words::shipped)
            return {"zh", "en", GetParam().language};
        return {"zh", long_language, "en", GetParam().language};
    }

    // As an application that has the other device open, where its language can be set in that way.
    void change_language(const std::string &tag) const
    {
        if (tag == long_language) {
            ASSERT_EQ(0, langkit_set_language(long_language));
            return;
        }
        const auto *const language = sane_pelsane_get_option_descriptor_ex(other_, "language");
        ASSERT_NE(language, nullptr);
        const guarded_memory word = guarded_memory::of_text(tag == "zh" ? "简体中文" : "English", language->size);
        ASSERT_EQ(SANE_STATUS_GOOD,
                  sane_pelsane_control_option_ex(other_, "language", SANE_ACTION_SET_VALUE, word.data(), nullptr));
        ASSERT_EQ(tag, langkit_language());
    }

    void expect_value_fits(const told_option &option, int action) const
    {
        const guarded_memory value(option.size, 'u');
        const SANE_Status unreadable = action == SANE_ACTION_GET_VALUE ? SANE_STATUS_IO_ERROR : SANE_STATUS_UNSUPPORTED;
        const SANE_Status expected = option.is_added ? unreadable : SANE_STATUS_GOOD;
        ASSERT_EQ(expected, control(option, action, value.data())) << option.name << ", action " << action;
        ASSERT_TRUE(option.type != SANE_TYPE_STRING || value.is_terminated()) << option.name << ", action " << action;
    }

    void expect_list_fits(const told_option &option) const
    {
        for (const std::string &text : listed_texts(*described(option)))
            EXPECT_LT(text.size(), static_cast<std::size_t>(option.size)) << option.name << ": " << text;
    }

    // Lists, values and defaults, in the room that was told at first.
    void expect_all_fits() const
    {
        for (const told_option &option : told_) {
            expect_list_fits(option); // first: what does not fit is named before it ends the process
            if (!option.has_value())
                continue;
            ASSERT_NO_FATAL_FAILURE(expect_value_fits(option, SANE_ACTION_GET_VALUE));
            ASSERT_NO_FATAL_FAILURE(expect_value_fits(option, SANE_ACTION_GET_DEFAULT));
        }
    }

    [[nodiscard]] SANE_Status control(const told_option &option, int action, void *value) const
    {
        return sane_pelsane_control_option(scanner_, option.number, static_cast<SANE_Action>(action), value, nullptr);
    }

    [[nodiscard]] const SANE_Option_Descriptor *described(const told_option &option) const
    {
        return sane_pelsane_get_option_descriptor(scanner_, option.number);
    }

    [[nodiscard]] std::string text_of(const told_option &option) const
    {
        const guarded_memory value(option.size, 'u');
        EXPECT_EQ(SANE_STATUS_GOOD, control(option, SANE_ACTION_GET_VALUE, value.data())) << option.name;
        return value.is_terminated() ? value.text() : "(without an end)";
    }

    // As SANE's library has a string, and as saned has it: with the option's room, and with none to spare.
    void set_text(const told_option &option, const std::string &text, SANE_Status expected) const
    {
        const guarded_memory whole = guarded_memory::of_text(text, option.size);
        EXPECT_EQ(expected, control(option, SANE_ACTION_SET_VALUE, whole.data())) << option.name << " = " << text;
        const guarded_memory bare = guarded_memory::of_text(text);
        EXPECT_EQ(expected, control(option, SANE_ACTION_SET_VALUE, bare.data())) << option.name << " = " << text;
    }

    void set_listed_texts(const told_option &option) const
    {
        for (const std::string &text : listed_texts(*described(option))) {
            set_text(option, text, SANE_STATUS_GOOD);
            ASSERT_NO_FATAL_FAILURE(expect_value_fits(option, SANE_ACTION_GET_VALUE));
        }
        for (const std::string &text : option.listed) { // in the language of then
            const guarded_memory value = guarded_memory::of_text(text);
            static_cast<void>(control(option, SANE_ACTION_SET_VALUE, value.data()));
            ASSERT_NO_FATAL_FAILURE(expect_value_fits(option, SANE_ACTION_GET_VALUE));
        }
    }

    void set_free_texts(const told_option &option) const
    {
        const auto room = static_cast<std::size_t>(option.size) - 1;
        std::string three_bytes_each;
        while (three_bytes_each.size() + 3 <= room)
            three_bytes_each += "字";
        for (const std::string &text : {std::string(room, 'm'), three_bytes_each, std::string()}) {
            set_text(option, text, SANE_STATUS_GOOD);
            ASSERT_EQ(text, text_of(option)) << option.name;
        }
        const guarded_memory too_long = guarded_memory::of_text(std::string(room + 1, 'l'));
        EXPECT_EQ(SANE_STATUS_INVAL, control(option, SANE_ACTION_SET_VALUE, too_long.data())) << option.name;
    }

    // Of what the backend adds, no paper of the scanner's may be near enough.
    static bool is_taken(const told_option &option, SANE_Status given)
    {
        return given == SANE_STATUS_GOOD || (option.is_added && given == SANE_STATUS_INVAL);
    }

    void set_words(const told_option &option) const
    {
        for (const SANE_Word word : words_to_try(*described(option))) {
            const guarded_memory value = guarded_memory::of_word(word);
            ASSERT_TRUE(is_taken(option, control(option, SANE_ACTION_SET_VALUE, value.data())))
                << option.name << " = " << word;
        }
    }

    void set_automatically(const told_option &option) const
    {
        const guarded_memory value(option.size);
        for (void *buffer : {static_cast<void *>(value.data()), static_cast<void *>(nullptr)}) {
            const SANE_Status given = control(option, SANE_ACTION_SET_AUTO, buffer);
            ASSERT_TRUE(option.is_automatic ? is_taken(option, given) : given == SANE_STATUS_UNSUPPORTED)
                << option.name;
        }
    }

    void set(const told_option &option) const
    {
        if (option.type == SANE_TYPE_GROUP)
            return;
        if (option.type == SANE_TYPE_BUTTON) {
            ASSERT_EQ(SANE_STATUS_GOOD, control(option, SANE_ACTION_SET_VALUE, nullptr)) << option.name;
            return;
        }
        if (option.is_free_text())
            ASSERT_NO_FATAL_FAILURE(set_free_texts(option));
        else if (option.type == SANE_TYPE_STRING)
            ASSERT_NO_FATAL_FAILURE(set_listed_texts(option));
        else
            ASSERT_NO_FATAL_FAILURE(set_words(option));
        ASSERT_NO_FATAL_FAILURE(set_automatically(option));
    }

    [[nodiscard]] const std::vector<told_option> &told() const { return told_; }

private:
    [[nodiscard]] static SANE_Handle opened(std::string profile)
    {
        std::replace(profile.begin(), profile.end(), '_', '-');
        SANE_Handle handle = nullptr;
        EXPECT_EQ(SANE_STATUS_GOOD, sane_pelsane_open(("virtual:" + profile).c_str(), &handle)) << profile;
        return handle;
    }

    void note_options()
    {
        SANE_Int of_the_scanner = 0;
        sane_pelsane_control_option(scanner_, 0, SANE_ACTION_GET_VALUE, &of_the_scanner, nullptr);
        for (SANE_Int number = 1; const auto *found = sane_pelsane_get_option_descriptor(scanner_, number); ++number)
            told_.push_back({number, found->name, found->type, found->size, SANE_OPTION_IS_SETTABLE(found->cap) != 0,
                             (found->cap & SANE_CAP_AUTOMATIC) != 0, number >= of_the_scanner, listed_texts(*found)});
    }

    surroundings::temporary_folder catalogues_;
    environment_variable profiles_{"PELVIRTUAL_PROFILES", PELSANE_PROFILES};
    environment_variable words_{"PELLANG_CATALOGUES", catalogues_.file("").c_str()};
    environment_variable language_{"PELLANG", GetParam().language};
    SANE_Handle scanner_ = nullptr;
    SANE_Handle other_ = nullptr;
    std::vector<told_option> told_;
};

} // namespace

TEST_P(value_sizes, hold_values_and_defaults_in_every_language)
{
    ASSERT_GT(told().size(), 10U);
    ASSERT_NO_FATAL_FAILURE(expect_all_fits());
    for (const std::string &language : languages()) {
        SCOPED_TRACE("after a change to " + language);
        ASSERT_NO_FATAL_FAILURE(change_language(language));
        ASSERT_NO_FATAL_FAILURE(expect_all_fits());
    }
}

TEST_P(value_sizes, hold_whatever_was_set_in_every_language)
{
    for (const told_option &option : told()) {
        if (!option.is_writable)
            continue;
        for (const std::string &language : languages()) {
            SCOPED_TRACE(option.name + " set in " + language);
            ASSERT_NO_FATAL_FAILURE(change_language(language));
            ASSERT_NO_FATAL_FAILURE(set(option));
            ASSERT_NO_FATAL_FAILURE(expect_all_fits());
        }
    }
}

// Of those that have free texts.
class free_text_sizes : public value_sizes {};

TEST_P(free_text_sizes, hold_whatever_is_set_for_a_text_that_is_no_utf8)
{
    const auto is_free = [](const told_option &option) { return option.is_free_text() && option.is_writable; };
    const auto option = std::find_if(told().begin(), told().end(), is_free);
    ASSERT_NE(option, told().end());
    set_text(*option, "ab", SANE_STATUS_GOOD);
    for (const std::string &text : no_utf8) {
        set_text(*option, text, SANE_STATUS_INVAL);
        EXPECT_EQ("ab", text_of(*option));
        ASSERT_NO_FATAL_FAILURE(expect_all_fits());
    }
}

namespace {

template <typename Profiles> std::vector<scanner_case> cases_of(const Profiles &chosen)
{
    std::vector<scanner_case> cases;
    for (const char *profile : chosen)
        for (const char *language : {"en", "zh"})
            for (const words spoken : {words::shipped, words::longer})
                cases.push_back({profile, spoken, language});
    return cases;
}

std::string name_of(const testing::TestParamInfo<scanner_case> &instance)
{
    const scanner_case &named = instance.param;
    return std::string(named.profile) + (named.spoken == words::shipped ? "_" : "_with_longer_words_") + named.language;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(shipped, value_sizes, testing::ValuesIn(cases_of(profiles)), name_of);
INSTANTIATE_TEST_SUITE_P(shipped, free_text_sizes, testing::ValuesIn(cases_of(std::array{"duplex_feeder"})), name_of);
