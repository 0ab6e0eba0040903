// SPDX-License-Identifier: MIT
// The language library's stand-in: its languages, its catalogues, and the files of modules.
#include "langkit_fixture.h"
#include "surroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace {

using namespace langkit_fixture;

// A folder of catalogues, in use while it lives.
class catalogue_folder {
public:
    explicit catalogue_folder(const char *language) : environment_(language, folder_.file("")) {}

    void write(const std::string &name, std::string_view text) const { std::ofstream(folder_.file(name)) << text; }
    [[nodiscard]] std::string file(const std::string &name) const { return folder_.file(name); }

private:
    temporary_folder folder_;
    language_environment environment_;
};

// The library's text and status of a word id, as "text/status".
std::string word(const langkit_library &library, int id)
{
    int status = -1;
    const char *text = library.load_string(id, &status, 0);
    return std::string(text) + "/" + std::to_string(status);
}

std::string text(const langkit_library &library, const char *default_word)
{
    int status = -1;
    const char *translated = library.from_default(default_word, &status);
    return std::string(translated) + "/" + std::to_string(status);
}

// What a library that reads the folder afresh reports to the log, without the lines' times.
std::string report_of_loading()
{
    const environment_variable level("PELLOG_LEVEL", "warn");
    const std::string written = standard_error_of([] { langkit_library().language(); });
    std::string reports;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = written.find('\n', start)) != std::string::npos; start = end + 1)
        reports += written.substr(start, end - start).substr(25) + "\n";
    return reports;
}

constexpr const char *german =
    R"({"language": "de", "words": {"1001": "Papierformat"}, "texts": {"双面": "Beidseitig"}})";

} // namespace

TEST(langkit, speaks_english_and_chinese_without_any_files)
{
    const language_environment environment("en");
    const langkit_library library;
    EXPECT_EQ(text(library, "双面"), "Both sides/0");
    ASSERT_EQ(library.set_language("zh"), 0);
    EXPECT_STREQ(library.from_default("双面", nullptr), "双面");
}

TEST(langkit, tells_the_longest_text_of_all_languages)
{
    const catalogue_folder folder("zh");
    folder.write("german.json", R"({"language": "de", "words": {"1012": "Die Größe des Papiers"},
                                    "texts": {"双面": "Auf beiden Seiten", "Gray": "", "cut": "four\u0000more"}})");
    const langkit_library library;
    for (const char *language : {"en", "de", "zh"}) {
        ASSERT_EQ(library.set_language(language), 0);
        EXPECT_EQ(library.longest_text("双面"), 17);
        EXPECT_EQ(library.longest_text("单面"), 10); // "Front side"
        EXPECT_EQ(library.longest_text("Gray"), 4);  // as it is where it has no translation
        EXPECT_EQ(library.longest_text("cut"), 4);
        EXPECT_EQ(library.longest_text("no such word"), 12);
        EXPECT_EQ(library.longest_text(""), 0);
        EXPECT_EQ(library.longest_word(1012), 23);
        EXPECT_EQ(library.longest_word(1002), 8);    // "Language", in German too
        EXPECT_EQ(library.longest_word(999999), 11); // "Word 999999"
    }
    EXPECT_EQ(library.longest_text(nullptr), -1);
}

TEST(langkit, takes_its_language_from_its_own_variable)
{
    const struct {
        const char *name;
        const char *tag;
    } names[] = {{"en", "en"},      {"zh", "zh"}, {"zh_CN.UTF-8", "zh"},
                 {"zh-Hans", "zh"}, {"ZH", "zh"}, {"en_GB@euro", "en"}};
    for (const auto &name : names) {
        const language_environment environment(name.name);
        const environment_variable lang("LANG", "xx");
        EXPECT_STREQ(langkit_library().language(), name.tag) << name.name;
    }
}

TEST(langkit, takes_its_language_from_the_locale_in_the_order_of_posix)
{
    const language_environment environment(nullptr);
    const environment_variable lang("LANG", "zh_CN.UTF-8");
    {
        const langkit_library library;
        EXPECT_STREQ(library.language(), "zh");
    }
    const environment_variable messages("LC_MESSAGES", "en_GB.UTF-8");
    {
        const langkit_library library;
        EXPECT_STREQ(library.language(), "en");
    }
    const environment_variable all("LC_ALL", "zh_CN");
    const langkit_library library;
    EXPECT_STREQ(library.language(), "zh");
}

TEST(langkit, passes_over_empty_variables)
{
    const language_environment environment("");
    const environment_variable all("LC_ALL", "");
    const environment_variable messages("LC_MESSAGES", "");
    const environment_variable lang("LANG", "zh_CN.UTF-8");
    const langkit_library library;
    EXPECT_STREQ(library.language(), "zh");
}

TEST(langkit, speaks_english_when_there_is_nothing_else)
{
    for (const char *language : {static_cast<const char *>(nullptr), "xx_YY", "C", "POSIX"}) {
        const language_environment environment(language);
        const langkit_library library;
        EXPECT_STREQ(library.language(), "en");
        EXPECT_EQ(text(library, "双面"), "Both sides/0");
    }
}

TEST(langkit, names_an_unknown_word_id)
{
    const language_environment environment("en");
    const langkit_library library;
    EXPECT_EQ(word(library, 987654), "Word 987654/256");
    EXPECT_EQ(word(library, -1), "Word -1/256");
    EXPECT_STREQ(library.load_string(987654, nullptr, 0), "Word 987654");
}

TEST(langkit, answers_an_unknown_word_itself)
{
    const language_environment environment("en");
    const langkit_library library;
    EXPECT_EQ(text(library, "没有"), "没有/256");
    EXPECT_EQ(text(library, ""), "/256");
    EXPECT_EQ(text(library, nullptr), "/256");
    EXPECT_STREQ(library.from_default("没有", nullptr), "没有");
}

TEST(langkit, keeps_an_unknown_word_after_its_caller)
{
    const language_environment environment("en");
    const langkit_library library;
    std::string transient = "gone soon";
    const char *kept = library.from_default(transient.c_str(), nullptr);
    transient.assign("overwritten");
    EXPECT_STREQ(kept, "gone soon");
    EXPECT_EQ(library.from_default("gone soon", nullptr), kept);
}

TEST(langkit, keeps_texts_across_language_changes)
{
    const catalogue_folder folder("de");
    folder.write("german.json", german);
    const langkit_library library;
    const char *word = library.load_string(1001, nullptr, 0);
    const char *made_up = library.load_string(987654, nullptr, 0);
    const char *text = library.from_default("双面", nullptr);
    for (const char *language : {"en", "zh", "en"}) {
        ASSERT_EQ(library.set_language(language), 0);
        for (int id = 0; id < 1000; ++id)
            library.load_string(987655 + id, nullptr, 0);
    }
    EXPECT_STREQ(word, "Papierformat");
    EXPECT_STREQ(made_up, "Word 987654");
    EXPECT_STREQ(text, "Beidseitig");
}

TEST(langkit, takes_a_new_language_from_the_folder)
{
    const catalogue_folder folder("de_DE.UTF-8");
    folder.write("german.json", german);
    const langkit_library library;
    EXPECT_STREQ(library.language(), "de");
    EXPECT_EQ(word(library, 1001), "Papierformat/0");
    EXPECT_EQ(text(library, "双面"), "Beidseitig/0");
}

TEST(langkit, falls_back_to_english_for_a_word_id)
{
    const catalogue_folder folder("de");
    folder.write("english.json", R"({"language": "en", "words": {"70001": "Only in English"}})");
    folder.write("german.json", german);
    const langkit_library library;
    EXPECT_EQ(word(library, 70001), "Only in English/0");
}

TEST(langkit, overrides_and_adds_in_the_order_of_file_names)
{
    const catalogue_folder folder("en");
    folder.write("b.json", R"({"language": "en", "words": {"70001": "from b", "70002": "from b"}})");
    folder.write("a.json", R"({"language": "en", "words": {"70001": "from a", "70003": "from a"},
                               "texts": {"单面": "Simplex"}})");
    folder.write("c.txt", R"({"language": "en", "words": {"70001": "not a catalogue's name"}})");
    const langkit_library library;
    EXPECT_EQ(word(library, 70001), "from b/0");
    EXPECT_EQ(word(library, 70002), "from b/0");
    EXPECT_EQ(word(library, 70003), "from a/0");
    EXPECT_EQ(text(library, "单面"), "Simplex/0");
    EXPECT_EQ(text(library, "双面"), "Both sides/0");
}

TEST(langkit, leaves_out_a_malformed_catalogue_and_keeps_the_others)
{
    const char *malformed[] = {
        "",
        "{",
        "[]",
        "\xff\xfe",
        R"({"words": {"1": "no language"}})",
        R"({"language": ""})",
        R"({"language": 5})",
        R"({"language": "en", "words": []})",
        R"({"language": "en", "words": {"70001": "left out", "1x": "text"}})",
        R"({"language": "en", "words": {"70001": "left out", "": "text"}})",
        R"({"language": "en", "words": {"70001": "left out", "99999999999": "text"}})",
        R"({"language": "en", "words": {"70001": "left out", "2": 3}})",
        R"({"language": "en", "texts": "text"})",
        R"({"language": "en", "words": {"70001": "left out"}, "texts": {"双面": null}})",
    };
    for (const char *content : malformed) {
        const catalogue_folder folder("de");
        folder.write("a.json", content);
        folder.write("german.json", german);
        {
            const langkit_library library;
            EXPECT_EQ(word(library, 1001), "Papierformat/0") << content;
            EXPECT_EQ(word(library, 70001), "Word 70001/256") << content;
        }
        const std::string report = report_of_loading();
        EXPECT_EQ(
            report.rfind("warn pelsane/langkit: language catalogue " + folder.file("a.json") + " is left out: ", 0), 0U)
            << report;
        EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 1) << report;
    }
}

TEST(langkit, reports_why_a_catalogue_is_left_out)
{
    const catalogue_folder folder("en");
    folder.write("a.json", R"({"language": "en", "words": {"1x": "text"}})");
    folder.write("b.json", R"({"language": "en", "texts": {"双面": 5}})");
    folder.write("c.json", R"({"words": {}})");
    const std::string start = "warn pelsane/langkit: language catalogue ";
    EXPECT_EQ(report_of_loading(), start + folder.file("a.json") + " is left out: word id \"1x\" is not a number\n" +
                                       start + folder.file("b.json") + " is left out: \"双面\" is not a text\n" +
                                       start + folder.file("c.json") + " is left out: \"language\" is missing\n");
}

TEST(langkit, reports_what_it_cannot_read)
{
    const catalogue_folder folder("en");
    fs::create_directory(folder.file("a.json"));
    fs::create_symlink(folder.file("nowhere"), folder.file("b.json"));
    ASSERT_EQ(mkfifo(folder.file("c.json").c_str(), 0600), 0);
    fs::create_symlink("/proc/self/mem", folder.file("d.json")); // a file whose start cannot be read
    const std::string report = report_of_loading();
    const std::string start = "warn pelsane/langkit: language catalogue ";
    for (const char *name : {"a.json", "b.json", "c.json"}) {
        const std::string line = start + folder.file(name) + " is left out: not a regular file\n";
        EXPECT_NE(report.find(line), std::string::npos) << report;
    }
    EXPECT_NE(report.find(start + folder.file("d.json") + " is left out: "), std::string::npos) << report;
}

TEST(langkit, reports_a_missing_folder_and_goes_on)
{
    const temporary_folder folder;
    const language_environment environment("en", folder.file("missing"));
    EXPECT_EQ(report_of_loading(), "warn pelsane/langkit: language catalogue " + folder.file("missing") +
                                       " is left out: No such file or directory\n");
    EXPECT_EQ(text(langkit_library(), "双面"), "Both sides/0");
}

TEST(langkit, has_no_complaint_about_its_own_catalogues)
{
    const language_environment environment("en");
    EXPECT_EQ(report_of_loading(), "");
}

TEST(langkit, finds_the_file_of_a_loaded_module)
{
    const language_environment environment("en");
    const langkit_library library;
    std::array<char, 512> path{};
    EXPECT_EQ(library.file_path("langkit.so", path.data()), path.data());
    EXPECT_STREQ(path.data(), LANGKIT_LIBRARY);
}

TEST(langkit, finds_a_module_that_was_loaded_under_a_relative_path)
{
    const language_environment environment("en");
    const langkit_library library;
    const temporary_folder folder;
    fs::copy_file(COMMONLOG_LIBRARY, folder.file("libsane-example.so.1"));
    const fs::path earlier = fs::current_path();
    fs::current_path(folder.file(""));
    std::array<char, 512> path{};
    {
        const loaded_module module("./libsane-example.so.1");
        library.file_path("example.so", path.data());
    }
    fs::current_path(earlier);
    EXPECT_EQ(fs::path(path.data()).lexically_normal(), folder.file("libsane-example.so.1"));
}

TEST(langkit, finds_no_file_of_an_unknown_module)
{
    const language_environment environment("en");
    const langkit_library library;
    const std::string folder = fs::path(LANGKIT_LIBRARY).parent_path().filename().string() + "/";
    std::array<char, 512> path{};
    // A folder is not a file name, the main program is not a module, and what the kernel maps in is not a file.
    for (const char *name : {"no-such-module.so", folder.c_str(), "langkit_test", "linux-vdso", ""}) {
        EXPECT_EQ(library.file_path(name, path.data()), nullptr) << name;
        EXPECT_STREQ(path.data(), "");
    }
}

TEST(langkit, finds_no_file_without_arguments)
{
    const language_environment environment("en");
    const langkit_library library;
    std::array<char, 512> path{};
    EXPECT_EQ(library.file_path(nullptr, path.data()), nullptr);
    EXPECT_EQ(library.file_path("langkit.so", nullptr), nullptr);
    EXPECT_EQ(library.file_path(nullptr, nullptr), nullptr);
}

TEST(langkit, does_not_cut_a_path_that_is_too_long)
{
    const language_environment environment("en");
    const langkit_library library;
    const temporary_folder folder;
    const fs::path deep = fs::path(folder.file("")) / std::string(250, 'd') / std::string(250, 'd');
    fs::create_directories(deep);
    fs::copy_file(COMMONLOG_LIBRARY, deep / "libexample.so");
    const loaded_module module((deep / "libexample.so").c_str());
    std::array<char, 512> path{};
    EXPECT_EQ(library.file_path("libexample.so", path.data()), nullptr);
}

TEST(langkit, is_gone_after_its_last_user)
{
    const language_environment environment("en");
    {
        const langkit_library library;
        library.load_string(987654, nullptr, 0);
    }
    EXPECT_EQ(dlopen(LANGKIT_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
}
