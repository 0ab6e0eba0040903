// SPDX-License-Identifier: MIT
// The SANE standard's section 4.2.9 says what a descriptor is; the limits beyond it are this backend's own.
#include "oracle.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool is_number(const SANE_Option_Descriptor &descriptor)
{
    return descriptor.type == SANE_TYPE_INT || descriptor.type == SANE_TYPE_FIXED;
}

void require_sound_texts(const SANE_Option_Descriptor &descriptor)
{
    require(descriptor.type == SANE_TYPE_STRING, "only a text has a list of texts");
    require(descriptor.constraint.string_list[0] != nullptr, "a list of texts is not empty");
    require(longest_listed(descriptor) <= static_cast<std::size_t>(descriptor.size), "a listed text fits the size");
}

void require_sound_constraint(const SANE_Option_Descriptor &descriptor)
{
    switch (descriptor.constraint_type) {
    case SANE_CONSTRAINT_NONE:
        require(descriptor.constraint.range == nullptr, "what is not constrained has no constraint");
        return;
    case SANE_CONSTRAINT_RANGE:
        require(is_number(descriptor) && descriptor.constraint.range != nullptr, "a range is of numbers");
        return;
    case SANE_CONSTRAINT_WORD_LIST:
        require(is_number(descriptor), "only a number has a list of numbers");
        require(descriptor.constraint.word_list[0] > 0, "a list of numbers is not empty");
        return;
    case SANE_CONSTRAINT_STRING_LIST:
        require_sound_texts(descriptor);
        return;
    default:
        require(false, "the kind of constraint is known");
    }
}

} // namespace

void require(bool holds, const char *expectation)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", expectation);
    std::abort();
}

std::size_t longest_listed(const SANE_Option_Descriptor &descriptor)
{
    std::size_t longest = 0;
    if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST)
        for (const auto *text = descriptor.constraint.string_list; *text != nullptr; ++text)
            longest = std::max(longest, std::strlen(*text));
    return longest;
}

void require_sound(const SANE_Option_Descriptor &descriptor)
{
    constexpr SANE_Int used_capabilities =
        SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT | SANE_CAP_AUTOMATIC | SANE_CAP_INACTIVE | SANE_CAP_ADVANCED;
    require(descriptor.name != nullptr && descriptor.title != nullptr && descriptor.desc != nullptr,
            "a descriptor has all of its texts");
    require(descriptor.type >= SANE_TYPE_BOOL && descriptor.type <= SANE_TYPE_GROUP, "the type is known");
    require(descriptor.unit == SANE_UNIT_NONE || descriptor.unit == SANE_UNIT_MM || descriptor.unit == SANE_UNIT_DPI,
            "the unit is one that options have");
    require((descriptor.cap & ~used_capabilities) == 0, "the capabilities are those that options have");
    require((descriptor.cap & SANE_CAP_SOFT_DETECT) != 0, "every option can be read");
    require(descriptor.size >= 0, "the size is not negative");
    require_sound_constraint(descriptor);
}

std::string constraint_of(const SANE_Option_Descriptor &descriptor)
{
    std::string said;
    if (descriptor.constraint_type == SANE_CONSTRAINT_RANGE) {
        const SANE_Range &range = *descriptor.constraint.range;
        for (const SANE_Word bound : {range.min, range.max, range.quant})
            said += std::to_string(bound) + ' ';
    } else if (descriptor.constraint_type == SANE_CONSTRAINT_WORD_LIST) {
        const SANE_Word *const list = descriptor.constraint.word_list;
        for (SANE_Word i = 0; i <= list[0]; ++i)
            said += std::to_string(list[i]) + ' ';
    } else if (descriptor.constraint_type == SANE_CONSTRAINT_STRING_LIST) {
        for (const auto *text = descriptor.constraint.string_list; *text != nullptr; ++text)
            said.append(*text).append("\n");
    }
    return said;
}

std::string description_of(const SANE_Option_Descriptor &descriptor)
{
    std::string said = std::string(descriptor.name) + '\n' + descriptor.title + '\n' + descriptor.desc + '\n';
    for (const int number : {int{descriptor.type}, int{descriptor.unit}, int{descriptor.size}, int{descriptor.cap},
                             int{descriptor.constraint_type}})
        said += std::to_string(number) + ' ';
    return said + constraint_of(descriptor);
}
