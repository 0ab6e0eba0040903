// SPDX-License-Identifier: MIT
// No text is longer than the size of its option, whatever is set and in whatever language, with catalogues of the
// user's own among them. Catalogues are read once in a process, so these tests have one to themselves.
#include "driver_fixture.h"
#include "langkit_control.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace driver_test {
namespace {

const temporary_folder folder;

// A translation of a shipped profile's word that is longer than any other, in a language of its own.
const std::string german = write_file(folder.file("german.json"), R"({"language": "de", "texts": {"双面": ")" +
                                                                      std::string(70, 'd') + R"(", "弱": ""}})");

// And a word of the default language in another spelling, in its own catalogue alone.
const std::string chinese =
    write_file(folder.file("zh.json"), R"({"language": "zh", "texts": {"Gray": ")" + std::string(33, 'z') + R"("}})");

const environment_variable catalogues("PELLANG_CATALOGUES", folder.file("").c_str());
const environment_variable profiles("PELVIRTUAL_PROFILES", PELSANE_PROFILES);

constexpr const char *languages[] = {"en", "zh", "de"};
constexpr const char *devices[] = {"virtual:duplex-feeder", "virtual:simplex-feeder", "virtual:flatbed-feeder",
                                   "virtual:large-format"};

// Texts of up to `length` bytes that grow where they are printed, escaped or mended.
std::vector<std::string> awkward_texts(std::size_t length)
{
    std::vector<std::string> texts{""};
    for (const std::string piece : {"x", "\"", "\\", "\x01", "\x7F", "\xFC", "\xC3\xBC", "\xE2\x82\xAC",
                                    "\xF0\x9F\x96\xA8", "\xED\xA0\x80", "\xC3", "双面"}) {
        std::string text;
        while (text.size() < length)
            text += piece;
        texts.push_back(text.substr(0, length));
    }
    return texts;
}

class option_sizes : public driver_running {
protected:
    // Of every option of every scanner, in every language.
    static void expect_room()
    {
        for (const char *language : languages) {
            ASSERT_EQ(0, langkit_set_language(language));
            for (const auto &device : opened())
                for (const auto &[name, option] : device->options())
                    if (option["type"] == "string")
                        expect_room_in(option, std::string(language) + " " + name);
        }
    }

    static const std::vector<std::unique_ptr<scanner>> &opened() { return opened_; }

    void SetUp() override
    {
        driver_running::SetUp();
        for (const char *name : devices)
            opened_.push_back(std::make_unique<scanner>(name));
    }
    void TearDown() override
    {
        opened_.clear();
        driver_running::TearDown();
    }

private:
    static void expect_room_in(const json &option, const std::string &where)
    {
        const auto size = option["size"].get<std::size_t>();
        for (const char *key : {"cur", "default"})
            EXPECT_LT(option[key].get<std::string>().size(), size) << where << " " << key;
        for (const json &word : option.value("range", json::array()))
            EXPECT_LE(word.get<std::string>().size() + 4, size) << where << " " << word;
    }

    static inline std::vector<std::unique_ptr<scanner>> opened_;
};

TEST_F(option_sizes, have_room_for_the_words_of_every_language)
{
    EXPECT_EQ(74, opened()[0]->option("page")["size"]);
    EXPECT_EQ(37, opened()[0]->option("mode")["size"]);
    expect_room();
    ASSERT_EQ(0, langkit_set_language("de"));
    EXPECT_EQ(std::string(70, 'd'), opened()[0]->option("page")["cur"]);
    EXPECT_EQ(74, opened()[0]->option("page")["size"]);
}

TEST_F(option_sizes, have_room_whatever_text_is_set)
{
    for (const char *language : languages) {
        ASSERT_EQ(0, langkit_set_language(language));
        for (const auto &device : opened())
            for (const auto &[name, option] : device->options()) {
                if (option["type"] != "string" || name == "language")
                    continue;
                const auto size = option["size"].get<std::size_t>();
                for (const std::size_t length : {size - 1, size})
                    for (const std::string &text : awkward_texts(length)) {
                        const std::string before = device->option(name)["cur"];
                        const int answer = device->set(name.c_str(), text.c_str());
                        EXPECT_TRUE(answer == 0 || answer == 256 || answer == 259) << name << " " << answer;
                        EXPECT_EQ(answer == 0 ? text : before, device->option(name)["cur"].get<std::string>());
                        EXPECT_LT(device->option(name)["cur"].get<std::string>().size(), size) << name;
                    }
            }
    }
    expect_room();
}

TEST_F(option_sizes, have_room_for_every_word_and_what_is_set_along_with_it)
{
    for (const char *language : languages) {
        ASSERT_EQ(0, langkit_set_language(language));
        for (const auto &device : opened())
            for (const auto &[name, option] : device->options()) {
                if (option["type"] != "string" || option["readonly"] || name == "language")
                    continue;
                for (const json &word : option.value("range", json::array())) {
                    EXPECT_NE(256, device->set(name.c_str(), word.get<std::string>().c_str())) << name << word;
                    EXPECT_EQ(word, device->option(name)["cur"]);
                    for (const auto &[other, each] : device->options())
                        if (each["type"] == "string") {
                            EXPECT_LT(each["cur"].get<std::string>().size(), each["size"].get<std::size_t>()) << other;
                        }
                }
            }
        expect_room();
    }
}

} // namespace
} // namespace driver_test
