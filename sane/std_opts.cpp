// SPDX-License-Identifier: MIT
// Options that SANE applications look for and the driver does not have. Setting a page width or height chooses the
// nearest paper of the driver's "paper" option, setting duplex writes the driver's word for one or two sides into
// "page". Words are the driver's, in its default language, and are translated before they are sent or compared. Reading
// a page size writes nothing: the driver's paper says more than width and height do.
// Tested by tests/sane/well_known_options_test.cpp.
#include "std_opts.h"

#include "commonlog.h"
#include "json.h"
#include "kx_scanner.h"
#include "local_utility.h"
#include "opened_devices.h"
#include "option_key.h"
#include "sane_kx_mdw.h"

#include <sane/sane.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

struct sane_std_opts::known_option {
    const char *name;
    const char *title;
    const char *desc;
    SANE_Value_Type type;
    SANE_Unit unit;
    const char *def_val;
};

namespace {

using local_utility::memory_ptr;

struct paper {
    const char *name;
    unsigned int width; // millimetres
    unsigned int height;
};

// Searched in this order; a later row of the same distance never wins. Landscape papers are rows of their own.
constexpr paper g_paper[] = {
    {"A3", 297, 420}, {"8开", 297, 420},    {"A4横向", 297, 210}, {"B4", 257, 364}, {"B5横向", 250, 176},
    {"A4", 210, 297}, {"16开", 210, 285},   {"A5横向", 210, 148}, {"B5", 176, 250}, {"B6横向", 176, 125},
    {"A5", 148, 210}, {"A6横向", 148, 105}, {"B6", 125, 176},     {"A6", 105, 148},
};
constexpr const char *original_size = "匹配原始尺寸";
constexpr std::uint64_t farthest_match = 41600; // square of the distance in millimetres, excluded

constexpr const char *one_side = "单面";
constexpr const char *two_sides = "双面";

std::uint64_t square_of_difference(std::int64_t a, std::int64_t b)
{
    const auto difference = static_cast<std::uint64_t>(std::abs(a - b));
    return difference * difference; // below 2^62 + 2^42 for 32-bit sizes, so that two of them fit
}

bool is_named(const SANE_Option_Descriptor &desc, const char *name)
{
    return std::strcmp(desc.name, name) == 0;
}

// A value block of SANE's word size or more, zero-filled.
template <typename Block> memory_ptr<Block> word_block(SANE_Word word)
{
    auto block = local_utility::acquire<Block>(8, "sane_std_opts");
    if (block != nullptr)
        local_utility::store_word(block.get(), word);
    return block;
}

template <typename Block> memory_ptr<Block> text_block(const std::string &text, std::size_t size)
{
    auto block = local_utility::acquire<Block>(size, "sane_std_opts");
    if (block != nullptr)
        std::memcpy(block.get(), text.data(), text.size());
    return block;
}

} // namespace

sane_std_opts::sane_std_opts(int base_id) : base_id_(base_id) {}

void sane_std_opts::clear()
{
    known_opts_.clear();
}

void sane_std_opts::init_known_opt(int user_id, SANE_Option_Descriptor *user_desc)
{
    static constexpr known_option page_width = {"page-width",  "Page Width", "set page width",
                                                SANE_TYPE_INT, SANE_UNIT_MM, "210"};
    static constexpr known_option page_height = {"page-height", "Page Height", "set page height",
                                                 SANE_TYPE_INT, SANE_UNIT_MM,  "297"};
    static constexpr known_option duplex = {"duplex",       "Duplex",       "set page to be simplex or duplex",
                                            SANE_TYPE_BOOL, SANE_UNIT_NONE, "true"};
    if (is_named(*user_desc, "page") && get_known_option(duplex.name, nullptr) == nullptr) {
        add(duplex, user_id, user_desc);
    } else if (is_named(*user_desc, "paper") && get_known_option(page_width.name, nullptr) == nullptr) {
        add(page_width, user_id, user_desc);
        add(page_height, user_id, user_desc);
    }
}

void sane_std_opts::add(const known_option &option, int user_id, SANE_Option_Descriptor *user_desc)
{
    SANE_Option_Descriptor *const known_desc = descriptor_of(option);
    if (known_desc != nullptr)
        known_opts_.push_back(
            {known_desc, base_id_ + static_cast<int>(known_opts_.size()), user_desc, user_id, option.def_val});
}

// The descriptor that an option had before a reload is used again: applications may hold its address.
SANE_Option_Descriptor *sane_std_opts::descriptor_of(const known_option &option)
{
    for (const auto &made : descriptors_)
        if (is_named(*made, option.name))
            return made.get();
    auto desc = kx_sane_middleware::allocate_descriptor(option.name, option.title, option.desc);
    if (desc == nullptr)
        return nullptr;
    desc->type = option.type;
    desc->unit = option.unit;
    desc->size = sizeof(SANE_Word);
    desc->cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT | SANE_CAP_AUTOMATIC;
    desc->constraint_type = SANE_CONSTRAINT_NONE;
    return descriptors_.emplace_back(std::move(desc)).get();
}

SANE_Option_Descriptor *sane_std_opts::get_known_option(int known_id, int *index)
{
    return found([known_id](const _opt_map &map) { return map.known_id == known_id; }, index);
}

SANE_Option_Descriptor *sane_std_opts::get_known_option(const char *name, int *index)
{
    return found([name](const _opt_map &map) { return is_named(*map.known_desc, name); }, index);
}

template <typename Matches> SANE_Option_Descriptor *sane_std_opts::found(Matches matches, int *index)
{
    const auto map = std::find_if(known_opts_.begin(), known_opts_.end(), matches);
    const bool known = map != known_opts_.end();
    if (index != nullptr)
        *index = known ? static_cast<int>(map - known_opts_.begin()) : -1;
    return known ? map->known_desc : nullptr;
}

SANE_Option_Descriptor *sane_std_opts::get_option(int known_id)
{
    return get_known_option(known_id, nullptr);
}

bool sane_std_opts::is_known_option(int known_id, SANE_Option_Descriptor **user_desc)
{
    const _opt_map *map = map_of(known_id);
    if (map != nullptr && user_desc != nullptr)
        *user_desc = map->user_desc;
    return map != nullptr;
}

const sane_std_opts::_opt_map *sane_std_opts::map_of(int known_id)
{
    int index = -1;
    get_known_option(known_id, &index);
    return index >= 0 ? &known_opts_[static_cast<std::size_t>(index)] : nullptr;
}

memory_ptr<void> sane_std_opts::get_default_value(void *, int known_id)
{
    const _opt_map *map = map_of(known_id);
    if (map == nullptr)
        return nullptr;
    const char *const text = map->def_val.c_str();
    switch (map->known_desc->type) {
    case SANE_TYPE_BOOL:
        return word_block<void>(map->def_val == "true" ? 1 : 0);
    case SANE_TYPE_INT:
        return word_block<void>(static_cast<SANE_Word>(std::strtol(text, nullptr, 10)));
    default:
        return nullptr;
    }
}

// The driver option's description, fetched with a length that is asked for first.
std::unique_ptr<json> sane_std_opts::get_opt_json(void *scanner, int user_id)
{
    const void *const option = option_key::from_number(user_id);
    const opened_device device(scanner);
    long length = 0;
    if (kx_scanner_get_parameter(scanner, option, nullptr, &length, nullptr) != SCANNER_ERR_INSUFFICIENT_MEMORY ||
        length < 0 || device.was_closed())
        return nullptr;
    const long room = length;
    const auto text = local_utility::acquire<char>(static_cast<std::size_t>(room) + 8, "sane_std_opts::get_opt_json");
    if (text == nullptr || kx_scanner_get_parameter(scanner, option, text.get(), &length, nullptr) != SCANNER_ERR_OK ||
        length < 0)
        return nullptr;
    text.get()[std::min(length, room)] = '\0';
    auto document = std::make_unique<json>();
    return document->attach_text(kx_sane_middleware::split_name(text.get(), nullptr)) ? std::move(document) : nullptr;
}

// In SANE form; every block ends with a NUL, so that it can be read as a text.
memory_ptr<char> sane_std_opts::get_current_value(void *scanner, int user_id)
{
    const auto option = get_opt_json(scanner, user_id);
    std::string type;
    if (option == nullptr || !option->get_value("type", type))
        return nullptr;
    if (type == "string") {
        int size = 0;
        std::string text;
        option->get_value("size", size);
        option->get_value("cur", text);
        return text_block<char>(text, std::max(text.size() + 4, static_cast<std::size_t>(std::max(size, 0))));
    }
    const auto word = kx_sane_middleware::word_in_json(type, *option, "cur");
    return word ? word_block<char>(*word) : nullptr;
}

// What comes back from within a driver call may reload the options or close the device: nothing of this object is
// looked at after one.
int sane_std_opts::get_value(void *scanner, int known_id, void *value)
{
    const _opt_map *const map = map_of(known_id);
    if (map == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const bool is_duplex = stands_for_sides(*map);
    const auto current = get_current_value(scanner, map->user_id);
    if (current != nullptr && is_duplex)
        to_known_opt_value(current.get(), value);
    return SCANNER_ERR_INVALID_PARAMETER;
}

bool sane_std_opts::stands_for_sides(const _opt_map &map)
{
    return is_named(*map.known_desc, "duplex");
}

// A page size is not read back: the driver's paper says more than width and height do.
void sane_std_opts::to_known_opt_value(const char *text, void *value)
{
    local_utility::store_word(value, local_utility::translated_word(one_side) == text ? 0 : 1);
}

int sane_std_opts::set_value(void *scanner, int known_id, void *value)
{
    const _opt_map *const map = map_of(known_id);
    if (map == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const bool is_duplex = stands_for_sides(*map);
    const int user_id = map->user_id;
    long length = 0;
    const auto text = from_known_opt_value(*map, value, &length);
    if (text == nullptr)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    DebugLog(g_hLog, "%d->%d: %s", known_id, user_id, text.get());
    const int code = kx_scanner_set_parameter(scanner, option_key::from_number(user_id), text.get(), &length);
    if (code == SCANNER_ERR_NOT_EXACT && is_duplex)
        to_known_opt_value(text.get(), value);
    return code;
}

// The driver's text in a block of the driver option's size, or of the text's own when that is longer.
memory_ptr<char> sane_std_opts::from_known_opt_value(const _opt_map &map, const void *value, long *length)
{
    std::string word;
    if (stands_for_sides(map)) {
        word = local_utility::translated_word(local_utility::word_at(value) == 1 ? two_sides : one_side);
    } else {
        (is_named(*map.known_desc, "page-width") ? page_width_ : page_height_) = local_utility::word_at(value);
        word = nearest_paper();
    }
    const auto size = static_cast<std::size_t>(std::max(map.user_desc->size, 0));
    *length = static_cast<long>(word.size() > size ? word.size() + 1 : size);
    return text_block<char>(word, std::max(size, word.size()) + 4);
}

std::string sane_std_opts::nearest_paper() const
{
    const char *name = original_size;
    std::uint64_t best = farthest_match;
    for (const paper &row : g_paper) {
        const auto distance =
            square_of_difference(page_width_, row.width) + square_of_difference(page_height_, row.height);
        if (distance < best) {
            best = distance;
            name = row.name;
        }
    }
    std::string word = local_utility::translated_word(name);
    DebugLog(g_hLog, "match paper(%u * %u) to '%s'", static_cast<unsigned int>(page_width_),
             static_cast<unsigned int>(page_height_), word.c_str());
    return word;
}
