// SPDX-License-Identifier: MIT
// Script and record: everything that tests set or read. One mutex guards it; hooks run outside of it, so that they may
// call into the backend, which calls the libraries again. What signal handlers may call (the log, the driver's stop) is
// recorded in entries of a fixed size without the mutex; a place in the common order joins the two kinds.
#include "state.h"

#include "kx_scanner.h"
#include "option_ids.h"
#include "scripted.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace scripted {

state &the_state()
{
    static state instance;
    return instance;
}

namespace {

using guard = std::lock_guard<std::mutex>;

// All entries in the order in which they were made.
std::vector<entry> sorted_entries()
{
    state &s = the_state();
    guard held(s.lock);
    std::vector<entry> all = s.entries;
    for (const fixed_entry &each : s.fixed_entries)
        if (each.is_complete)
            all.push_back({each.place, each.is_log, each.text, each.format});
    std::sort(all.begin(), all.end(), [](const entry &a, const entry &b) { return a.place < b.place; });
    return all;
}

template <typename Predicate> std::vector<std::string> selected_texts(Predicate is_wanted)
{
    std::vector<std::string> texts;
    for (const entry &each : sorted_entries())
        if (is_wanted(each))
            texts.push_back(each.text);
    return texts;
}

// The next free fixed entry, its place taken; null when there is none.
fixed_entry *take_fixed_entry()
{
    state &s = the_state();
    const std::size_t index = s.fixed_entries_used++;
    if (index >= fixed_entry_count)
        return nullptr;
    fixed_entry &taken = s.fixed_entries[index];
    taken.place = s.next_place++;
    return &taken;
}

bool record_fixed(bool is_log, const char *text, const char *level, const char *format)
{
    const bool fits = std::strlen(text) < sizeof(fixed_entry::text) &&
                      std::strlen(level) + std::strlen(format) < sizeof(fixed_entry::format);
    fixed_entry *const taken = fits ? take_fixed_entry() : nullptr;
    if (taken == nullptr)
        return false;
    taken->is_log = is_log;
    std::snprintf(taken->text, sizeof taken->text, "%s", text);
    std::snprintf(taken->format, sizeof taken->format, "%s%s", level, format);
    taken->is_complete = true;
    return true;
}

// The word behind "type" and a colon; empty when there is none.
std::string type_word(const std::string &text)
{
    const std::string key = "\"type\"";
    const auto found = text.find(key);
    if (found == std::string::npos)
        return {};
    const auto begin = text.find_first_not_of(" \t\n:", found + key.size());
    if (begin == std::string::npos || text[begin] != '"')
        return {};
    return text.substr(begin + 1, text.find('"', begin + 1) - begin - 1);
}

int well_known_number(const script &current, int id)
{
    const auto by_id = current.option_ids.find(id);
    if (by_id != current.option_ids.end())
        return by_id->second;
    for (const auto &[number, option] : current.options) {
        for (const well_known_option &known : well_known_options)
            if (known.id == id && known.name == option.name)
                return number;
    }
    return -1;
}

} // namespace

// ===== for the libraries =====

void record_call(std::string text)
{
    state &s = the_state();
    guard held(s.lock);
    s.entries.push_back({s.next_place++, false, std::move(text), {}});
}

void record_log(const std::string &text, const std::string &format)
{
    state &s = the_state();
    guard held(s.lock);
    s.entries.push_back({s.next_place++, true, text, format});
}

bool record_fixed_call(const char *text)
{
    return record_fixed(false, text, "", "");
}

bool record_fixed_log(const char *text, const char *level, const char *format)
{
    return record_fixed(true, text, level, format);
}

std::optional<queued_answer> next_answer(const std::string &function)
{
    state &s = the_state();
    guard held(s.lock);
    const auto found = s.current.answers.find(function);
    if (found == s.current.answers.end() || found->second.empty())
        return std::nullopt;
    queued_answer &next = found->second.front();
    const queued_answer answered = next;
    if (next.times != always && --next.times == 0)
        found->second.pop_front();
    return answered;
}

const char *keep_text(const std::string &text)
{
    state &s = the_state();
    guard held(s.lock);
    return s.texts.insert(text).first->c_str();
}

std::string shown(const char *text)
{
    return text == nullptr ? "null" : text;
}

std::string shown(const void *pointer, const char *word)
{
    return pointer == nullptr ? "null" : word;
}

std::string shown_handle(const void *handle)
{
    if (handle == nullptr)
        return "null";
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(handle)));
    return text;
}

std::string shown_key(const void *option)
{
    const auto key = reinterpret_cast<std::intptr_t>(option);
    return key >= 0x10000 ? std::string(static_cast<const char *>(option)) : std::to_string(key);
}

int number_of_key(const script &current, const void *option)
{
    const auto key = reinterpret_cast<std::intptr_t>(option);
    if (key >= 0x10000) {
        for (const auto &[number, each] : current.options)
            if (each.name == static_cast<const char *>(option))
                return number;
        return -1;
    }
    if (key > SANE_OPTION_ID_BASE)
        return well_known_number(current, static_cast<int>(key));
    return current.options.count(static_cast<int>(key)) != 0 ? static_cast<int>(key) : -1;
}

// ===== the record =====

std::vector<std::string> record()
{
    return selected_texts([](const entry &) { return true; });
}

std::vector<std::string> calls()
{
    return selected_texts([](const entry &each) { return !each.is_log; });
}

std::vector<std::string> calls_of(std::string_view prefix)
{
    return selected_texts([prefix](const entry &each) { return !each.is_log && each.text.rfind(prefix, 0) == 0; });
}

std::vector<std::string> log_lines()
{
    return selected_texts([](const entry &each) { return each.is_log; });
}

std::vector<std::string> log_formats()
{
    std::vector<std::string> formats;
    for (const entry &each : sorted_entries())
        if (each.is_log)
            formats.push_back(each.format);
    return formats;
}

void forget_record()
{
    state &s = the_state();
    guard held(s.lock);
    s.entries.clear();
    s.writes.clear();
    s.notices.clear();
    for (std::size_t i = std::min(s.fixed_entries_used.load(), fixed_entry_count); i != 0; --i)
        s.fixed_entries[i - 1].is_complete = false;
    s.fixed_entries_used = 0;
}

std::vector<write> writes()
{
    state &s = the_state();
    guard held(s.lock);
    return s.writes;
}

std::vector<notice> notices()
{
    state &s = the_state();
    guard held(s.lock);
    return s.notices;
}

std::vector<void *> open_handles()
{
    state &s = the_state();
    guard held(s.lock);
    return s.open_handles;
}

// ===== the script =====

void reset()
{
    forget_record();
    state &s = the_state();
    guard held(s.lock);
    s.current = script();
    s.hooked = hooks();
    s.open_handles.clear();
}

hooks &on()
{
    return the_state().hooked;
}

void answer(const std::string &function, int code, int times, std::optional<long> out)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.answers[function].push_back({code, times, out});
}

void set_devices(std::vector<device> devices)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.devices = std::move(devices);
}

void set_handles(std::vector<std::size_t> handles)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.handles.assign(handles.begin(), handles.end());
}

void set_need_auth(char flag, int times)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.need_auth.emplace_back(flag, times);
}

void set_option(int number, const std::string &name, const std::string &description)
{
    set_option_text(number, name, "\"" + name + "\" : " + description);
}

void set_option_text(int number, const std::string &name, const std::string &text)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.options[number] = {name, text, type_word(text)};
}

void remove_option(int number)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.options.erase(number);
}

void set_option_id(int id, int number)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.option_ids[id] = number;
}

void set_option_count(long count)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.option_count = count;
}

void set_information(const std::string &name, const bytes &data)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.information[name] = data;
}

void set_information(const std::string &name, const std::string &text)
{
    set_information(name, bytes(text.begin(), text.end()));
}

void answer_write(const std::string &name, int code, std::optional<bytes> rewritten)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.write_answers[name] = {code, std::move(rewritten)};
}

void set_image(const bytes &image)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.image = image;
    s.current.image_position = image.size();
}

void set_parameters(const SANE_Parameters &parameters)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.parameters = parameters;
}

void set_version(unsigned int version)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.version = version;
}

void set_error_text(int code, const std::optional<std::string> &text)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.error_texts[code] = text;
}

void set_translation(int word_id, const std::optional<std::string> &text)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.word_ids[word_id] = text;
}

void set_translation(const std::string &word, const std::optional<std::string> &text)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.words[word] = text;
}

void set_file_path(const std::optional<std::string> &path)
{
    state &s = the_state();
    guard held(s.lock);
    s.current.file_path = path;
}

// ===== what the libraries do on demand =====

std::optional<int> fire_event(void *handle, int event, void *data, unsigned int *length)
{
    kx_event_callback callback = nullptr;
    void *parameter = nullptr;
    {
        state &s = the_state();
        guard held(s.lock);
        callback = s.callback;
        parameter = s.callback_parameter;
    }
    if (callback == nullptr)
        return std::nullopt;
    int result = 0;
    std::thread([&] { result = callback(handle, event, data, length, parameter); }).join();
    return result;
}

int change_language()
{
    std::vector<std::pair<void (*)(int, void *), void *>> registered;
    {
        state &s = the_state();
        guard held(s.lock);
        registered = s.language_notices;
    }
    for (const auto &[notify, parameter] : registered)
        notify(1, parameter);
    return static_cast<int>(registered.size());
}

} // namespace scripted
