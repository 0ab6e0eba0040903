// SPDX-License-Identifier: MIT
// Settings in, answer codes out. A set changes one value, whatever the profile says is set along with it, and the
// activity of the options that depend on any of these; the answer tells how much the application has to read afresh.
// Tested by driver_options_test.
#include "option_store.h"

#include "dependency.h"
#include "kx_scanner.h"
#include "option.h"
#include "profile.h"
#include "text_value.h"
#include "value_input.h"
#include "words.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <string>

namespace virtual_scanner {

namespace {

int answer_for(bool image, bool options)
{
    if (image)
        return options ? SCANNER_ERR_RELOAD_OPT_PARAM : SCANNER_ERR_RELOAD_IMAGE_PARAM;
    return options ? SCANNER_ERR_CONFIGURATION_CHANGED : SCANNER_ERR_OK;
}

// The application's side notes a value as it was written. Where another word is shown, it has to read it afresh, or
// what depends on the value would go by a word that no condition knows.
int with_options_changed(int answer)
{
    return answer_for(answer == SCANNER_ERR_RELOAD_IMAGE_PARAM || answer == SCANNER_ERR_RELOAD_OPT_PARAM, true);
}

} // namespace

option_store::option_store(const profile &description) : description_(description), active_(options().size(), true)
{
    for (const option_definition &option : options())
        values_.push_back(option.initial);
    update_activity();
}

template <typename Predicate> int option_store::find(Predicate matches) const
{
    const auto found = std::find_if(options().begin(), options().end(), matches);
    return found == options().end() ? 0 : static_cast<int>(found - options().begin()) + 1;
}

int option_store::find_by_name(const std::string &name) const
{
    return find([&](const option_definition &option) { return option.name == name; });
}

int option_store::find_by_well_known_id(int id) const
{
    return find([&](const option_definition &option) { return well_known_id(option) == id; });
}

int option_store::find_by_role(option_role role) const
{
    return find([&](const option_definition &option) { return option.role == role; });
}

// Whether a condition of any option names it.
bool option_store::is_master(const option_definition &option) const
{
    const auto names_it = [&](const condition &each) { return each.master == option.name; };
    const auto depends_on_it = [&](const option_definition &other) {
        return other.depends &&
               std::any_of(other.depends->conditions.begin(), other.depends->conditions.end(), names_it);
    };
    return find(depends_on_it) != 0;
}

// The language belongs to the process: another handle may have switched it.
option_value option_store::current(int number) const
{
    const option_definition &option = option_at(number);
    if (option.role == option_role::language)
        for (const auto &[word, tag] : option.meanings)
            if (tag == current_language())
                return word;
    return values_[index_of(number)];
}

int option_store::set(int number, void *data, const long *length)
{
    const option_definition &option = option_at(number);
    if (option.readonly)
        return SCANNER_ERR_ACCESS_DENIED;
    if (option.type == option_type::button)
        return press(number);
    if (option.type == option_type::group || data == nullptr)
        return SCANNER_ERR_INVALID_PARAMETER;
    const value_input input = read_value(option, data, length);
    if (input.outcome == value_input::refused)
        return SCANNER_ERR_INVALID_PARAMETER;
    change changed;
    if (!change_all_or_nothing([&] { return take_over(number, input.value, changed); }))
        return SCANNER_ERR_INVALID_PARAMETER;
    if (input.outcome == value_input::adjusted) {
        write_back(input.value, data);
        return SCANNER_ERR_NOT_EXACT;
    }
    const int answer = option.answer ? *option.answer : answer_to(option, changed);
    return input.outcome == value_input::reworded ? with_options_changed(answer) : answer;
}

// After 0 the application's side follows the conditions itself. After 277 it does not, and keeps the values of masters
// that it noted before: a master among the image options has to make it read everything afresh.
int option_store::answer_to(const option_definition &option, const change &changed) const
{
    return answer_for(changed.image, changed.options || (changed.image && is_master(option)));
}

int option_store::press(int number)
{
    const option_definition &option = option_at(number);
    if (option.role != option_role::restore)
        return option.answer.value_or(SCANNER_ERR_OK);
    restore_defaults();
    return option.answer.value_or(SCANNER_ERR_RELOAD_OPT_PARAM);
}

// What goes along with a change, and who becomes active, takes memory: without it, all stays as it was.
template <typename Change> bool option_store::change_all_or_nothing(Change make)
{
    auto values = values_;
    auto active = active_;
    try {
        const bool is_made = make();
        update_activity();
        return is_made;
    } catch (const std::bad_alloc &) {
        values_.swap(values);
        active_.swap(active);
        throw;
    }
}

bool option_store::take_over(int number, const option_value &value, change &changed)
{
    const option_definition &option = option_at(number);
    changed.image = changed.image || option.affects_image;
    if (option.role == option_role::language) {
        changed.options = true;
        return set_language(option, std::get<text_value>(value));
    }
    values_[index_of(number)] = value;
    if (option.role == option_role::paper) {
        set_area_to_paper(std::get<text_value>(value));
        changed.options = true;
    }
    const auto along = option.sets.find(to_condition_text(value));
    if (along == option.sets.end())
        return true;
    for (const auto &[name, setting] : along->second)
        take_over(find_by_name(name), setting, changed);
    changed.options = true;
    return true;
}

bool option_store::set_language(const option_definition &option, const std::string &word)
{
    const auto tag = option.meanings.find(word);
    return tag != option.meanings.end() && switch_language(tag->second);
}

void option_store::set_by_role(option_role role, double value)
{
    if (const int number = find_by_role(role); number != 0)
        values_[index_of(number)] = value;
}

void option_store::set_area_to_paper(const std::string &paper)
{
    const paper_size &size = description_.papers.at(paper);
    set_by_role(option_role::left, 0);
    set_by_role(option_role::top, 0);
    set_by_role(option_role::right, size.width_mm);
    set_by_role(option_role::bottom, size.height_mm);
}

void option_store::restore_defaults()
{
    change_all_or_nothing([this] {
        for (int number = 1; number < count(); ++number)
            if (option_at(number).role != option_role::language)
                values_[index_of(number)] = option_at(number).initial;
        return true;
    });
}

bool option_store::set_active(const std::string &name, bool active)
{
    const int number = find_by_name(name);
    if (number == 0)
        return false;
    active_[index_of(number)] = active;
    return true;
}

// One pass per option lets a change run down the longest chain; a circle that never settles ends there too.
void option_store::update_activity()
{
    const auto value_of = [this](const std::string &name) -> std::optional<std::string> {
        const int number = find_by_name(name);
        if (number == 0 || !active_[index_of(number)])
            return std::nullopt;
        return to_condition_text(current(number));
    };
    for (std::size_t pass = 0; pass < options().size(); ++pass) {
        const auto at_start = active_;
        for (std::size_t i = 0; i < options().size(); ++i)
            if (const auto &depends = options()[i].depends)
                active_[i] = is_satisfied(*depends, value_of);
        if (active_ == at_start)
            return;
    }
}

std::string option_store::acting_meaning(option_role role, const std::string &otherwise) const
{
    const int number = find_by_role(role);
    if (number == 0)
        return otherwise;
    const auto word = acting<text_value>(role, otherwise);
    const auto &meanings = option_at(number).meanings;
    const auto meaning = meanings.find(word);
    return meaning != meanings.end() ? meaning->second : word;
}

bool option_store::is_active(option_role role) const
{
    const int number = find_by_role(role);
    return number != 0 && active_[index_of(number)];
}

} // namespace virtual_scanner
