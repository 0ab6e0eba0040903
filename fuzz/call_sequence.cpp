// SPDX-License-Identifier: MIT
// An application and a driver that are both as bad as they may be. The input begins with lines, the texts of the
// driver's options, up to an empty line; the bytes after it are steps: calls of the entry points in any order, and what
// the driver does meanwhile (a surprise, events, another language, other options). The application keeps
// to SANE's rules for memory alone: its buffers have just the room that value_room.h says, and end at an unreadable
// page. After every step all descriptors that it was ever given have to be sound, until their device is closed.
#include "guarded_memory.h"
#include "input.h"
#include "kx_scanner.h"
#include "option_ids.h"
#include "option_key.h"
#include "oracle.h"
#include "platform.h"
#include "sane_ex.h"
#include "sane_pelsane.h"
#include "value_room.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t most_options = 16;
constexpr int most_steps = 48;
constexpr std::size_t most_devices = 3;
constexpr int most_bytes = 1 << 16; // of a value; larger options are left alone
constexpr int driver_log = 39171;

constexpr int answers[] = {SCANNER_ERR_OK,
                           SCANNER_ERR_INVALID_PARAMETER,
                           SCANNER_ERR_INSUFFICIENT_MEMORY,
                           SCANNER_ERR_ACCESS_DENIED,
                           SCANNER_ERR_INFO_260,
                           SCANNER_ERR_NOT_EXACT,
                           SCANNER_ERR_CONFIGURATION_CHANGED,
                           SCANNER_ERR_NO_DATA,
                           SCANNER_ERR_RELOAD_IMAGE_PARAM,
                           SCANNER_ERR_RELOAD_OPT_PARAM,
                           SCANNER_ERR_DEVICE_NOT_FOUND,
                           -1};

struct held_descriptor {
    SANE_Handle handle;
    const SANE_Option_Descriptor *descriptor;
    long told_size; // at first; a reload of the same options needs no more, in whatever language
};

int answer_event(void *, int event, void *data, unsigned int *, void *parameter)
{
    if (event == KX_EVENT_ACCESS)
        std::memset(static_cast<kx_access *>(data)->user, 'u', sizeof(kx_access::user));
    return *static_cast<const int *>(parameter);
}

class application {
public:
    explicit application(input &bytes) : bytes_(bytes) {}

    void init()
    {
        SANE_Int version = 0;
        const unsigned int kind = bytes_.byte();
        event_answer_ = kind % 2 != 0 ? 1 : 0;
        const auto callback = kind % 8 < 4 ? nullptr : answer_event;
        const auto status = kind % 4 < 2 ? sane_pelsane_init(&version, nullptr)
                                         : sane_pelsane_init_ex(&version, callback, &event_answer_);
        require(status == SANE_STATUS_GOOD && version == 16801505, "the backend starts, and says its version");
    }

    void exit()
    {
        sane_pelsane_exit();
        handles_.clear();
        held_.clear();
        require(platform::open_devices() == 0, "an exit closes every device");
    }

    void list_devices()
    {
        const SANE_Device **list = nullptr;
        if (sane_pelsane_get_devices(&list, SANE_FALSE) != SANE_STATUS_GOOD || list == nullptr)
            return;
        std::size_t length = 0;
        for (const SANE_Device **device = list; *device != nullptr; ++device)
            for (const char *text : {(*device)->name, (*device)->vendor, (*device)->model, (*device)->type})
                length += std::strlen(text);
        require(length <= sizeof(_device) * (most_steps + 4U) * 64, "texts are bounded by their fields");
    }

    void open()
    {
        SANE_Handle handle = nullptr;
        if (handles_.size() >= most_devices)
            return;
        const std::size_t before = platform::open_devices();
        const auto status = sane_pelsane_open(bytes_.byte() % 8 == 0 ? "" : "device", &handle);
        require(platform::open_devices() == before + (status == SANE_STATUS_GOOD ? 1 : 0),
                "a device that is not given to the application is not open");
        if (status == SANE_STATUS_GOOD)
            handles_.push_back(handle);
    }

    void close()
    {
        const SANE_Handle handle = any_handle();
        sane_pelsane_close(handle);
        handles_.erase(std::remove(handles_.begin(), handles_.end(), handle), handles_.end());
        held_.erase(std::remove_if(held_.begin(), held_.end(),
                                   [handle](const held_descriptor &held) { return held.handle == handle; }),
                    held_.end());
        require(platform::open_devices() == handles_.size(), "exactly that device is closed");
    }

    void describe()
    {
        const SANE_Handle handle = any_handle();
        describe(handle, any_key());
    }

    void describe_all()
    {
        const SANE_Handle handle = any_handle();
        for (int number = 0; number < static_cast<int>(most_options) + 4; ++number)
            keep(handle, sane_pelsane_get_option_descriptor(handle, number));
    }

    void control()
    {
        static constexpr int actions[] = {SANE_ACTION_GET_VALUE,
                                          SANE_ACTION_SET_VALUE,
                                          SANE_ACTION_SET_VALUE,
                                          SANE_ACTION_SET_AUTO,
                                          SANE_ACTION_GET_DEFAULT,
                                          SANE_ACTION_GET_FIXED_ID,
                                          55};
        const SANE_Handle handle = any_handle();
        const void *const key = any_key();
        const auto action = static_cast<SANE_Action>(bytes_.pick(actions));
        const SANE_Option_Descriptor *const descriptor = describe(handle, key);
        const long room = room_for(handle, key, action, descriptor);
        if (room > most_bytes)
            return;
        platform::the_script().write_code = bytes_.pick(answers);
        SANE_Int info = 0;
        SANE_Int *const wanted_info = bytes_.byte() % 2 == 0 ? &info : nullptr;
        const guarded_memory buffer(room);
        const bool is_set = action == SANE_ACTION_SET_VALUE || action == SANE_ACTION_SET_AUTO;
        void *const value = value_in(buffer, descriptor, is_set);
        const bool keeps_lists = descriptor != nullptr && !may_reload();
        const std::string allowed = keeps_lists ? constraint_of(*descriptor) : "";
        if (option_key::is_name(key))
            sane_pelsane_control_option_ex(handle, key, action, value, wanted_info);
        else
            sane_pelsane_control_option(handle, option_key::number_of(key), action, value, wanted_info);
        require(!keeps_lists || constraint_of(*descriptor) == allowed, "a list of values is not written to");
        require((info & ~(SANE_INFO_INEXACT | SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS)) == 0,
                "there are three flags");
    }

    void scan()
    {
        const SANE_Handle handle = any_handle();
        SANE_Parameters parameters = {};
        SANE_Image image = {};
        sane_pelsane_get_parameters(handle, &parameters);
        sane_pelsane_get_parameters_ex(handle, &image);
        sane_pelsane_start(handle);
        SANE_Byte line[64];
        SANE_Int length = 0;
        sane_pelsane_read(handle, line, sizeof(line), bytes_.byte() % 2 == 0 ? &length : nullptr);
        sane_pelsane_cancel(handle);
    }

    void call_null()
    {
        sane_pelsane_open(nullptr, nullptr);
        sane_pelsane_get_devices(nullptr, SANE_TRUE);
        sane_pelsane_get_parameters(any_handle(), nullptr);
        sane_pelsane_get_parameters_ex(any_handle(), nullptr);
        const auto action = static_cast<SANE_Action>(bytes_.byte() % 4);
        sane_pelsane_control_option_ex(any_handle(), any_key(), action, nullptr, nullptr);
    }

    void ask_the_rest()
    {
        SANE_Int part = -1;
        sane_ex_get_driver_version(&part, nullptr, &part, nullptr);
        require(part == 3, "a version's parts are bytes");
        require(sane_pelsane_strstatus(static_cast<SANE_Status>(bytes_.byte())) != nullptr, "every status has a text");
        require(sane_pelsane_err_desc(static_cast<SANE_Status>(bytes_.byte())) != nullptr, "and every code");
        require(sane_pelsane_read_ext_info() == SANE_STATUS_UNSUPPORTED, "there is no such information");
        sane_pelsane_set_io_mode(any_handle(), SANE_FALSE);
        sane_pelsane_get_select_fd(any_handle(), &part);
    }

    void io_control()
    {
        unsigned int length = sizeof(_device);
        std::vector<char> data(length);
        platform::the_script().control_code = bytes_.pick(answers);
        sane_pelsane_io_control(any_handle(), bytes_.number<std::uint32_t>(), data.data(), &length);
    }

    void surprise()
    {
        static constexpr char fillers[] = {'\0', '"', '{', '[', 'x', '0'};
        platform::surprise due;
        due.calls_before = bytes_.byte() % 16;
        due.code = bytes_.pick(answers);
        const unsigned int kind = bytes_.byte();
        due.length = kind < 128 ? static_cast<long>(kind) : bytes_.number<std::int64_t>();
        due.filler = bytes_.pick(fillers);
        due.event = static_cast<int>(bytes_.byte() % 8);
        platform::the_script().surprises.push_back(due);
    }

    void adjust_writes()
    {
        platform::the_script().changes_language = bytes_.byte() % 4 == 0;
        platform::the_script().rewritten = bytes_.line();
    }

    void exchange_options()
    {
        auto &options = platform::the_script().options;
        are_exchanged_ = true;
        if (!options.empty())
            std::swap(options[bytes_.index(options.size())], options[bytes_.index(options.size())]);
    }

    void send_event() { platform::send_event(static_cast<int>(bytes_.byte() % 8)); }

    void change_language() { platform::change_language(); }

    void require_sound_descriptors() const
    {
        for (const held_descriptor &held : held_)
            require_sound(*held.descriptor);
    }

private:
    SANE_Handle any_handle()
    {
        const std::size_t which = bytes_.byte();
        if (which % 8 == 7 || handles_.empty())
            return reinterpret_cast<SANE_Handle>(which / 8);
        return handles_[which % handles_.size()];
    }

    const void *any_key()
    {
        static constexpr const char *names[] = {"", "drv-log", "page-width", "resolution", "mode", "dev-sn", "no such"};
        const unsigned int kind = bytes_.byte();
        if (kind < 128)
            return option_key::from_number(static_cast<int>(kind % (most_options + 5)));
        if (kind < 192)
            return option_key::from_number(SANE_OPTION_ID_BASE + bytes_.byte() + (kind % 4 == 0 ? 4352 : 0));
        if (kind < 200)
            return option_key::from_number(-static_cast<int>(bytes_.byte()));
        return kind < 224 && !held_.empty() ? held_[kind % held_.size()].descriptor->name : bytes_.pick(names);
    }

    const SANE_Option_Descriptor *describe(SANE_Handle handle, const void *key)
    {
        const auto *const descriptor = sane_pelsane_get_option_descriptor_ex(handle, key);
        keep(handle, descriptor);
        return descriptor;
    }

    void keep(SANE_Handle handle, const SANE_Option_Descriptor *descriptor)
    {
        if (descriptor == nullptr)
            return;
        if (find_held(handle, descriptor) == held_.end())
            held_.push_back({handle, descriptor, descriptor->size});
    }

    std::vector<held_descriptor>::const_iterator find_held(SANE_Handle handle,
                                                           const SANE_Option_Descriptor *descriptor) const
    {
        return std::find_if(held_.begin(), held_.end(), [=](const held_descriptor &held) {
            return held.descriptor == descriptor && held.handle == handle;
        });
    }

    // Options that the driver exchanged have to be described again.
    long told_size(SANE_Handle handle, const SANE_Option_Descriptor *told) const
    {
        if (told == nullptr || are_exchanged_)
            return told != nullptr ? long{told->size} : not_told;
        return find_held(handle, told)->told_size;
    }

    static bool is_driver_log(const void *key)
    {
        if (option_key::is_name(key))
            return std::strcmp(option_key::name_of(key), "drv-log") == 0;
        return option_key::number_of(key) == driver_log;
    }

    // A number that is both an item's and an option's is read as the item, and written as the option.
    long room_for(SANE_Handle handle, const void *key, SANE_Action action, const SANE_Option_Descriptor *told) const
    {
        const long item = room_for_item(key);
        const long size = told_size(handle, told);
        const std::string text = platform::text_of(key);
        switch (static_cast<int>(action)) {
        case SANE_ACTION_GET_VALUE:
            return item != 0 ? item : room_for_value(size, text);
        case SANE_ACTION_GET_DEFAULT:
            return room_for_default(size, text);
        case SANE_ACTION_GET_FIXED_ID:
            return sizeof(SANE_Word);
        case SANE_ACTION_SET_AUTO:
            return item != 0 && told == nullptr ? item : std::max(room_for_set(told), room_for_default(size, text));
        default:
            return item != 0 && (told == nullptr || is_driver_log(key)) ? item : room_for_set(told);
        }
    }

    // A value from the input in all of the buffer, or for a set one that the descriptor itself lists.
    void *value_in(const guarded_memory &buffer, const SANE_Option_Descriptor *told, bool is_set)
    {
        const unsigned int kind = bytes_.byte();
        void *const listed = is_set && told != nullptr && kind % 8 == 0 ? listed_value(*told) : nullptr;
        if (listed != nullptr)
            return listed;
        const std::string content = kind % 4 == 1 ? bytes_.line() : word();
        const bool ends_with_nul = told != nullptr && told->type == SANE_TYPE_STRING && buffer.size() != 0;
        content.copy(buffer.data(), buffer.size() - (ends_with_nul ? 1 : 0));
        return buffer.data();
    }

    // Null when there is none, or when values are arrays.
    static void *listed_value(const SANE_Option_Descriptor &told)
    {
        if (told.constraint_type == SANE_CONSTRAINT_STRING_LIST)
            return const_cast<char *>(told.constraint.string_list[0]);
        if (told.constraint_type == SANE_CONSTRAINT_WORD_LIST && told.size <= static_cast<SANE_Int>(sizeof(SANE_Word)))
            return const_cast<SANE_Word *>(told.constraint.word_list + 1);
        return nullptr;
    }

    // What may load the options anew has a reason to change their lists.
    static bool may_reload()
    {
        const platform::script &driver = platform::the_script();
        return driver.changes_language || !driver.surprises.empty() ||
               driver.write_code == SCANNER_ERR_CONFIGURATION_CHANGED ||
               driver.write_code == SCANNER_ERR_RELOAD_OPT_PARAM;
    }

    std::string word()
    {
        static constexpr const char *words[] = {"true", "单面", "双面", "A4", "300", "Color"};
        const unsigned int kind = bytes_.byte();
        if (kind < 64)
            return bytes_.pick(words);
        std::string raw(sizeof(SANE_Word), '\0');
        const SANE_Word number = kind < 128 ? static_cast<SANE_Word>(kind - 64) : bytes_.number<SANE_Word>();
        std::memcpy(raw.data(), &number, sizeof(number));
        return raw;
    }

    input &bytes_;
    int event_answer_ = 0;
    bool are_exchanged_ = false;
    std::vector<SANE_Handle> handles_;
    std::vector<held_descriptor> held_;
};

using step = void (application::*)();

// Twice what most inputs should do most.
constexpr step steps[] = {
    &application::init,
    &application::exit,
    &application::list_devices,
    &application::open,
    &application::open,
    &application::close,
    &application::describe,
    &application::describe_all,
    &application::control,
    &application::control,
    &application::control,
    &application::control,
    &application::scan,
    &application::call_null,
    &application::ask_the_rest,
    &application::io_control,
    &application::surprise,
    &application::surprise,
    &application::adjust_writes,
    &application::send_event,
    &application::change_language,
    &application::exchange_options,
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input bytes(data, size);
    platform::script &driver = platform::reset();
    for (std::string text = bytes.line(); !text.empty() && driver.options.size() < most_options; text = bytes.line())
        driver.options.push_back(text);
    application user(bytes);
    for (int i = 0; i < most_steps && !bytes.is_used_up(); ++i) {
        (user.*bytes.pick(steps))();
        user.require_sound_descriptors();
    }
    driver.surprises.clear();
    user.exit();
    return 0;
}
