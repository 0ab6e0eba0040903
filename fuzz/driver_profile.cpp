// SPDX-License-Identifier: MIT
// The description of a virtual scanner, as somebody may write it: a whole profile when it names a device, else the
// options of one that is in order otherwise. It is refused with a reason, or nothing about it has to be doubted
// afterwards: every option describes itself, takes the values that it allows, and goes back to its default.
#include "input.h"
#include "langkit_control.h"
#include "option_store.h"
#include "oracle.h"
#include "profile.h"

#include <nlohmann/json.hpp>

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

// The value in the binary form in which an application sets it.
struct binary_form {
    std::vector<char> operator()(std::monostate) const { return std::vector<char>(4); }
    std::vector<char> operator()(bool flag) const { return {static_cast<char>(flag)}; }
    std::vector<char> operator()(int number) const { return bytes_of(number); }
    std::vector<char> operator()(double number) const { return bytes_of(number); }
    std::vector<char> operator()(const std::string &text) const
    {
        return {text.c_str(), text.c_str() + text.size() + 1};
    }

    template <typename Number> static std::vector<char> bytes_of(Number number)
    {
        std::vector<char> bytes(sizeof(number));
        std::memcpy(bytes.data(), &number, sizeof(number));
        return bytes;
    }
};

nlohmann::json description_of(const option_store &store, const option_definition &option, int number)
{
    const auto text = nlohmann::json::parse("{" + store.describe(number) + "}", nullptr, false);
    require(text.is_object() && text.size() == 1 && text.contains(option.name), "an option describes itself in JSON");
    return text.at(option.name);
}

bool has_value(const option_definition &option)
{
    return option.type != option_type::button && option.type != option_type::group;
}

void set(option_store &store, const option_definition &option, int number, const option_value &value)
{
    std::vector<char> data = std::visit(binary_form{}, value);
    const auto length = static_cast<long>(data.size());
    const int code = store.set(number, data.data(), &length);
    require((code == 259) == option.readonly, "what can only be read is not written");
    require(code == 0 || code == 256 || code == 259 || code == 261 || code == 262 || code == 277 || code == 278,
            "a write has one of seven answers");
    description_of(store, option, number);
}

void exercise(const profile &description)
{
    option_store store(description);
    for (int number = 1; number < store.count(); ++number) {
        const option_definition &option = description.options[static_cast<std::size_t>(number) - 1];
        require(store.find_by_name(option.name) == number, "a name is one option's");
        description_of(store, option, number);
        set(store, option, number, option.initial);
        for (const option_value &value : option.values)
            set(store, option, number, value);
        for (const option_value &value : {option_value(true), option_value(-7), option_value(0.3), option_value("A4")})
            set(store, option, number, value);
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
