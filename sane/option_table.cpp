// SPDX-License-Identifier: MIT
// The table of an opened device: an option is fetched and registered when it is first asked for, and a reload fetches
// them all anew. The invariant is that a descriptor keeps its address until the device is closed: a reload puts the old
// records aside, and whatever is registered afterwards under an old name takes the old descriptor's memory, with the
// new content. Of several options that match a key, the first counts. Tested by tests/sane/option_table_test.cpp.
#include "commonlog.h"
#include "depend_expression.h"
#include "descriptor.h"
#include "fetch_buffer.h"
#include "json.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_ids.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// The first registered option that a key selects, null for none.
const _device_option *find_option(_dev_inst &dev, const void *option)
{
    if (option_key::is_name(option))
        return dev.opts_by_name_.find(dev.opts_, std::string_view(option_key::name_of(option)));
    const int number = option_key::number_of(option);
    return number >= SANE_OPTION_ID_BASE ? dev.opts_by_fix_id_.find(dev.opts_, number)
                                         : dev.opts_by_number_.find(dev.opts_, number);
}

// The well-known options' places in their list, counted from 1, where the hash of their name puts them, or in the next
// free slot. No pointers: with -fsanitize=null, g++ 12 takes them for no constants.
constexpr std::size_t known_slots = 256; // a power of 2
static_assert(std::size(well_known_options) < known_slots / 2);

constexpr std::size_t slot_of(std::string_view name)
{
    std::size_t hash = 0;
    for (const char c : name)
        hash = hash * 31 + static_cast<unsigned char>(c);
    return hash % known_slots;
}

constexpr auto known_by_name = [] {
    std::array<std::uint8_t, known_slots> slots{};
    std::uint8_t place = 0;
    for (const well_known_option &option : well_known_options) {
        std::size_t at = slot_of(option.name);
        while (slots[at] != 0)
            at = (at + 1) % known_slots;
        slots[at] = ++place;
    }
    return slots;
}();

// The identifier that the driver gives in the description, or that the name has; 0 for none.
int well_known_id(const std::string &name, const json &description)
{
    int id = 0;
    if (description.get_value("fix-id", id))
        return id;
    for (std::size_t at = slot_of(name); known_by_name[at] != 0; at = (at + 1) % known_slots)
        if (const well_known_option &known = well_known_options[known_by_name[at] - 1U]; known.name == name)
            return known.id;
    return 0;
}

// In front of what an earlier reload left, so that of several options of one name each finds its own memory first.
void retire_options(_dev_inst &dev)
{
    dev.retired_.insert(dev.retired_.begin(), std::make_move_iterator(dev.opts_.begin()),
                        std::make_move_iterator(dev.opts_.end()));
    dev.retired_by_name_.clear();
    dev.retired_taken_ = 0;
}

// Lets go of the records whose descriptors were taken.
void tidy_retired(_dev_inst &dev)
{
    auto &retired = dev.retired_;
    retired.erase(std::remove_if(retired.begin(), retired.end(),
                                 [](const _device_option &option) { return option.desc_ == nullptr; }),
                  retired.end());
    retired.shrink_to_fit();
    dev.retired_by_name_.clear();
    dev.retired_taken_ = 0;
}

// The first option of a name that was put aside and whose descriptor was not taken, null for none.
_device_option *retired_option(_dev_inst &dev, std::string_view name)
{
    auto &taken = dev.retired_taken_;
    while (taken < dev.retired_.size() && dev.retired_[taken].desc_ == nullptr)
        ++taken;
    if (taken < dev.retired_.size() && dev.retired_[taken].name_ == name)
        return &dev.retired_[taken]; // mostly the options come back in their order
    auto *earlier = dev.retired_by_name_.find(dev.retired_, name);
    if (earlier == nullptr || earlier->desc_ != nullptr)
        return earlier;
    const auto *const end = dev.retired_.data() + dev.retired_.size();
    while (++earlier != end)
        if (earlier->desc_ != nullptr && earlier->name_ == name)
            return earlier;
    return nullptr;
}

// Puts a new record's content into the descriptor of an option that was put aside. The text of the name stays, too:
// applications build their command lines' tables from it, and are not told of every reload.
void take_earlier_memory(_device_option &earlier, _device_option &record) noexcept
{
    std::swap(*earlier.desc_, *record.desc_);
    std::swap(earlier.desc_->name, record.desc_->name);
    record.desc_.swap(earlier.desc_);
    earlier.desc_.reset(); // the old content
}

} // namespace

SANE_Option_Descriptor *kx_sane_middleware::find_stored_descriptor(void *scanner, const void *option, int *option_no,
                                                                   int *fix_id)
{
    _dev_inst *const dev = find_record(scanner);
    if (dev == nullptr || option_key::is_negative(option))
        return nullptr;
    const _device_option *const found = find_option(*dev, option);
    if (found == nullptr)
        return nullptr;
    if (option_no != nullptr)
        *option_no = found->option_no_;
    if (fix_id != nullptr)
        *fix_id = found->fix_id_;
    return found->desc_.get();
}

SANE_Option_Descriptor *kx_sane_middleware::option_count_descriptor()
{
    if (mem_ == nullptr) {
        mem_ = local_utility::acquire<SANE_Option_Descriptor>(sizeof(SANE_Option_Descriptor), "SANE_Option_Descriptor");
        if (mem_ == nullptr)
            return nullptr;
        mem_->name = "option-count";
        mem_->title = "";
        mem_->desc = "Number of options";
        mem_->type = SANE_TYPE_INT;
        mem_->unit = SANE_UNIT_NONE;
        mem_->size = sizeof(SANE_Word);
        mem_->cap = SANE_CAP_SOFT_DETECT;
        mem_->constraint_type = SANE_CONSTRAINT_NONE;
    }
    DebugLog(g_hLog, "get_option_descriptor(0)");
    return mem_.get();
}

SANE_Option_Descriptor *kx_sane_middleware::get_option_descriptor(void *sane_handle, const void *option, char **buf,
                                                                  long *size)
{
    _dev_inst *const dev = find_record(sane_handle_to_scanner(sane_handle));
    if (dev == nullptr || option_key::is_negative(option))
        return nullptr;
    if (option == nullptr)
        return option_count_descriptor();
    if (const _device_option *const stored = find_option(*dev, option))
        return stored->desc_.get();
    return fetch_descriptor(opened_device(*dev), option, buf, size);
}

// A look-up from within the fetch may have registered the option: then that record is the option's.
SANE_Option_Descriptor *kx_sane_middleware::fetch_descriptor(const opened_device &device, const void *option,
                                                             char **buf, long *size)
{
    int option_no = -1;
    std::string name;
    json description(get_option_json(device.scanner(), option, &name, &option_no, buf, size).c_str());
    _dev_inst *const dev = device.record();
    if (dev == nullptr)
        return nullptr;
    if (const _device_option *const stored = find_option(*dev, option))
        return stored->desc_.get();
    auto desc = from_json(dev->dev_, name, &description);
    if (desc == nullptr)
        return dev->std_opts_ != nullptr ? dev->std_opts_->get_option(option_no) : nullptr;
    return register_option(*dev, option_no, std::move(name), description, std::move(desc));
}

SANE_Option_Descriptor *kx_sane_middleware::register_option(_dev_inst &dev, int option_no, std::string name,
                                                            json &description, descriptor_ptr desc)
{
    const int fix_id = well_known_id(name, description);
    if (fix_id != 0)
        dev.fixed_id_[static_cast<sane_option_id>(fix_id)] = option_no;
    _device_option *const earlier = retired_option(dev, name); // before there is a record, since memory may run out
    _device_option &record =
        dev.opts_.emplace_back(_device_option{option_no, fix_id, std::move(name), std::move(desc)});
    if (earlier != nullptr)
        take_earlier_memory(*earlier, record);
    SANE_Option_Descriptor *const kept = record.desc_.get();
    if (dev.std_opts_ != nullptr)
        dev.std_opts_->init_known_opt(option_no, kept);
    refresh_current_value(&dev, kept->name, &description);
    return kept;
}

void kx_sane_middleware::reload_options(void *scanner)
{
    std::vector<opened_device> devices; // the list may change meanwhile
    for (const auto &dev : openning_dev_)
        if (scanner == nullptr || dev->dev_ == scanner)
            devices.emplace_back(*dev);
    for (const opened_device &device : devices)
        reload_device(device);
}

void kx_sane_middleware::reload_device(const opened_device &device)
{
    _dev_inst *dev = device.record();
    if (dev == nullptr)
        return;
    retire_options(*dev);
    free_device_inst(dev, false);

    const int count = described_options(device.scanner());
    dev = device.record();
    if (dev == nullptr)
        return;
    dev->opts_.reserve(static_cast<std::size_t>(count));
    dev->cur_vals_.reserve(static_cast<std::size_t>(count));
    describe_options(device, count);
    decide_slaves(device);
    dev = device.record();
    if (dev == nullptr)
        return;
    tidy_retired(*dev);
    dev->slaves_.shrink_to_fit();
    dev->masters_.shrink_to_fit();
}

void kx_sane_middleware::describe_options(const opened_device &device, int count)
{
    fetch_buffer buffer;
    for (int number = 1; number < count; ++number) {
        const void *const option = option_key::from_number(number);
        _dev_inst *const dev = device.record();
        if (dev == nullptr)
            return;
        if (find_option(*dev, option) == nullptr)
            fetch_descriptor(device, option, &buffer.text, &buffer.size);
    }
}

// By index: a look-up may register an option, which lets the list grow, or reload them all.
void kx_sane_middleware::decide_slaves(const opened_device &device)
{
    void *const sane_handle = scanner_handle_to_sane(device.scanner());
    _dev_inst *dev = device.record();
    for (std::size_t i = 0; dev != nullptr && i < dev->slaves_.size(); ++i) {
        const std::string name = dev->slaves_[i].name;
        auto *const desc = get_option_descriptor(sane_handle, name.c_str(), nullptr, nullptr);
        dev = device.record();
        if (dev != nullptr && i < dev->slaves_.size() && dev->slaves_[i].name == name)
            set_status_by_depends(dev->dev_, dev->slaves_[i], dev->cur_vals_, desc);
    }
}

void kx_sane_middleware::set_status_by_depends(void *scanner, _slave_option &slave, std::vector<_cur_val> &cur_vals,
                                               SANE_Option_Descriptor *desc)
{
    if (slave.master.empty())
        return;
    slave.enable_now = slave.is_enable(scanner, slave.master, cur_vals);
    if (desc != nullptr)
        set_active(*desc, slave.enable_now);
}
