// SPDX-License-Identifier: MIT
// Fourteen kinds in turn give the shares of the virtual scanner's profile: two options of five are bools, one of five
// each a choice of texts and a whole number, the rest reals and groups. Names are told apart by their last letters.
#include "option_texts.h"

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct kind {
    const char *name;
    const char *type;
    const char *constraint; // and what follows up to the conditions
    const char *values;     // what follows them
};

constexpr kind flag(const char *name)
{
    return {name, "bool", R"(,"size":4,"auto":true,"readonly":false,"cat":"base","enable":true)",
            R"(,"default":true,"cur":true)"};
}

constexpr kind choice(const char *name)
{
    return {name, "string",
            R"(,"size":44,"range":["匹配原始尺寸","A4","A5","B5 landscape"],"auto":true,"readonly":false,"cat":"base",)"
            R"("enable":true)",
            R"(,"default":"A4","cur":"A4")"};
}

constexpr kind whole(const char *name)
{
    return {name, "int",
            R"(,"size":4,"range":{"min":0,"max":255,"step":1},"auto":true,"readonly":false,"cat":"advanced",)"
            R"("enable":true)",
            R"(,"default":128,"cur":128)"};
}

constexpr kind real(const char *name)
{
    return {name, "float",
            R"(,"size":4,"range":{"min":0.0,"max":297.0,"step":0.5},"auto":true,"readonly":false,"cat":"advanced",)"
            R"("enable":true)",
            R"(,"default":210.0,"cur":210.0)"};
}

constexpr kind group(const char *name)
{
    return {name, "group", R"(,"size":0,"auto":true,"readonly":false,"cat":"base","enable":true)", ""};
}

constexpr kind kinds[] = {
    flag("is-feature"),    flag("is-rid-mark"), choice("paper-like"), whole("noise-size"),  flag("is-split"),
    choice("fold-like"),   flag("is-anti"),     whole("threshold"),   group("group"),       flag("is-erase-bkg"),
    choice("filter-like"), whole("margin"),     flag("is-rid-hole"),  real("search-range"),
};

constexpr int options_to_a_master = 4;

const kind &kind_of(int index)
{
    return kinds[static_cast<std::size_t>(index) % std::size(kinds)];
}

std::string name_of(int index)
{
    std::string name = kind_of(index).name;
    name += '-';
    for (int rest = index; rest > 0; rest /= 26)
        name += static_cast<char>('a' + rest % 26);
    return name;
}

// The last flag at or before a place; the first option is one.
int flag_before(int index)
{
    while (std::string_view(kind_of(index).type) != "bool")
        --index;
    return index;
}

// Every other option has a condition, some have two.
std::string conditions(int index)
{
    if (index < options_to_a_master || index % 2 == 0)
        return {};
    const std::string master = name_of(flag_before(index - index % options_to_a_master - 1));
    if (index % 5 != 0)
        return R"(,"depend_or":")" + master + R"(==true")";
    return R"(,"depend_and":[")" + master + R"(!=false",")" + name_of(0) + R"(==true"])";
}

std::string text_of(const std::string &name, const kind &kind, int index, const std::string &conditions)
{
    return '"' + name + R"(" : {"type":")" + kind.type + R"(","title":)" + std::to_string(1000 + index % 1000) +
           R"(,"desc":)" + std::to_string(2000 + index) + kind.constraint + conditions + kind.values + '}';
}

} // namespace

std::vector<std::string> mixed_options(int count)
{
    std::vector<std::string> texts;
    for (int index = 0; index < count; ++index)
        texts.push_back(text_of(name_of(index), kind_of(index), index, conditions(index)));
    return texts;
}

std::vector<std::string> master_with_dependents(int dependents)
{
    constexpr kind master = flag("is-master");
    constexpr kind dependent = whole("dependent");
    std::vector<std::string> texts{text_of(master.name, master, 0, "")};
    for (int index = 1; index <= dependents; ++index)
        texts.push_back(
            text_of(dependent.name + name_of(index), dependent, index, R"(,"depend_and":"is-master==true")"));
    return texts;
}
