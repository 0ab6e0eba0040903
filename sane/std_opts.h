// SPDX-License-Identifier: MIT
// The SANE well-known options "page-width", "page-height" and "duplex" on top of the driver's "paper" and "page".
#ifndef PELSANE_STD_OPTS_H
#define PELSANE_STD_OPTS_H

#include "descriptor.h"
#include "json.h"
#include "local_utility.h"

#include <sane/sane.h>

#include <memory>
#include <string>
#include <vector>

// The mapper of one opened device. Values are in SANE form: an int in millimetres for the page size, a bool word for
// duplex. Result codes are the driver's. Blocks that are answered are the caller's.
class sane_std_opts {
public:
    // base_id: SANE option number of the first well-known option, the driver's option count.
    explicit sane_std_opts(int base_id);

    // Empties the list; the descriptors stay allocated, and an option that is added again gets its own back.
    void clear();

    // Offered every driver option; adds what can stand on it. user_desc is borrowed and must outlive the entry.
    void init_known_opt(int user_id, SANE_Option_Descriptor *user_desc);

    // Null when there is none; *index (may be null) is the position in the list, -1 then.
    SANE_Option_Descriptor *get_known_option(int known_id, int *index);
    SANE_Option_Descriptor *get_known_option(const char *name, int *index);
    SANE_Option_Descriptor *get_option(int known_id);

    // *user_desc (may be null) becomes the descriptor of the driver option behind a well-known one.
    bool is_known_option(int known_id, SANE_Option_Descriptor **user_desc);

    local_utility::memory_ptr<void> get_default_value(void *scanner, int known_id);

    // Writes what the driver holds to `value` (nothing for the page size) and answers 256 always.
    int get_value(void *scanner, int known_id, void *value);

    // Writes the driver option behind a well-known one. A driver that adjusts the text (261) may adjust `value` too.
    int set_value(void *scanner, int known_id, void *value);

private:
    struct known_option; // what is fixed about one
    struct _opt_map {
        SANE_Option_Descriptor *known_desc;
        int known_id;
        SANE_Option_Descriptor *user_desc;
        int user_id;
        std::string def_val;
    };

    template <typename Matches> SANE_Option_Descriptor *found(Matches matches, int *index);
    const _opt_map *map_of(int known_id);
    void add(const known_option &option, int user_id, SANE_Option_Descriptor *user_desc);
    SANE_Option_Descriptor *descriptor_of(const known_option &option);
    static bool stands_for_sides(const _opt_map &map);
    static void to_known_opt_value(const char *text, void *value);
    local_utility::memory_ptr<char> from_known_opt_value(const _opt_map &map, const void *value, long *length);
    std::string nearest_paper() const;
    static std::unique_ptr<json> get_opt_json(void *scanner, int user_id);
    static local_utility::memory_ptr<char> get_current_value(void *scanner, int user_id);

    std::vector<_opt_map> known_opts_;
    int base_id_;
    int page_width_ = 0; // as set last, in millimetres
    int page_height_ = 0;
    std::vector<descriptor_ptr> descriptors_; // all that were ever made
};

#endif
