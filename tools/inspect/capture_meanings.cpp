// SPDX-License-Identifier: MIT
// What well-known options mean, so that the scanner which is made of a profile not only shows them but scans by them. A
// meaning is given only when the virtual scanner can do all that the option allows; words are known in the driver's
// default language, and by their translations. Tested by tests/tools/capture_test.cpp.
#include "capture.h"
#include "local_utility.h"
#include "output.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace inspect {

namespace {

struct known_option {
    std::string_view name;
    const char *means; // null: nothing but that it changes the image
    std::string_view type;
    double least = 0; // of a number
    double most = 0;
    bool image = false;
};

constexpr known_option known_options[] = {
    {"language", "language", "string"},
    {"scan-mode", "job", "string"},
    {"scan-count", "page-limit", "int", 0, 1000000},
    {"source", "source", "string", 0, 0, true},
    {"page", "sides", "string", 0, 0, true},
    {"discardblank", "discard-blank", "bool"},
    {"blank-sensitivity", "blank-limit", "int", 0, 10000},
    {"is-rotate-bkg-180", "rotate-back", "bool"},
    {"paper", "paper", "string", 0, 0, true},
    {"is-custom-area", nullptr, "bool", 0, 0, true},
    {"tl-x", "left", "float", 0, 1000, true},
    {"tl-y", "top", "float", 0, 1000, true},
    {"br-x", "right", "float", 0, 1000, true},
    {"br-y", "bottom", "float", 0, 1000, true},
    {"mode", "mode", "string", 0, 0, true},
    {"resolution", "resolution", "int", 25, 1200, true},
    {"brightness", "brightness", "int", -100, 100},
    {"contrast", "contrast", "int", -100, 100},
    {"gamma", "gamma", "float", 0.01, 100},
    {"threshold", "threshold", "int", 0, 256},
    {"reverse-bw", "invert", "bool"},
    {"filter", "channel", "string"},
};

struct known_word {
    std::string_view means;
    const char *word;
    const char *meaning;
};

constexpr known_word known_words[] = {
    {"language", "简体中文", "zh"},     {"language", "English", "en"},    {"job", "连续扫描", "all"},
    {"job", "扫描指定张数", "counted"}, {"source", "Flatbed", "flatbed"}, {"source", "ADF Front", "front"},
    {"source", "ADF Back", "back"},     {"source", "ADF Duplex", "both"}, {"sides", "单面", "front"},
    {"sides", "双面", "both"},          {"mode", "Color", "color"},       {"sides", "跳过空白页", "both-without-blank"},
    {"mode", "Gray", "gray"},           {"mode", "Lineart", "lineart"},   {"channel", "不除色", "luminance"},
    {"channel", "除红色", "red"},       {"channel", "除绿色", "green"},   {"channel", "除蓝色", "blue"},
};

struct known_paper {
    const char *word;
    int width_mm;
    int height_mm;
    bool original = false;
};

constexpr known_paper known_papers[] = {
    {"A3", 297, 420},
    {"8开", 297, 420},
    {"A4", 210, 297},
    {"A4横向", 297, 210},
    {"A5", 148, 210},
    {"A5横向", 210, 148},
    {"A6", 105, 148},
    {"A6横向", 148, 105},
    {"B4", 257, 364},
    {"B5", 176, 250},
    {"B5横向", 250, 176},
    {"B6", 125, 176},
    {"B6横向", 176, 125},
    {"16开", 210, 285},
    {"Letter", 216, 279},
    {"Legal", 216, 356},
    {"匹配原始尺寸", 297, 420, true},
};

bool is_spelling_of(const std::string &word, const char *known)
{
    return word == known || word == local_utility::translated_word(known);
}

// Each word of the range with what it means; none when a word is unknown.
std::optional<json_value> meanings_of(const json_value &range, std::string_view means)
{
    json_value meanings = json_value::object();
    for (const std::string word : range) {
        const auto *const known = std::find_if(std::begin(known_words), std::end(known_words), [&](const auto &each) {
            return each.means == means && is_spelling_of(word, each.word);
        });
        if (known == std::end(known_words))
            return std::nullopt;
        meanings[word] = known->meaning;
    }
    return meanings;
}

std::optional<json_value> papers_of(const json_value &range)
{
    json_value papers = json_value::object();
    for (const std::string word : range) {
        const auto *const known = std::find_if(std::begin(known_papers), std::end(known_papers),
                                               [&](const auto &each) { return is_spelling_of(word, each.word); });
        if (known == std::end(known_papers))
            return std::nullopt;
        papers[word] = {{"width", known->width_mm}, {"height", known->height_mm}};
        if (known->original)
            papers[word]["original"] = true;
    }
    return papers;
}

bool is_possible(const known_option &known, const json_value &option)
{
    const auto range = option.find("range");
    if (known.type == "bool")
        return true;
    if (range == option.end())
        return false;
    const auto is_possible_number = [&known](double number) { return number >= known.least && number <= known.most; };
    if (range->is_object())
        return is_possible_number((*range)["min"]) && is_possible_number((*range)["max"]);
    return known.type == "string" || std::all_of(range->begin(), range->end(),
                                                 [&](const json_value &value) { return is_possible_number(value); });
}

// Whether the words of a text have meanings; they are added.
bool add_word_meanings(json_value &option, json_value &papers, std::string_view means)
{
    if (means != "paper") {
        auto meanings = meanings_of(option["range"], means);
        if (meanings)
            option["meanings"] = std::move(*meanings);
        return meanings.has_value();
    }
    auto sizes = papers_of(option["range"]);
    if (sizes)
        papers = std::move(*sizes);
    return sizes.has_value();
}

} // namespace

void add_meaning(json_value &option, json_value &papers)
{
    const auto *const known = std::find_if(std::begin(known_options), std::end(known_options), [&](const auto &each) {
        return each.name == option["name"] && each.type == option["type"];
    });
    if (known == std::end(known_options))
        return;
    if (known->image)
        option["image"] = true;
    if (known->means == nullptr || !is_possible(*known, option))
        return;
    if (known->type != "string" || add_word_meanings(option, papers, known->means))
        option["means"] = known->means;
}

} // namespace inspect
