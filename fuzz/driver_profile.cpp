// SPDX-License-Identifier: MIT
// The description of a virtual scanner, as somebody may write it: a whole profile when it names a device, else the
// options of one that is in order otherwise. It is refused with a reason, or nothing about it has to be doubted
// afterwards: every option describes itself within its size in every language, takes the values that it allows, and
// goes back to its default.
#include "guarded_memory.h"
#include "input.h"
#include "langkit_control.h"
#include "option.h"
#include "option_store.h"
#include "oracle.h"
#include "profile.h"
#include "text_value.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace {

using namespace virtual_scanner;

std::optional<profile> read(const std::string &text)
{
    try {
        return parse_profile(text, "fuzzed");
    } catch (const profile_error &error) {
        require(std::strncmp(error.what(), "fuzzed: ", std::strlen("fuzzed: ")) == 0, "a reason names the file");
        return std::nullopt;
    }
}

// The value in the binary form in which an application sets it. A string ends right behind its NUL: there is not even
// the room that the option's size promises.
struct binary_form {
    guarded_memory operator()(std::monostate) const { return guarded_memory(4); }
    guarded_memory operator()(bool flag) const { return guarded_memory::of_number(flag); }
    guarded_memory operator()(int number) const { return guarded_memory::of_number(number); }
    guarded_memory operator()(double number) const { return guarded_memory::of_number(number); }
    guarded_memory operator()(const std::string &text) const { return guarded_memory::of_text(text.c_str()); }
};

nlohmann::json description_of(const option_store &store, const option_definition &option, int number)
{
    const auto text = nlohmann::json::parse("{" + store.describe(number) + "}", nullptr, false);
    require(text.is_object() && text.size() == 1 && text.contains(option.name), "an option describes itself in JSON");
    return text.at(option.name);
}

void require_room(const nlohmann::json &text, std::size_t size)
{
    require(text.get_ref<const std::string &>().size() < size, "a text fits its option's size, with its NUL");
}

// In every language: an application is told a size once, and any handle may switch the language.
void require_sizes(const option_store &store, const option_definition &option, int number)
{
    const std::string current = langkit_language();
    const auto told = description_of(store, option, number).at("size");
    for (const char *language : {"zh", "en", current.c_str()}) {
        langkit_set_language(language);
        const auto described = description_of(store, option, number);
        require(described.at("size") == told, "a size is the same in every language");
        if (option.type != option_type::text)
            continue;
        require_room(described.at("cur"), told.get<std::size_t>());
        require_room(described.at("default"), told.get<std::size_t>());
        for (const auto &word : described.value("range", nlohmann::json::array()))
            require_room(word, told.get<std::size_t>());
    }
}

bool has_value(const option_definition &option)
{
    return option.type != option_type::button && option.type != option_type::group;
}

int set(option_store &store, const option_definition &option, int number, const option_value &value)
{
    const guarded_memory data = std::visit(binary_form{}, value);
    const bool is_text = option.type == option_type::text && std::holds_alternative<text_value>(value);
    const long length = is_text ? option.size : static_cast<long>(data.size());
    const int code = store.set(number, data.data(), &length);
    require((code == 259) == option.readonly, "what can only be read is not written");
    require(code == 0 || code == 256 || code == 259 || code == 261 || code == 262 || code == 277 || code == 278,
            "a write has one of seven answers");
    require_sizes(store, option, number);
    return code;
}

// As long as the size allows, and one longer; and texts that are no UTF-8, each byte of which would be three.
void set_odd_texts(option_store &store, const option_definition &option, int number)
{
    const auto size = static_cast<std::size_t>(option.size);
    set(store, option, number, std::string(size - 1, 'm'));
    set(store, option, number, std::string(size, 'l'));
    for (const std::string &text :
         {std::string(size - 1, '\xFC'), std::string("\xE4\xB8"), std::string("\xED\xA0\x80")})
        require(set(store, option, number, text) == (option.readonly ? 259 : 256), "what is no UTF-8 is refused");
}

void exercise(const profile &description)
{
    option_store store(description);
    for (int number = 1; number < store.count(); ++number) {
        const option_definition &option = description.options[static_cast<std::size_t>(number) - 1];
        require(store.find_by_name(option.name) == number, "a name is one option's");
        require_sizes(store, option, number);
        set(store, option, number, option.initial);
        for (const option_value &value : option.values)
            set(store, option, number, value);
        for (const option_value &value : {option_value(true), option_value(-7), option_value(0.3), option_value("A4")})
            set(store, option, number, value);
        if (option.type == option_type::text)
            set_odd_texts(store, option, number);
    }
    store.restore_defaults();
    for (int number = 1; number < store.count(); ++number) {
        const option_definition &option = description.options[static_cast<std::size_t>(number) - 1];
        const auto text = description_of(store, option, number);
        if (has_value(option) && option.role != option_role::language)
            require(text.at("cur") == text.at("default"), "a default is restored");
    }
}

std::string framed(const std::string &options)
{
    return R"({"device":{"name":"fuzzed","vendor":"v","model":"m","type":"t"},"papers":{"A4":{"width":210,"height":297},)"
           R"("A5":{"width":148,"height":210}},"information":{},"options":[)" +
           options + "]}";
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const std::string language = langkit_language();
    const std::string text = input(data, size).rest();
    if (const auto description = read(text.find("\"device\"") < text.size() ? text : framed(text)))
        exercise(*description);
    langkit_set_language(language.c_str());
    return 0;
}
