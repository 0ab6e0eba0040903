// SPDX-License-Identifier: MIT
// The middleware between the SANE entry points and the scanner driver: one object for the process. The class is
// declared here once, in sections; each section's source file is named.
//
// Conventions. `handle` or `sane_handle` is the frontend's handle of a device, `scanner` the driver's. An option is
// selected by a key (option_key.h). Functions that return an int return a SANE status unless "driver code" is said.
// One thread at a time, except where a section says otherwise; nothing is locked.
//
// A call into the driver may come back with any entry point, exit included. What was looked up before it is looked up
// again after it, through an opened_device; while that has a record, this object is there as well.
#ifndef PELSANE_SANE_KX_MDW_H
#define PELSANE_SANE_KX_MDW_H

#include "depend_expression.h"
#include "descriptor.h"
#include "json.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "sane_ex.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

extern void *g_hLog; // the handle that every message is logged with

// Receives a value of `size` bytes; `parameter` says where to put it.
using value_setter = void (*)(void *value, unsigned long size, void *parameter);

struct enable_notice_deleter {
    void operator()(_opt_enabled *notice) const; // kx_sane_middleware::free_control_enable_data
};
using enable_notice = std::unique_ptr<_opt_enabled, enable_notice_deleter>;

class kx_sane_middleware {
public:
    // ===== load, start, stop: sane_kx_mdw.cpp =====

    // The object, created by the first call, which starts the driver. Null when the frontend exits within an event of
    // that start.
    [[gnu::visibility("default")]] static kx_sane_middleware *instance();

    // Whether there is an object. Safe anywhere, signal handlers included.
    static bool exists() { return inst_.load() != nullptr; }

    // Stops event delivery, closes every device, shuts the driver down. A following instance() starts anew. Whatever
    // the driver throws ends here.
    [[gnu::visibility("default")]] static void clear();

    // The same when the library is unloaded, for an object that was made after a clear().
    static void clear_leftover();

    [[gnu::visibility("default")]] bool is_ready();
    [[gnu::visibility("default")]] static void set_callback(sane_event_callback callback, void *parameter);

    // The folder of the backend's library with a trailing '/'; empty when unknown.
    [[gnu::visibility("default")]] static std::string sane_path();

    // Notice of the language library, on whatever thread it comes: reloads the options of all opened devices. Nothing
    // without an object.
    [[gnu::visibility("default")]] static void language_changed(int, void *);

    // Handler of SIGUSR1, the device-change notice; it only logs (status_codes.cpp, with the driver's events).
    static void device_pnp(int signal);

    ~kx_sane_middleware();
    kx_sane_middleware(const kx_sane_middleware &) = delete;
    kx_sane_middleware &operator=(const kx_sane_middleware &) = delete;

    // ===== discovery: device_list.cpp =====

    // *list, a null-terminated array, stays valid until the next successful listing. On failure it is not written.
    int get_devices(const SANE_Device ***list, bool local_only);

    // `count` driver records as one block, released by free_sane_device; null when memory is short.
    static SANE_Device **to_sane_device(const _device *records, int count);
    static void free_sane_device(SANE_Device **block);

    // ===== opened devices: opened_devices.cpp =====

    // The frontend's handle of a driver handle, and (the same transform) back; null stays null.
    static void *scanner_handle_to_sane(void *handle)
    {
        static_assert(sizeof(void *) == 8, "handles are transformed as 64-bit numbers");
        const auto number = reinterpret_cast<std::uintptr_t>(handle);
        return reinterpret_cast<void *>(number ^ (number >> 32));
    }
    static void *sane_handle_to_scanner(void *handle)
    {
        return scanner_handle_to_sane(handle); // the upper half is kept, so it undoes itself
    }

    // Opens in the driver and makes the record. *need_auth becomes non-zero when the device asks for access. user,
    // password and extra are not passed on. A driver's refusal (259) is SANE_STATUS_ACCESS_DENIED, its other codes are
    // answered as they stand.
    int open(const char *name, void **handle_out, const char *user, const char *password, const char *extra,
             char *need_auth);

    // The SANE open: asks the frontend for access when the device wants it, and fills the option table.
    int open_device(const char *name, void **handle_out);
    int close_device(void *sane_handle);

    using device_list = std::vector<std::unique_ptr<_dev_inst>>;
    device_list::iterator find_openning_device_in_que(void *scanner);
    device_list::iterator find_openning_device_in_que(const char *name);

    // The record of a driver's handle, or with a serial number, in the object that there is now; null for none.
    static _dev_inst *find_record(void *scanner);
    static _dev_inst *find_record(std::uint64_t serial);

    // The driver's handle, null when the device is not open. `remove` takes the record out of the list: *record_out is
    // then the caller's, or without record_out the record is freed.
    void *find_openning_device(void *sane_handle, bool remove, _dev_inst **record_out);

    // Resets the options of a record (destroy false), or frees it.
    static void free_device_inst(_dev_inst *record, bool destroy);

    // ===== scanning: scanning.cpp =====

    int get_image_parameters(void *handle, SANE_Parameters *p);
    int get_image_parameters_ex(void *handle, SANE_Image *p);
    int start(void *handle, void *event);

    // *length in: room in data; out: the count that the driver delivered, whatever it answers.
    static int read(void *handle, void *data, int *length);

    // Called from signal handlers and other threads, at any instruction of any other call: allocates, locks and changes
    // nothing, and needs no object.
    static int stop(void *handle);

    int io_control(void *handle, unsigned long code, void *data, unsigned int *length);

    // ===== driver texts: option_json.cpp =====

    // The description object's text of an option, empty on failure; *name_out its name, *id_out its number as the
    // driver stores it. buf and size lend a fetch buffer and receive it back, to be freed with free_memory.
    static std::string get_option_json(void *scanner, const void *option, std::string *name_out, int *id_out,
                                       char **buf, long *size);

    // The description object in an option's text; *name_out (may be null) its name, empty when there is none.
    static const char *split_name(const char *text, std::string *name_out);

    // The number of options, option 0 counted, as the driver says it.
    static long option_count(void *scanner);
    // The same within the numbers that options can have; 0 when the driver has no sensible answer.
    static int described_options(void *scanner);

    // A translatable text, given as a word id or as a string; empty when absent.
    static std::string get_string_in_json(json *jsn, const char *key);

    // ===== descriptors: descriptor.cpp, descriptor_builders.cpp =====

    // The descriptor of a description object, null when its "type" is none. A dependency expression in it is registered
    // with the opened device.
    descriptor_ptr from_json(void *scanner, const std::string &name, json *jsn);

    static descriptor_ptr allocate_descriptor(const char *name, const char *title, const char *desc);
    static void free_descriptor(SANE_Option_Descriptor *desc);
    static descriptor_ptr string_option_to_SANE_descriptor(const char *name, const char *title, const char *desc,
                                                           const std::vector<std::string> &values);
    static descriptor_ptr number_option_to_SANE_descriptor(const char *name, const char *title, const char *desc,
                                                           bool is_fixed, const double *min, const double *max,
                                                           const double *step);
    static descriptor_ptr number_option_to_SANE_descriptor(const char *name, const char *title, const char *desc,
                                                           const std::vector<int> &values);
    static descriptor_ptr number_option_to_SANE_descriptor(const char *name, const char *title, const char *desc,
                                                           const std::vector<double> &values);

    // ===== the option table: option_table.cpp =====

    // A registered option's descriptor by number, name or well-known identifier; null when nothing matches. The
    // out-parameters may be null and are written only when it is found.
    static SANE_Option_Descriptor *find_stored_descriptor(void *scanner, const void *option, int *option_no,
                                                          int *fix_id);

    // As above, fetching and registering what is not in the table yet. Valid until the device is closed. buf and size
    // as in get_option_json.
    SANE_Option_Descriptor *get_option_descriptor(void *sane_handle, const void *option, char **buf, long *size);

    // Rebuilds the table of a device, of all for null. Descriptors keep their addresses.
    void reload_options(void *scanner);

    static void set_status_by_depends(void *scanner, _slave_option &slave, std::vector<_cur_val> &cur_vals,
                                      SANE_Option_Descriptor *desc);

    // ===== dependencies: depend_expression.cpp =====

    // Appends the conditions of an expression to `slave`, up to the first malformed one, and their names to `masters`.
    // True when the slave has any condition.
    bool parse_depends(void *scanner, json *depends, _slave_option &slave, std::vector<std::string> &masters);
    static bool parse_master_option(const char *text, _master_option &out);

    static bool compare_val_equal(const char *cur, const char *l, const char *r);
    static bool compare_val_not_equal(const char *cur, const char *l, const char *r);
    static bool compare_val_great(const char *cur, const char *l, const char *r);
    static bool compare_val_not_great(const char *cur, const char *l, const char *r);
    static bool compare_val_less(const char *cur, const char *l, const char *r);
    static bool compare_val_not_less(const char *cur, const char *l, const char *r);
    static bool compare_val_between(const char *cur, const char *l, const char *r);
    static bool compare_val_not_between(const char *cur, const char *l, const char *r);

    // ===== enable states: depend_propagation.cpp =====

    static bool is_enable_and(void *scanner, const std::vector<_master_option> &masters,
                              std::vector<_cur_val> &cur_vals);
    static bool is_enable_or(void *scanner, const std::vector<_master_option> &masters,
                             std::vector<_cur_val> &cur_vals);
    static bool is_associatived(const _slave_option &slave, const char *name);
    bool set_stored_option_enabled(void *scanner, const void *option, bool enable, int *size_out);

    // Re-decides, breadth-first, what depends on an option that has a new value (its cached text form), and tells the
    // driver of each change. SANE info bits: SANE_INFO_RELOAD_OPTIONS when another option changed state.
    int something_after_do(_dev_inst *dev, const char *name, const char *value);

    // The driver changed other settings: reads all values again and propagates from those that differ.
    void on_SCANNER_ERR_CONFIGURATION_CHANGED(_dev_inst *dev);

    // ===== the notice of a change, and the value cache: enable_notice.cpp, value_cache.cpp =====

    // Null when memory is short; to be freed with free_control_enable_data.
    static _opt_enabled *get_control_enalbe_data(_dev_inst *dev, const _slave_option &slave);
    static void free_control_enable_data(_opt_enabled *data);

    // From an option's text: true when an entry existed and its text changed.
    static bool refresh_current_value(_dev_inst *dev, const char *name, json *option_json);
    // From a text: true when an entry existed and had this text already.
    static bool refresh_current_value(_dev_inst *dev, const char *name, const char *value);
    void reload_current_value(void *scanner, std::vector<std::string> *changed);

    // ===== value forms: value_codec.cpp =====

    // Toward zero; saturates at the ends of 32 bits, 0 for what is no number.
    static SANE_Word truncate_to_word(double value);
    static SANE_Fixed double_2_sane_fixed(double value);
    static double sane_fixed_2_double(int value);
    // The value under `key` of an option of type "int", "bool" or "float", zero when it is absent.
    static std::optional<SANE_Word> word_in_json(const std::string &type, const json &option, const char *key);
    static std::string option_value_2_string(SANE_Value_Type type, const void *value);
    static void set_value_to_var(void *value, unsigned long size, void *parameter);
    static void set_value_to_new(void *value, unsigned long size, void *parameter);

    // ===== current and default values: current_value.cpp, default_value.cpp =====

    bool get_current_value(void *scanner, const void *option, value_setter setter, void *param, SANE_Value_Type *type);
    bool get_cur_value(void *handle, const void *option, void *value, SANE_Value_Type *type);
    local_utility::memory_ptr<void> get_cur_value(void *handle, const void *option, SANE_Value_Type *type);
    local_utility::memory_ptr<void> get_default_value(void *scanner, const void *option, int *bytes, bool log,
                                                      bool *can_auto);
    local_utility::memory_ptr<void> get_def_value(void *handle, const void *option, int *bytes, bool log);

    // ===== control_option: set_option.cpp =====

    // value holds one SANE word or a text, as the descriptor says; info may be null.
    int set_option(void *handle, const void *option, int action, void *value, int *info);

private:
    kx_sane_middleware();
    void start_driver();
    void stop_driver();

    // Whether the object with a serial number is still the one that there is. Asked after calls into the driver, which
    // may have come back with an exit.
    static bool is_current(std::uint64_t serial);

    // opened_devices.cpp
    template <typename Matches> static _dev_inst *record_where(Matches matches);
    std::unique_ptr<_dev_inst> take_record(device_list::iterator place);
    _dev_inst *add_record(void *scanner, const char *name);
    static int add_well_known_options(const opened_device &device);

    // descriptor.cpp
    void register_dependencies(void *scanner, const SANE_Option_Descriptor &desc, const std::string &name, json &jsn);

    // option_table.cpp
    SANE_Option_Descriptor *option_count_descriptor();
    SANE_Option_Descriptor *register_option(_dev_inst &dev, int option_no, std::string name, json &description,
                                            descriptor_ptr desc);
    SANE_Option_Descriptor *fetch_descriptor(const opened_device &device, const void *option, char **buf, long *size);
    void reload_device(const opened_device &device);
    void describe_options(const opened_device &device, int count);
    void decide_slaves(const opened_device &device);

    // current_value.cpp
    bool read_value(const opened_device &device, const void *option, int told_size, value_setter setter, void *param,
                    SANE_Value_Type *type);

    // default_value.cpp
    local_utility::memory_ptr<void> get_well_known_default(const opened_device &device, const void *option);

    // depend_propagation.cpp
    bool redecide(_dev_inst &dev, _slave_option &slave);

    // set_option.cpp: one call on its way through
    struct request;
    struct write_request;
    static int access_driver_log(void *handle, int action, void *value);
    static int keep_off_lists(request &call, int action, const SANE_Option_Descriptor &told);
    int read_option(const request &call, int *info);
    int read_default(const request &call);
    int read_fixed_id(const request &call);
    int write_option(write_request &call, int *info);
    int take_default(write_request &call);
    int provide_value(write_request &call);
    static int write_well_known_option(write_request &call); // driver code
    static int write_driver_option(write_request &call);     // driver code
    static std::string text_after_write(const write_request &call);
    static int write_information_item(const request &call);
    int conclude(const write_request &call, int code, int *info);
    int follow_up(_dev_inst &dev, const write_request &call, int code);
    void reload_after(const _dev_inst &dev, const write_request &call);

    local_utility::memory_ptr<SANE_Option_Descriptor> mem_; // of option 0
    bool ready_ = false;
    device_list openning_dev_; // in the order of opening
    bool is_ending_ = false;
    const std::uint64_t serial_; // of all objects that the process ever had
    struct sigaction earlier_handler_ = {};

    static std::atomic<kx_sane_middleware *> inst_;
    static bool was_cleared_;
    static local_utility::memory_ptr<SANE_Device *> dev_list_; // the block handed out last
};

#endif
