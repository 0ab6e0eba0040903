// SPDX-License-Identifier: MIT
// Memory of descriptors: the record, copies of its texts, and a constraint block for each kind of constraint.
// Everything is zero-filled and belongs to the descriptor; a builder that runs out of memory answers null and frees
// what it had. Tested by tests/sane/descriptor_test.cpp.
#include "descriptor.h"
#include "local_utility.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr SANE_Int initial_capabilities = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT | SANE_CAP_AUTOMATIC;

char *copy_of(const char *text, const char *label)
{
    const std::size_t size = std::strlen(text) + 1;
    auto copy = local_utility::acquire<char>(size, label);
    if (copy != nullptr)
        std::memcpy(copy.get(), text, size);
    return copy.release();
}

void free_text(const char *text)
{
    local_utility::free_memory(const_cast<char *>(text));
}

descriptor_ptr new_descriptor(const char *name, const char *title, const char *desc, SANE_Value_Type type, int size)
{
    descriptor_ptr descriptor = kx_sane_middleware::allocate_descriptor(name, title, desc);
    if (descriptor == nullptr)
        return nullptr;
    descriptor->type = type;
    descriptor->unit = SANE_UNIT_NONE;
    descriptor->size = size;
    descriptor->cap = initial_capabilities;
    descriptor->constraint_type = SANE_CONSTRAINT_NONE;
    return descriptor;
}

// A string list is one block: the pointers with a null at the end, then the texts, each padded to a multiple of 4.
std::size_t slot(const std::string &text)
{
    return (text.size() + 4) & ~std::size_t{3};
}

bool attach_string_list(SANE_Option_Descriptor &desc, const std::vector<std::string> &values)
{
    std::size_t size = (values.size() + 1) * sizeof(SANE_String_Const);
    for (const auto &value : values)
        size += slot(value);
    auto list = local_utility::acquire<SANE_String_Const>(size, "string_list");
    if (list == nullptr)
        return false;
    auto *text = reinterpret_cast<char *>(list.get() + values.size() + 1);
    auto *entry = list.get();
    for (const auto &value : values) {
        std::memcpy(text, value.c_str(), value.size() + 1);
        *entry++ = std::exchange(text, text + slot(value));
    }
    desc.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    desc.constraint.string_list = list.release();
    return true;
}

template <typename Value, typename ToWord>
bool attach_word_list(SANE_Option_Descriptor &desc, const std::vector<Value> &values, ToWord to_word)
{
    auto list = local_utility::acquire<SANE_Word>((values.size() + 1) * sizeof(SANE_Word), "word_list");
    if (list == nullptr)
        return false;
    list.get()[0] = static_cast<SANE_Word>(values.size());
    std::transform(values.begin(), values.end(), list.get() + 1, to_word);
    desc.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    desc.constraint.word_list = list.release();
    return true;
}

bool attach_range(SANE_Option_Descriptor &desc, SANE_Word min, SANE_Word max, SANE_Word quant)
{
    auto range = local_utility::acquire<SANE_Range>(sizeof(SANE_Range), "constraint.range");
    if (range == nullptr)
        return false;
    *range = {min, max, quant};
    desc.constraint_type = SANE_CONSTRAINT_RANGE;
    desc.constraint.range = range.release();
    return true;
}

} // namespace

void descriptor_deleter::operator()(SANE_Option_Descriptor *descriptor) const
{
    kx_sane_middleware::free_descriptor(descriptor);
}

descriptor_ptr kx_sane_middleware::allocate_descriptor(const char *name, const char *title, const char *desc)
{
    descriptor_ptr descriptor(static_cast<SANE_Option_Descriptor *>(
        local_utility::acquire_memory(sizeof(SANE_Option_Descriptor), "SANE_Option_Descriptor")));
    if (descriptor == nullptr)
        return nullptr;
    descriptor->name = copy_of(name, "SANE_Option_Descriptor::name");
    descriptor->title = copy_of(title, "SANE_Option_Descriptor::title");
    descriptor->desc = copy_of(desc, "SANE_Option_Descriptor::desc");
    if (descriptor->name == nullptr || descriptor->title == nullptr || descriptor->desc == nullptr)
        return nullptr;
    return descriptor;
}

void kx_sane_middleware::free_descriptor(SANE_Option_Descriptor *desc)
{
    if (desc == nullptr)
        return;
    free_text(desc->name);
    free_text(desc->title);
    free_text(desc->desc);
    local_utility::free_memory(const_cast<SANE_Range *>(desc->constraint.range)); // one block, whatever its kind
    local_utility::free_memory(desc);
}

descriptor_ptr kx_sane_middleware::string_option_to_SANE_descriptor(const char *name, const char *title,
                                                                    const char *desc,
                                                                    const std::vector<std::string> &values)
{
    auto descriptor = new_descriptor(name, title, desc, SANE_TYPE_STRING, static_cast<int>(values.size()));
    if (descriptor != nullptr && !values.empty() && !attach_string_list(*descriptor, values))
        return nullptr;
    return descriptor;
}

descriptor_ptr kx_sane_middleware::number_option_to_SANE_descriptor(const char *name, const char *title,
                                                                    const char *desc, bool is_fixed, const double *min,
                                                                    const double *max, const double *step)
{
    const auto word = [is_fixed](const double *bound) {
        if (bound == nullptr)
            return SANE_Word{0};
        return is_fixed ? double_2_sane_fixed(*bound) : truncate_to_word(*bound);
    };
    auto descriptor = new_descriptor(name, title, desc, is_fixed ? SANE_TYPE_FIXED : SANE_TYPE_INT, sizeof(SANE_Word));
    if (descriptor == nullptr || (min == nullptr && max == nullptr))
        return descriptor;
    descriptor->size = sizeof(SANE_Range);
    if (!attach_range(*descriptor, word(min), word(max), word(step)))
        return nullptr;
    return descriptor;
}

descriptor_ptr kx_sane_middleware::number_option_to_SANE_descriptor(const char *name, const char *title,
                                                                    const char *desc, const std::vector<int> &values)
{
    auto descriptor = new_descriptor(name, title, desc, SANE_TYPE_INT, sizeof(SANE_Word));
    if (descriptor != nullptr && !values.empty() &&
        !attach_word_list(*descriptor, values, [](int value) { return SANE_Word{value}; }))
        return nullptr;
    return descriptor;
}

descriptor_ptr kx_sane_middleware::number_option_to_SANE_descriptor(const char *name, const char *title,
                                                                    const char *desc, const std::vector<double> &values)
{
    auto descriptor = new_descriptor(name, title, desc, SANE_TYPE_FIXED, sizeof(SANE_Word));
    if (descriptor != nullptr && !values.empty() && !attach_word_list(*descriptor, values, double_2_sane_fixed))
        return nullptr;
    return descriptor;
}
