// SPDX-License-Identifier: MIT
// The scripted language library: words and ids as the script has them.
#include "langkit.h"

#include "state.h"

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

using namespace scripted;

namespace {

using guard = std::lock_guard<std::mutex>;

constexpr std::size_t path_size = 512;

bool is_zeroed(const char *path)
{
    return std::all_of(path, path + path_size, [](char c) { return c == '\0'; });
}

void store(int *status, int value)
{
    if (status != nullptr)
        *status = value;
}

} // namespace

const char *lang_load_string(int word_id, int *status, int reserved)
{
    state &s = the_state();
    record_call("lang_load_string(" + std::to_string(word_id) + "," + shown(status, "status") + "," +
                std::to_string(reserved) + ")");
    if (const auto hook = s.hooked.lang_load_string)
        hook(word_id);
    std::optional<std::string> text = "?" + std::to_string(word_id);
    {
        guard held(s.lock);
        const auto found = s.current.word_ids.find(word_id);
        store(status, found == s.current.word_ids.end() ? 1 : 0);
        if (found != s.current.word_ids.end())
            text = found->second;
    }
    return text ? keep_text(*text) : nullptr;
}

const char *from_default_language(const char *word, int *status)
{
    state &s = the_state();
    record_call("from_default_language(" + shown(word) + "," + shown(status, "status") + ")");
    std::optional<std::string> text = word;
    {
        guard held(s.lock);
        const auto found = s.current.words.find(word);
        store(status, found == s.current.words.end() ? 1 : 0);
        if (found != s.current.words.end())
            text = found->second;
    }
    return text ? keep_text(*text) : nullptr;
}

int register_language_changed_notify(void (*notify)(int, void *), int add, void *parameter)
{
    record_call("register_language_changed_notify(" + std::string(notify == nullptr ? "null" : "notify") + "," +
                std::to_string(add) + "," + shown(parameter, "parameter") + ")");
    state &s = the_state();
    guard held(s.lock);
    const std::pair<void (*)(int, void *), void *> pair(notify, parameter);
    auto &registered = s.language_notices;
    if (add != 0)
        registered.push_back(pair);
    else
        registered.erase(std::remove(registered.begin(), registered.end(), pair), registered.end());
    return 0;
}

char *get_file_path(const char *module, char *path)
{
    record_call("get_file_path(" + shown(module) + "," + (is_zeroed(path) ? "zeroed" : "not zeroed") + ")");
    std::optional<std::string> found;
    {
        state &s = the_state();
        guard held(s.lock);
        found = s.current.file_path;
    }
    if (!found)
        return nullptr;
    const std::size_t length = found->copy(path, path_size);
    if (length < path_size)
        path[length] = '\0';
    return path;
}
