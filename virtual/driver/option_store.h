// SPDX-License-Identifier: MIT
// The options of one opened device with their current values and activity.
#ifndef PELSANE_VIRTUAL_OPTION_STORE_H
#define PELSANE_VIRTUAL_OPTION_STORE_H

#include "option.h"
#include "profile.h"

#include <cstddef>
#include <string>
#include <vector>

namespace virtual_scanner {

class option_store {
public:
    // Borrows the description, which has to outlive the store.
    explicit option_store(const profile &description);

    // The options including option 0, which is their number.
    [[nodiscard]] int count() const { return static_cast<int>(options().size()) + 1; }

    // The option's number, 0 when there is none.
    [[nodiscard]] int find_by_name(const std::string &name) const;
    [[nodiscard]] int find_by_well_known_id(int id) const;

    // The option's text, `"name" : {...}`, in the current language.
    [[nodiscard]] std::string describe(int number) const;

    // Takes a value over, as kx_scanner_set_parameter does, and answers its code: 0, 261 (a number was adjusted and
    // written back; this goes before the next three), 262, 277 or 278 (something else changed with it, or may have),
    // 256 (not an allowed value) or 259 (read-only). The profile may give another answer in place of 0 and these three.
    // A word of the default language in place of the one that is shown counts as a change of options. Throws
    // std::bad_alloc and has then changed nothing but the language.
    [[nodiscard]] int set(int number, void *data, const long *length);

    // Every option but the language to its default value.
    void restore_defaults();

    // What the application's side found out about an option's conditions; false when there is no such option.
    [[nodiscard]] bool set_active(const std::string &name, bool active);

    // The value with which an option acts: the current one, or the default while the option is inactive or absent from
    // the description (then `otherwise`).
    template <typename Value> [[nodiscard]] Value acting(option_role role, Value otherwise) const;

    // The meaning of the word with which an option acts; the word itself when the description gives none.
    [[nodiscard]] std::string acting_meaning(option_role role, const std::string &otherwise) const;

    [[nodiscard]] bool is_active(option_role role) const;

private:
    struct change {
        bool image = false;   // image parameters
        bool options = false; // values or texts of other options
    };

    const std::vector<option_definition> &options() const { return description_.options; }
    const option_definition &option_at(int number) const { return options()[index_of(number)]; }
    static std::size_t index_of(int number) { return static_cast<std::size_t>(number) - 1; }
    template <typename Predicate> int find(Predicate matches) const;
    int find_by_role(option_role role) const;
    bool is_master(const option_definition &option) const;
    option_value current(int number) const;
    int answer_to(const option_definition &option, const change &changed) const;
    int press(int number);
    template <typename Change> bool change_all_or_nothing(Change make);
    bool take_over(int number, const option_value &value, change &changed);
    bool set_language(const option_definition &option, const std::string &word);
    void set_by_role(option_role role, double value);
    void set_area_to_paper(const std::string &paper);
    void update_activity();

    const profile &description_;
    std::vector<option_value> values_;
    std::vector<bool> active_;
};

template <typename Value> Value option_store::acting(option_role role, Value otherwise) const
{
    const int number = find_by_role(role);
    if (number == 0)
        return otherwise;
    return std::get<Value>(active_[index_of(number)] ? values_[index_of(number)] : option_at(number).initial);
}

} // namespace virtual_scanner

#endif
