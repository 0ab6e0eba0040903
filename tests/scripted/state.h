// SPDX-License-Identifier: MIT
// What the three scripted libraries share: script, record, and how values read in it. Not for tests.
#ifndef PELSANE_SCRIPTED_STATE_H
#define PELSANE_SCRIPTED_STATE_H

#include "kx_scanner.h"
#include "scripted.h"

#include <sane/sane.h>

#include <atomic>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace scripted {

struct entry {
    unsigned long place; // in the order of all entries
    bool is_log;
    std::string text;
    std::string format; // of a log line
};

// An entry in memory that is there already: what is recorded in a signal handler must not allocate or lock.
struct fixed_entry {
    std::atomic<bool> is_complete{false};
    unsigned long place;
    bool is_log;
    char text[400];
    char format[200];
};
inline constexpr std::size_t fixed_entry_count = 1024;

struct queued_answer {
    int code;
    int times;
    std::optional<long> out;
};

struct option_text {
    std::string name;
    std::string text;
    std::string type; // its "type" word
};

struct write_answer {
    int code;
    std::optional<bytes> rewritten;
};

// What a test sets; reset() puts a fresh one in place.
struct script {
    std::vector<device> devices{device{}};
    std::deque<std::size_t> handles;
    int opened_count = 0;
    std::deque<std::pair<char, int>> need_auth; // flag, times
    std::map<int, option_text> options;
    std::map<int, int> option_ids;
    std::optional<long> option_count;
    std::map<std::string, bytes> information;
    std::map<std::string, write_answer> write_answers;
    bytes image;
    std::size_t image_position = 0;
    SANE_Parameters parameters{SANE_FRAME_GRAY, SANE_TRUE, 0, 0, 0, 8};
    unsigned int version = 0x01020304;
    std::map<int, std::optional<std::string>> error_texts;
    std::map<int, std::optional<std::string>> word_ids;
    std::map<std::string, std::optional<std::string>> words;
    std::optional<std::string> file_path = "/opt/scan/sane/libsane-pelsane.so.1";
    std::map<std::string, std::deque<queued_answer>> answers;
};

struct state {
    std::atomic<unsigned long> next_place{0};
    std::atomic<std::size_t> fixed_entries_used{0};
    fixed_entry fixed_entries[fixed_entry_count];

    std::mutex lock; // guards everything from here on but the hooks
    std::vector<entry> entries;
    std::vector<write> writes;
    std::vector<notice> notices;
    script current;
    hooks hooked;

    // What the backend has done; outlives a reset.
    kx_event_callback callback = nullptr;
    void *callback_parameter = nullptr;
    std::vector<std::pair<void (*)(int, void *), void *>> language_notices;
    std::vector<void *> open_handles;
    std::set<std::string> texts; // every text that was answered, so that it stays valid
};
state &the_state();

void record_call(std::string text);
void record_log(const std::string &text, const std::string &format);

// The same for signal handlers; false when the text is too long or the room for such entries is used up.
bool record_fixed_call(const char *text);
bool record_fixed_log(const char *text, const char *level, const char *format);

// The queued answer of a function; takes it from the queue.
std::optional<queued_answer> next_answer(const std::string &function);

// A text that stays valid.
const char *keep_text(const std::string &text);

// "null" or the text; the word that names a pointer; a handle; an option key.
std::string shown(const char *text);
std::string shown(const void *pointer, const char *word);
std::string shown_handle(const void *handle);
std::string shown_key(const void *option);

// Number of the option that a key selects, -1 when there is none. The lock must be held.
int number_of_key(const script &current, const void *option);

} // namespace scripted

#endif
