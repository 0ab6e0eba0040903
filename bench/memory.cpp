// SPDX-License-Identifier: MIT
// The allocations of each case, and the memory that an opened device holds beside the descriptors that the application
// was handed. The counts go to the standard output as lines of `name value`.
#include "allocations.h"
#include "bench_platform.h"
#include "cases.h"
#include "option_texts.h"
#include "sane_pelsane.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

void count_allocations(const bench_case &one)
{
    one.work();
    const auto before = allocations_made();
    for (int i = 0; i < one.rounds; ++i)
        one.work();
    std::printf("allocations/%s %.1f\n", one.name.c_str(),
                static_cast<double>(allocations_made() - before) / one.rounds);
}

std::size_t bytes_of(const char *text)
{
    return std::strlen(text) + 1;
}

std::size_t bytes_of(const SANE_String_Const *list)
{
    std::size_t bytes = sizeof(*list);
    for (; *list != nullptr; ++list)
        bytes += sizeof(*list) + bytes_of(*list);
    return bytes;
}

std::size_t constraint_bytes(const SANE_Option_Descriptor &descriptor)
{
    switch (descriptor.constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        return sizeof(SANE_Range);
    case SANE_CONSTRAINT_WORD_LIST:
        return sizeof(SANE_Word) * static_cast<std::size_t>(descriptor.constraint.word_list[0] + 1);
    case SANE_CONSTRAINT_STRING_LIST:
        return bytes_of(descriptor.constraint.string_list);
    default:
        return 0;
    }
}

// What the application can see of a device's options.
std::size_t handed_out(SANE_Handle device)
{
    std::size_t bytes = 0;
    for (SANE_Int option = 1;; ++option) {
        const auto *descriptor = sane_pelsane_get_option_descriptor(device, option);
        if (descriptor == nullptr)
            return bytes;
        bytes += sizeof(*descriptor) + bytes_of(descriptor->name) + bytes_of(descriptor->title) +
                 bytes_of(descriptor->desc) + constraint_bytes(*descriptor);
    }
}

void weigh_opened_device()
{
    const auto options = mixed_options(85);
    std::vector<const char *> texts;
    for (const auto &text : options)
        texts.push_back(text.c_str());
    bench_describe_options(texts.data(), static_cast<int>(texts.size()));

    SANE_Handle device = nullptr;
    const auto before = bytes_held();
    sane_pelsane_open("bench:scanner-1", &device);
    const auto opened = bytes_held();
    std::printf("memory/opened %zu\nmemory/handed-out %zu\n", opened - before, handed_out(device));

    bench_change_language(); // the records of the first table are put aside from here on
    const auto reloaded = bytes_held();
    for (int i = 0; i < 1000; ++i)
        bench_change_language();
    std::printf("memory/reloaded %zu\nmemory/grown %td\n", reloaded - before,
                static_cast<std::ptrdiff_t>(bytes_held() - reloaded));
    sane_pelsane_close(device);
    std::printf("memory/left-after-close %td\n", static_cast<std::ptrdiff_t>(bytes_held() - before));
}

} // namespace

int main()
{
    sane_pelsane_init(nullptr, nullptr);
    for (const bench_case &one : bench_cases()) {
        one.prepare();
        count_allocations(one);
        one.finish();
    }
    weigh_opened_device();
    sane_pelsane_exit();
}
