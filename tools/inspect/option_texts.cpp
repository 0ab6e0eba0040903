// SPDX-License-Identifier: MIT
// Where descriptions come from. Those of a scanner and of a file of texts are taken as they stand; an option of a
// profile is turned into the text that the virtual scanner would make of it, but without its checks, since whoever
// looks for mistakes wants to see them. Tested by tests/tools/lint_test.cpp.
#include "option_texts.h"

#include "failure.h"
#include "fetch_buffer.h"
#include "json.h"
#include "option_key.h"
#include "output.h"
#include "sane_kx_mdw.h"
#include "scanner.h"

#include <sane/sane.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <ios>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace inspect {

namespace {

constexpr int deepest_nesting = 1000; // that the backend reads in a text

std::string content_of(const std::string &path)
{
    if (std::filesystem::is_directory(path))
        throw failure(exit_status::usage, fmt::format("{}: {}", path, std::generic_category().message(EISDIR)));
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    if (!file)
        throw failure(exit_status::usage, fmt::format("{}: {}", path, std::generic_category().message(errno)));
    return content.str();
}

std::vector<option_text> texts_in_lines(const std::string &content)
{
    std::vector<option_text> texts;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);) {
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        option_text text{static_cast<int>(texts.size()) + 1, {}, {}};
        text.description = kx_sane_middleware::split_name(line.c_str(), &text.name);
        texts.push_back(std::move(text));
    }
    return texts;
}

std::size_t length_of(const json_value &word)
{
    return word.is_string() ? word.get_ref<const std::string &>().size() : 0;
}

std::size_t longest_word(const json_value &option)
{
    std::size_t longest = length_of(option.value("default", json_value()));
    const auto range = option.find("range");
    if (range != option.end() && range->is_array())
        for (const json_value &word : *range)
            longest = std::max(longest, length_of(word));
    return longest;
}

// As the virtual scanner does it where a profile gives none.
int size_without_key(const json_value &option)
{
    const std::string type = option.value("type", json_value("")).is_string() ? option.value("type", "") : "";
    if (type == "button" || type == "group")
        return 0;
    return type == "string" ? static_cast<int>(longest_word(option)) + 4 : static_cast<int>(sizeof(SANE_Word));
}

option_text text_of(json_value option, int number)
{
    option_text text{number, {}, {}};
    if (!option.is_object())
        return text;
    const auto name = option.find("name");
    if (name != option.end() && name->is_string())
        text.name = *name;
    option.erase("name");
    if (!option.contains("size"))
        option["size"] = size_without_key(option);
    text.description = option.dump(-1, ' ', false, json_value::error_handler_t::replace);
    return text;
}

std::vector<option_text> texts_in_profile(const std::string &content, const std::string &path)
{
    const auto not_too_deep = [&path](int depth, json_value::parse_event_t, json_value &) {
        if (depth > deepest_nesting)
            throw failure(exit_status::usage, fmt::format("{}: nested more than {} deep", path, deepest_nesting));
        return true;
    };
    const json_value profile = json_value::parse(content, not_too_deep, false);
    if (!profile.is_object() || !profile.contains("options") || !profile["options"].is_array())
        throw failure(exit_status::usage, fmt::format("{}: neither a profile nor texts of options", path));
    std::vector<option_text> texts;
    for (const json_value &option : profile["options"])
        texts.push_back(text_of(option, static_cast<int>(texts.size()) + 1));
    return texts;
}

} // namespace

std::vector<option_text> texts_of(const scanner &device)
{
    std::vector<option_text> texts;
    fetch_buffer buffer;
    const int count = kx_sane_middleware::described_options(device.driver_handle());
    for (int number = 1; number < count; ++number) {
        option_text text{number, {}, {}};
        text.description = kx_sane_middleware::get_option_json(device.driver_handle(), option_key::from_number(number),
                                                               &text.name, nullptr, &buffer.text, &buffer.size);
        texts.push_back(std::move(text));
    }
    if (device.is_gone())
        device.check(SANE_STATUS_IO_ERROR, "reading the options' texts");
    return texts;
}

std::vector<option_text> texts_in_file(const std::string &path)
{
    const std::string content = content_of(path);
    const std::size_t start = content.find_first_not_of(" \t\r\n");
    const bool is_texts = start != std::string::npos && content[start] == '"';
    return is_texts ? texts_in_lines(content) : texts_in_profile(content, path);
}

std::vector<std::string> list_in(const json &description, const char *path)
{
    std::vector<std::string> list;
    json part;
    if (!part.attach_cjson(description.find(path)))
        return list;
    std::string text;
    bool more = part.first_child(text) || part.value(text);
    for (; more; more = part.next_child(text))
        list.push_back(text);
    return list;
}

const char *rule_in(const json &description)
{
    for (const char *const key : {"depend_or", "depend_and"})
        if (description.find(key) != nullptr)
            return key;
    return nullptr;
}

} // namespace inspect
