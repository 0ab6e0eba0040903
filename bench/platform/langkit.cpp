// SPDX-License-Identifier: MIT
// One language, whose titles and descriptions have the usual lengths: ids below 2000 are titles.
#include "langkit.h"

#include "bench_platform.h"

namespace {

constexpr int first_description = 2000;

void (*notify)(int, void *) = nullptr;
void *notify_parameter = nullptr;

} // namespace

const char *lang_load_string(int word_id, int *status, int)
{
    if (status != nullptr)
        *status = 0;
    return word_id < first_description ? "Title of option" : "What the option does, in a sentence of some words.";
}

const char *from_default_language(const char *word, int *status)
{
    if (status != nullptr)
        *status = 0;
    return word;
}

int register_language_changed_notify(void (*callback)(int, void *), int add, void *parameter)
{
    notify = add != 0 ? callback : nullptr;
    notify_parameter = parameter;
    return 0;
}

char *get_file_path(const char *, char *)
{
    return nullptr;
}

void bench_change_language()
{
    if (notify != nullptr)
        notify(0, notify_parameter);
}
