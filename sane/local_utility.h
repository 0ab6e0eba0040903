// SPDX-License-Identifier: MIT
// Free functions that the whole backend uses: memory, result codes, the frontend's event callback, small scanners,
// texts of the language library, the driver's information items.
#ifndef PELSANE_LOCAL_UTILITY_H
#define PELSANE_LOCAL_UTILITY_H

#include "sane_ex.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace local_utility {

// --- memory (local_utility.cpp) ---

// Zero-filled memory; null when there is none. `purpose` names the requester to whoever reads the call.
[[nodiscard]] void *acquire_memory(std::size_t size, const char *purpose);
void free_memory(void *block); // null is ignored

struct memory_deleter {
    template <typename T> void operator()(T *block) const
    {
        free_memory(static_cast<void *>(const_cast<std::remove_const_t<T> *>(block)));
    }
};
template <typename T> using memory_ptr = std::unique_ptr<T, memory_deleter>;

template <typename T> [[nodiscard]] memory_ptr<T> acquire(std::size_t bytes, const char *purpose)
{
    return memory_ptr<T>(static_cast<T *>(acquire_memory(bytes, purpose)));
}

// A SANE word in a value buffer, which applications need not align.
[[nodiscard]] SANE_Word word_at(const void *value);
void store_word(void *value, SANE_Word word);

// --- versions ---

// The SANE version code (1.0, build 24289) through a pointer that may be null.
[[gnu::visibility("default")]] void get_version(SANE_Int *version_code);

// --- result codes and events (status_codes.cpp) ---

// A driver's result code as a SANE status and back; what a table does not list passes unchanged.
[[nodiscard]] int scanner_err_2_sane_statu(int code);
[[nodiscard]] int sane_statu_2_scanner_err(int status);

// The frontend's event function, or null for none.
void set_callback(sane_event_callback callback, void *parameter);
void stop_work();
[[nodiscard]] bool has_callback();

// The driver's event callback. Answers event 1 itself (0 when a frontend listens, else 56833) and hands every other one
// to the frontend, with the frontend's handle; 0 when nobody listens. Runs on the driver's threads.
int ui_cb(void *handle, int event, void *data, unsigned int *length, void *parameter);

// --- texts ---

// Replaces a text that is a word id ("15.000000": a decimal integer, '.', zeros) by its translation.
void trans_language_if_was_word_id(std::string &text);

// A word of the driver's default language in the current language; the word itself when the library has no answer.
[[nodiscard]] std::string translated_word(const char *word);

// A text of the language or driver library, which may be null.
[[nodiscard]] inline std::string text_or_empty(const char *text)
{
    return text != nullptr ? text : "";
}

// A text in a field of fixed size that it may fill without a terminator.
[[nodiscard]] std::string_view bounded_text(const char *field, std::size_t size);

// --- small scanners; each advances `p` past what it read ---

bool is_space(char c);   // ' ' and '\t' only
bool is_digital(char c); // '0' to '9'
bool is_hex_num(char c);
bool to_num(char c, int &v, bool hex);
bool skip_space(const char *&p);

// "[l,r]": false without ']' or ','. Spaces beside the comma stay, text after the ']' is dropped.
bool get_limit(const char *&p, std::string &l, std::string &r);

// Digits, or '.' and digits, after an ignored '-'; never both an integer part and a fraction.
bool get_number(const char *&p, double &v);

// --- information items of the driver ---

// The driver's name of an item, empty when the number is none; *length (may be null) becomes its buffer's size then.
[[nodiscard]] std::string un_json_option_name(int id, int *length);

} // namespace local_utility

#endif
