// SPDX-License-Identifier: MIT
// Explanations agree with what applications see: in a walk through the settings of every scanner that comes with the
// library, the conditions of each option, as they are explained, say the same as its descriptor.
#include "backend.h"
#include "dependencies.h"
#include "guarded_memory.h"
#include "json.h"
#include "option.h"
#include "sane_pelsane.h"
#include "scanner.h"
#include "surroundings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace inspect_test {
namespace {

using inspect::dependency;
using inspect::option;
using inspect::scanner;

// An option that others depend on, with values worth trying.
struct master {
    int number;
    std::vector<std::vector<char>> values; // as blocks that SANE takes
};

std::vector<char> block_of(SANE_Word word)
{
    std::vector<char> block(sizeof(word));
    std::memcpy(block.data(), &word, sizeof(word));
    return block;
}

std::vector<char> block_of(const char *text, SANE_Int size)
{
    std::vector<char> block(std::max<std::size_t>(static_cast<std::size_t>(size), std::strlen(text) + 1));
    std::memcpy(block.data(), text, std::strlen(text));
    return block;
}

std::vector<std::vector<char>> values_of(const SANE_Option_Descriptor &descriptor)
{
    std::vector<std::vector<char>> values;
    if (descriptor.type == SANE_TYPE_BOOL)
        return {block_of(SANE_FALSE), block_of(SANE_TRUE)};
    if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST)
        for (const auto *text = descriptor.constraint.string_list; *text != nullptr; ++text)
            values.push_back(block_of(*text, descriptor.size));
    if (descriptor.constraint_type == SANE_CONSTRAINT_WORD_LIST)
        for (SANE_Word at = 1; at <= descriptor.constraint.word_list[0]; ++at)
            values.push_back(block_of(descriptor.constraint.word_list[at]));
    if (descriptor.constraint_type == SANE_CONSTRAINT_RANGE) {
        const SANE_Range &range = *descriptor.constraint.range;
        for (const SANE_Word word : {range.min, range.min + 1, range.min + 2, range.max - 1, range.max})
            values.push_back(block_of(word));
    }
    return values;
}

std::vector<master> masters_of(const scanner &device)
{
    std::set<std::string> names;
    for (const dependency &each : inspect::read_dependencies(device))
        for (const auto &condition : each.conditions)
            names.insert(condition.master);
    std::vector<master> masters;
    for (const option &each : inspect::read_options(device))
        if (names.count(each.name) != 0)
            masters.push_back(
                {each.number, values_of(*sane_pelsane_get_option_descriptor(device.handle(), each.number))});
    return masters;
}

// The names of options whose conditions say other than their descriptors. An option without conditions is active.
std::vector<std::string> disagreements(const scanner &device)
{
    std::vector<std::string> names;
    const std::vector<dependency> dependencies = inspect::read_dependencies(device);
    SANE_Word count = 0;
    sane_pelsane_control_option(device.handle(), 0, SANE_ACTION_GET_VALUE, &count, nullptr);
    for (int number = 1; number < count; ++number) {
        const auto *descriptor = sane_pelsane_get_option_descriptor(device.handle(), number);
        const dependency *own = inspect::dependency_of(dependencies, descriptor->name);
        const bool explained = own == nullptr || own->is_satisfied();
        if (explained != SANE_OPTION_IS_ACTIVE(descriptor->cap))
            names.emplace_back(descriptor->name);
    }
    return names;
}

struct scanner_case {
    const char *name;
    std::size_t combinations; // different ones that are tried
};

void PrintTo(const scanner_case &shown, std::ostream *stream) // how googletest calls it
{
    *stream << shown.name;
}

class dependencies : public testing::TestWithParam<scanner_case> {
protected:
    surroundings::environment_variable profiles_{"PELVIRTUAL_PROFILES", PELSANE_PROFILES};
    inspect::backend sane_;
};

TEST_P(dependencies, agree_with_the_descriptors_in_every_combination_tried)
{
    const scanner device(GetParam().name);
    std::vector<master> masters = masters_of(device);
    std::mt19937 random(20261121);
    const auto draw = [&random](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    std::vector<std::size_t> combination(masters.size()); // which value of each was set last
    std::set<std::vector<std::size_t>> tried;
    while (tried.size() < GetParam().combinations) {
        const std::size_t changed = draw(masters.size());
        ASSERT_FALSE(masters[changed].values.empty());
        combination[changed] = draw(masters[changed].values.size());
        const std::vector<char> &wanted = masters[changed].values[combination[changed]];
        const guarded_memory value = guarded_memory::of_bytes({wanted.data(), wanted.size()});
        ASSERT_EQ(sane_pelsane_control_option(device.handle(), masters[changed].number, SANE_ACTION_SET_VALUE,
                                              value.data(), nullptr),
                  SANE_STATUS_GOOD);
        ASSERT_EQ(disagreements(device), std::vector<std::string>()) << "after " << tried.size() << " combinations";
        tried.insert(combination);
    }
}

TEST(ignored_conditions, begin_with_the_first_malformed_one)
{
    EXPECT_EQ(inspect::ignored_conditions(json(R"({"depend_or": ["mode==Gray", "mode=Color", "==Color"]})")),
              (std::vector<std::string>{"mode=Color", "==Color"}));
    EXPECT_EQ(inspect::ignored_conditions(json(R"({"depend_and": "resolution==[75"})")),
              std::vector<std::string>{"resolution==[75"});
    EXPECT_EQ(inspect::ignored_conditions(json(R"({"depend_and": ["mode==Gray", "==Color"]})")),
              std::vector<std::string>());
    EXPECT_EQ(inspect::ignored_conditions(json(R"({"type": "bool"})")), std::vector<std::string>());
}

// Of the small scanners, these are all combinations.
INSTANTIATE_TEST_SUITE_P(every_scanner, dependencies,
                         testing::Values(scanner_case{"virtual:duplex-feeder", 5000},
                                         scanner_case{"virtual:simplex-feeder", 12},
                                         scanner_case{"virtual:flatbed-feeder", 24},
                                         scanner_case{"virtual:large-format", 72}));

} // namespace
} // namespace inspect_test
