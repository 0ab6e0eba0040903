// SPDX-License-Identifier: MIT
// The session. The platform is scripted anew for each; what an application allocates itself is not the backend's.
#include "session.h"

#include "guarded_memory.h"
#include "memory.h"
#include "platform.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "scripted.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace injection {
namespace {

constexpr int driver_options = 9;
constexpr int all_options = 12; // with "page-width", "page-height" and "duplex"
constexpr int page_width_number = 10;
constexpr int duplex_number = 12;
constexpr int serial_number_item = 34902;
constexpr int mac_address_item = 34905;
constexpr int driver_log_item = 39171;
constexpr std::size_t item_size = 255;
constexpr std::size_t page_size = 1000;
constexpr SANE_Int part_size = 400;
constexpr char untouched = 'Z';

bool is_list_held = false;

scripted::bytes page()
{
    scripted::bytes image(page_size);
    for (std::size_t i = 0; i < page_size; ++i)
        image[i] = static_cast<unsigned char>(i * 7);
    return image;
}

void script_options()
{
    using scripted::set_option;
    set_option(1, "paper",
               R"({"type": "string", "title": 57, "desc": 58, "size": 44, "range": ["A4", "A5", 15],
                   "default": "A4", "cur": "A4"})");
    set_option(2, "page",
               R"({"type": "string", "title": "Sides", "desc": "Sides to scan", "size": 20, "auto": false,
                   "range": ["单面", "双面"], "default": "单面", "cur": "双面"})");
    set_option(3, "resolution",
               R"({"type": "int", "title": "Resolution", "desc": "Dots", "size": 4, "cat": "advanced",
                   "range": {"min": 100, "max": 600, "step": 50}, "default": 200, "cur": 300,
                   "depend_or": ["paper==A4", "page==[1,2]"]})");
    set_option(4, "gamma",
               R"({"type": "float", "title": "Gamma", "desc": "", "size": 4, "range": [1.0, 1.8, 2.5],
                   "default": 1.5, "cur": 1.8})");
    set_option(5, "is-custom-area",
               R"({"type": "bool", "title": "Area", "desc": "", "size": 4, "default": true, "cur": false})");
    set_option(6, "tl-x",
               R"({"type": "float", "title": "Left", "desc": "", "size": 4, "cur": 10.25,
                   "range": {"min": 0, "max": 200.5, "step": 0.5},
                   "depend_and": ["is-custom-area==true", "resolution>=100"]})");
    set_option(7, "note",
               R"({"type": "string", "title": "Note", "size": 300, "cur": "as it was", "readonly": true, "desc": ")" +
                   std::string(1200, 'x') + "\"}");
    set_option(8, "heading", R"({"type": "group", "title": "Heading", "desc": ""})");
    set_option(9, "restore", R"({"type": "button", "title": "Restore", "desc": "", "size": 0})");
}

void script_platform()
{
    scripted::reset();
    script_options();
    scripted::set_devices({{"virtual:1", "Vendor", "Model", "sheetfed scanner"}, {"virtual:2", "V", "M", "scanner"}});
    scripted::set_translation(57, "Paper size");
    scripted::set_translation(15, "A6");
    scripted::set_information("dev-sn", "SN-1");
    scripted::set_information("drv-log", "a log");
    scripted::set_image(page());
    scripted::set_parameters({SANE_FRAME_GRAY, SANE_TRUE, 50, 50, 20, 8});
}

std::string text_or_null(const char *text)
{
    return text != nullptr ? text : "(null)";
}

std::string shown_words(const SANE_Word *list)
{
    std::string text;
    for (SANE_Word i = 1; i <= list[0]; ++i)
        text += " " + std::to_string(list[i]);
    return text;
}

std::string shown_constraint(const SANE_Option_Descriptor &desc)
{
    if (desc.constraint_type == SANE_CONSTRAINT_RANGE) {
        const SANE_Range &range = *desc.constraint.range;
        return " [" + std::to_string(range.min) + "," + std::to_string(range.max) + "," + std::to_string(range.quant) +
               "]";
    }
    if (desc.constraint_type == SANE_CONSTRAINT_WORD_LIST)
        return shown_words(desc.constraint.word_list);
    std::string text;
    if (desc.constraint_type == SANE_CONSTRAINT_STRING_LIST)
        for (const auto *each = desc.constraint.string_list; *each != nullptr; ++each)
            text += " " + std::string(*each);
    return text;
}

// "name (title, description) type t unit u size s cap c" and the constraint; long descriptions by their length.
std::string shown(const SANE_Option_Descriptor &desc)
{
    const std::string description = text_or_null(desc.desc);
    return std::string(desc.name) + " (" + text_or_null(desc.title) + ", " +
           (description.size() > 99 ? std::to_string(description.size()) : description) + ") type " +
           std::to_string(desc.type) + " unit " + std::to_string(desc.unit) + " size " + std::to_string(desc.size) +
           " cap " + std::to_string(desc.cap & ~SANE_CAP_INACTIVE) + shown_constraint(desc);
}

// A value buffer of an application, which ends where the option's size does.
class value_buffer {
public:
    explicit value_buffer(std::size_t size) : memory_(static_cast<long>(size), untouched) {}
    value_buffer(std::size_t size, const std::string &text)
        : memory_(guarded_memory::of_text(text, static_cast<long>(size)))
    {
    }
    explicit value_buffer(SANE_Word word) : memory_(guarded_memory::of_word(word)) {}

    [[nodiscard]] char *data() const { return memory_.data(); }
    [[nodiscard]] std::string word() const { return std::to_string(memory_.word()); }

    [[nodiscard]] std::string text() const
    {
        const std::string all = memory_.bytes();
        return all.substr(0, std::min(all.find('\0'), all.find(untouched)));
    }

private:
    guarded_memory memory_;
};

class application {
public:
    std::vector<step> run()
    {
        if (init() && open_device()) {
            describe_options("describe");
            read_values("read");
            read_further();
            write_values();
            control();
            change_language("change language");
            change_language(recovery);
            describe_options("describe again");
            read_values("read again");
            scan();
            close();
        }
        add(request::exit, "exit", [] { sane_pelsane_exit(); });
        return steps_;
    }

private:
    // Makes a call of the backend and adds it as a step.
    template <typename Call> step &add(request kind, const std::string &name, Call call)
    {
        int status = 0;
        {
            const faulty_memory::inside backend;
            if constexpr (std::is_void_v<decltype(call())>)
                call();
            else
                status = static_cast<int>(call());
        }
        return steps_.emplace_back(
            step{kind, name, status, {}, {}, faulty_memory::made(), faulty_driver::calls().size()});
    }

    bool init()
    {
        SANE_Int version = 0;
        step &added = add(request::init, "init", [&] { return sane_pelsane_init(&version, nullptr); });
        added.outcome = std::to_string(version);
        return added.status == SANE_STATUS_GOOD;
    }

    bool open_device()
    {
        list_devices();
        return add(request::open, "open", [this] { return sane_pelsane_open("virtual:1", &handle_); }).status ==
               SANE_STATUS_GOOD;
    }

    void list_devices()
    {
        const SANE_Device *none = nullptr;
        const SANE_Device **list = &none;
        step &added = add(request::list, "list", [&] { return sane_pelsane_get_devices(&list, SANE_FALSE); });
        if (list == &none) {
            added.outcome = "not written";
            return;
        }
        is_list_held = list != nullptr;
        added.outcome = list == nullptr ? "null" : "";
        for (; list != nullptr && *list != nullptr; ++list) {
            const SANE_Device &device = **list;
            added.outcome +=
                "<" + std::string(device.name) + "," + device.vendor + "," + device.model + "," + device.type + ">";
        }
    }

    // Descriptors that were handed out earlier have to be readable, and at the same place under the same name.
    void describe_options(const std::string &verb)
    {
        for (SANE_Int number = 0; number <= all_options; ++number) {
            const SANE_Option_Descriptor *desc = nullptr;
            const auto kind = number <= driver_options ? request::describe : request::describe_well_known;
            step &added = add(kind, verb + " " + std::to_string(number),
                              [&] { desc = sane_pelsane_get_option_descriptor(handle_, number); });
            added.outcome = "null";
            if (desc == nullptr)
                continue;
            added.outcome = shown(*desc);
            added.activity = SANE_OPTION_IS_ACTIVE(desc->cap) ? "active" : "inactive";
            const auto known = descriptors_.emplace(desc->name, desc).first;
            if (known->second != desc)
                added.outcome += " at another address";
            sizes_[number] = desc->size;
        }
        for (const auto &[name, desc] : descriptors_)
            static_cast<void>(shown(*desc));
    }

    [[nodiscard]] std::size_t size_of(SANE_Int number) const
    {
        const auto known = sizes_.find(number);
        return known != sizes_.end() && known->second > 0 ? static_cast<std::size_t>(known->second) : item_size;
    }

    step &control_option(request kind, const std::string &name, SANE_Int number, int action, value_buffer *value,
                         SANE_Int *info = nullptr)
    {
        return add(kind, name, [&] {
            return sane_pelsane_control_option(handle_, number, static_cast<SANE_Action>(action),
                                               value != nullptr ? value->data() : nullptr, info);
        });
    }

    void read_word(request kind, const std::string &name, SANE_Int number, int action)
    {
        value_buffer value(SANE_Word{99});
        step &added = control_option(kind, name, number, action, &value);
        added.outcome = value.word();
    }

    void read_text(request kind, const std::string &name, SANE_Int number, int action, std::size_t size)
    {
        value_buffer value(size);
        step &added = control_option(kind, name, number, action, &value);
        added.outcome = value.text();
    }

    void read_values(const std::string &verb)
    {
        read_word(request::read_count, verb + " count", 0, SANE_ACTION_GET_VALUE);
        for (const SANE_Int number : {1, 2, 7})
            read_text(request::read, verb + " " + std::to_string(number), number, SANE_ACTION_GET_VALUE,
                      size_of(number));
        for (const SANE_Int number : {3, 4, 5, 6, 8})
            read_word(request::read, verb + " " + std::to_string(number), number, SANE_ACTION_GET_VALUE);
    }

    void read_further()
    {
        read_text(request::read_default, "default of 1", 1, SANE_ACTION_GET_DEFAULT, size_of(1));
        for (const SANE_Int number : {3, 4, 5, 9})
            read_word(request::read_default, "default of " + std::to_string(number), number, SANE_ACTION_GET_DEFAULT);
        read_word(request::read_fixed_id, "fixed id of 1", 1, SANE_ACTION_GET_FIXED_ID);
        read_word(request::read_fixed_id, "fixed id of 7", 7, SANE_ACTION_GET_FIXED_ID);
        read_text(request::read, "serial number", serial_number_item, SANE_ACTION_GET_VALUE, item_size);
        read_text(request::read_log, "driver log", driver_log_item, SANE_ACTION_GET_VALUE, item_size);
    }

    void write(const std::string &name, SANE_Int number, value_buffer *value,
               std::string (value_buffer::*shown)() const = nullptr, request kind = request::write)
    {
        SANE_Int info = 0;
        const int action = kind == request::write_default ? SANE_ACTION_SET_AUTO : SANE_ACTION_SET_VALUE;
        step &added = control_option(kind, name, number, action, value, &info);
        added.outcome = std::to_string(info);
        if (shown != nullptr)
            added.outcome += " " + (value->*shown)();
    }

    void write_values()
    {
        value_buffer yes(SANE_TRUE);
        write("write area", 5, &yes, &value_buffer::word);
        value_buffer a5(size_of(1), "A5");
        write("write paper", 1, &a5, &value_buffer::text);
        write("write resolution", 3, nullptr, nullptr, request::write_default);
        write("write sides", 2, nullptr, nullptr, request::write_default);
        scripted::answer_write("gamma", 261, scripted::bytes{0, 0, 0, 0, 0, 0, 0xF0, 0x3F}); // 1.0
        value_buffer gamma(SANE_Word{98304});
        write("write gamma", 4, &gamma, &value_buffer::word);
        scripted::answer_write("restore", 277);
        write("press restore", 9, nullptr);
        value_buffer width(SANE_Word{148});
        write("write page-width", page_width_number, &width, &value_buffer::word);
        scripted::answer_write("page", 262);
        value_buffer both(SANE_TRUE);
        write("write duplex", duplex_number, &both, &value_buffer::word);
        scripted::answer_write("paper", 278);
        value_buffer a4(size_of(1), "A4");
        write("write paper again", 1, &a4, &value_buffer::text);
        scripted::answer_write("paper", 0);
        value_buffer a5_again(size_of(1), "A5");
        write("write paper once more", 1, &a5_again, &value_buffer::text);
        value_buffer item(item_size, "00:11");
        write("write item", mac_address_item, &item, &value_buffer::text, request::write_item);
    }

    // The driver has changed "paper" and "is-custom-area" back.
    void control()
    {
        scripted::answer("kx_scanner_control", 262, 1);
        unsigned int data = 5;
        unsigned int length = sizeof data;
        step &added =
            add(request::control, "control", [&] { return sane_pelsane_io_control(handle_, 0x20, &data, &length); });
        added.outcome = std::to_string(static_cast<int>(length));
    }

    void change_language(const std::string &name)
    {
        add(request::change_language, name, [] { faulty_driver::change_language(); });
    }

    void scan()
    {
        SANE_Parameters parameters = {};
        step &told =
            add(request::scan, "parameters", [&] { return sane_pelsane_get_parameters(handle_, &parameters); });
        told.outcome = std::to_string(parameters.bytes_per_line) + " x " + std::to_string(parameters.lines);
        add(request::scan, "start", [this] { return sane_pelsane_start(handle_); });
        scripted::bytes scanned;
        for (const char *part : {"1", "2", "3", "4"})
            read_part(part, scanned);
        add(request::scan, "start again", [this] { return sane_pelsane_start(handle_); });
        SANE_Image image = {};
        step &further = add(request::scan, "image", [&] { return sane_pelsane_get_parameters_ex(handle_, &image); });
        further.outcome = std::to_string(image.parameters.lines) + " " + std::to_string(image.driver_data[23]);
        add(request::cancel, "cancel", [this] { sane_pelsane_cancel(handle_); });
    }

    // The outcome says how many bytes came, and whether the page is as it should be up to these.
    void read_part(const std::string &part, scripted::bytes &scanned)
    {
        std::array<SANE_Byte, part_size> data = {};
        SANE_Int length = 0;
        step &added = add(request::scan, "read part " + part,
                          [&] { return sane_pelsane_read(handle_, data.data(), part_size, &length); });
        scanned.insert(scanned.end(), data.begin(), data.begin() + std::clamp(length, 0, part_size));
        const scripted::bytes whole = page();
        const bool is_right =
            scanned.size() <= whole.size() && std::equal(scanned.begin(), scanned.end(), whole.begin());
        added.outcome = std::to_string(length) + (is_right ? " right" : " wrong");
    }

    void close()
    {
        add(request::close, "close", [this] { sane_pelsane_close(handle_); });
    }

    std::vector<step> steps_;
    SANE_Handle handle_ = nullptr;
    std::map<std::string, const SANE_Option_Descriptor *> descriptors_;
    std::map<SANE_Int, SANE_Int> sizes_;
};

} // namespace

std::string step::text() const
{
    return name + ": " + std::to_string(status) + (outcome.empty() ? "" : " " + outcome) +
           (activity.empty() ? "" : " " + activity);
}

std::vector<step> run_session()
{
    script_platform();
    return application().run();
}

std::size_t step_of_allocation(const std::vector<step> &session, std::size_t nth)
{
    const auto found =
        std::find_if(session.begin(), session.end(), [nth](const step &each) { return nth < each.allocations; });
    return static_cast<std::size_t>(found - session.begin());
}

std::size_t step_of_driver_call(const std::vector<step> &session, std::size_t nth)
{
    const auto found =
        std::find_if(session.begin(), session.end(), [nth](const step &each) { return nth < each.driver_calls; });
    return static_cast<std::size_t>(found - session.begin());
}

const step *find_step(const std::vector<step> &session, const std::string &name)
{
    const auto found =
        std::find_if(session.begin(), session.end(), [&name](const step &each) { return each.name == name; });
    return found != session.end() ? &*found : nullptr;
}

long listed_blocks()
{
    return is_list_held ? 1 : 0;
}

} // namespace injection
