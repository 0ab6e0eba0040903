// SPDX-License-Identifier: MIT
// The scripted platform: driver, language and logging library in a form that a test writes the script of. What a test
// sets here is what the three libraries answer; every call and every log line is recorded as a short text.
//
// All functions may be called from any thread; hooks and script are to be set while no call is under way.
//
// How calls read in the record (handles and codes of control in hexadecimal, a pointer that is only passed on as the
// word that names it or "null"):
//   kx_scanner_set_sane_info(pelsane,1.0.24289)            kx_scanner_initialize(callback,null)
//   kx_scanner_uninitialize()                              kx_scanner_get_version()
//   kx_scanner_err_description(256)                        kx_scanner_enum(buffer,5,1)
//   kx_scanner_open(name,0,null,null,null)                 kx_scanner_close(0x100000002,1)
//   kx_scanner_get_parameter(0x100000002,3,buffer,1024,id) kx_scanner_get_status(0x100000002,0)
//   kx_scanner_set_parameter(0x100000002,mode,"Gray",16)   kx_scanner_control(0x100000002,0x20,data,4)
//   kx_scanner_start(0x100000002,null,-1)                  kx_scanner_read_img_data(0x100000002,buffer,4096)
//   kx_scanner_stop(0x100000002)                           kx_scanner_get_img_info(0x100000002,info,24)
//   lang_load_string(57,status,0)                          from_default_language(word,status)
//   register_language_changed_notify(notify,1,null)        get_file_path(pelsane.so,zeroed)
//   EnableLog(0,Vantoscan,driver)                          DisableLog(log)
// Numbers of buffers and lengths are those on entry ("null" for a null pointer to one). Written values read as a quoted
// text for options of type "string" and for 255-byte items, else as the hexadecimal bytes in memory order. Log lines
// read "Info: text" with the levels Debug, Info, Warn and Critical.
#ifndef PELSANE_SCRIPTED_H
#define PELSANE_SCRIPTED_H

#include <sane/sane.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scripted {

using bytes = std::vector<unsigned char>;

inline constexpr int always = -1;

// Back to the defaults: one device, no options, empty image, no translations, all calls succeed, an empty record, no
// open handles. What the backend has registered (event callback, language notice) stays known.
void reset();

// ===== the record =====

std::vector<std::string> record();                          // calls and log lines in order
std::vector<std::string> calls();                           // calls alone
std::vector<std::string> calls_of(std::string_view prefix); // those that begin with a function's name (and more)
std::vector<std::string> log_lines();
std::vector<std::string> log_formats(); // the log lines as "Info: format", before their arguments are put in
void forget_record();

// One kx_scanner_set_parameter, as it arrived.
struct write {
    void *handle;
    std::string option; // name of the option that the key selects, else the key as in the record
    bytes data;         // a text without its NUL
    long length;        // as told by the backend
    bool is_null;       // no data at all
};
std::vector<write> writes();

// One KX_CONTROL_OPTION_ENABLED, copied before its sender frees it.
struct master_value {
    std::string name;
    std::string text; // value of a "string" option
    bytes data;       // the 8 bytes of any other
};
struct notice {
    void *handle;
    std::string name;
    int enabled;
    std::vector<master_value> masters;
};
std::vector<notice> notices();

// The driver's handles that are open now, in the order of opening.
std::vector<void *> open_handles();

// ===== answers of any call by its name =====

// The next `times` calls of a function answer this code (and store `out` in their length or count) and do nothing else
// but be recorded. Several answers queue up; after the last one the function works again.
void answer(const std::string &function, int code, int times = always, std::optional<long> out = std::nullopt);

// Hooks run in place of a function's work; one that answers nothing lets it go on. They may call into the backend.
struct hooks {
    std::function<std::optional<int>()> initialize;
    std::function<std::optional<int>()> uninitialize;
    std::function<std::optional<int>(void *records, int *count, int local_only)> enumerate;
    std::function<std::optional<int>(void **handle, const char *name, char *need_auth)> open;
    std::function<std::optional<int>(void *handle, int force)> close;
    std::function<std::optional<int>(void *handle, const void *option, void *data, long *length, int *id)>
        get_parameter;
    std::function<std::optional<int>(void *handle, const void *option, void *data, long *length)> set_parameter;
    std::function<std::optional<int>(void *handle, int which)> get_status;
    std::function<std::optional<int>(void *handle, unsigned long code, void *data, unsigned int *length)> control;
    std::function<std::optional<int>(void *handle, void *event, int timeout)> start;
    std::function<std::optional<int>(void *handle, void *data, long *count)> read_img_data;
    std::function<std::optional<int>(void *handle)> stop;
    std::function<std::optional<int>(void *handle, void *info, int size)> get_img_info;
    std::function<void(int word_id)> lang_load_string; // before the text is looked up
};
hooks &on();

// ===== the driver =====

struct device {
    std::string name = "virtual:1"; // texts longer than 256 bytes are cut, of 256 bytes have no terminator
    std::string vendor = "Vendor";
    std::string model = "Model";
    std::string type = "sheetfed scanner";
};
void set_devices(std::vector<device> devices);

// Handles of the next opens. Default: 0x100000002, 0x200000004, 0x300000006, ...
void set_handles(std::vector<std::size_t> handles);

// The next `times` opens store `flag` behind need_auth.
void set_need_auth(char flag, int times = always);

// An option under its number; its driver text is `"name" : description`. The same number again replaces it.
void set_option(int number, const std::string &name, const std::string &description);

// The same with the driver's whole text, whatever it is; `name` is what the option is found by.
void set_option_text(int number, const std::string &name, const std::string &text);
void remove_option(int number);

// Makes an option readable under an identifier. Names of well-known options have theirs already.
void set_option_id(int id, int number);

// The number of options told, option 0 counted. Default: the highest number plus 1.
void set_option_count(long count);

// A driver information item, found by its name.
void set_information(const std::string &name, const bytes &data);
void set_information(const std::string &name, const std::string &text);

// Every write of an option (by its name, or an item's) answers this code and overwrites the value in place.
void answer_write(const std::string &name, int code, std::optional<bytes> rewritten = std::nullopt);

// The page that start begins; read_img_data delivers it, then answers 266 with no bytes.
void set_image(const bytes &image);
void set_parameters(const SANE_Parameters &parameters); // the last 24 bytes of a SANE_Image are 1 to 24

void set_version(unsigned int version);
void set_error_text(int code, const std::optional<std::string> &text); // default "error CODE"; nothing: null

// Calls the callback that initialize got, on a thread of its own, and waits for it. Nothing when there is none (any
// more): from the begin of initialize until uninitialize is over.
std::optional<int> fire_event(void *handle, int event, void *data = nullptr, unsigned int *length = nullptr);

// ===== the language library =====

void set_translation(int word_id, const std::optional<std::string> &text);             // default "?ID"; nothing: null
void set_translation(const std::string &word, const std::optional<std::string> &text); // default: the word itself
// Default "/opt/scan/sane/libsane-pelsane.so.1"; a path of 512 bytes or more has no terminator in its buffer.
void set_file_path(const std::optional<std::string> &path);

// Calls what is registered for language changes, on the calling thread; answers how many there are.
int change_language();

} // namespace scripted

#endif
