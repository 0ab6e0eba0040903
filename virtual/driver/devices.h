// SPDX-License-Identifier: MIT
// The devices that the driver sees: one for each profile that PELVIRTUAL_PROFILES names, itself or by its folder, or
// that lies in the system's folder of profiles.
#ifndef PELSANE_VIRTUAL_DEVICES_H
#define PELSANE_VIRTUAL_DEVICES_H

#include "profile.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace virtual_scanner {

struct device {
    std::string name; // as it is listed and opened
    std::shared_ptr<const profile> description;
};

// By device name; a device whose profile was written anew under the same name is neither removed nor added.
struct device_changes {
    std::vector<std::string> added;
    std::vector<std::string> removed;
    std::vector<std::string> rewritten;

    [[nodiscard]] bool empty() const { return added.empty() && removed.empty() && rewritten.empty(); }
};

// May be used by several threads at once. Profiles are shared: a session keeps its own when the device goes.
class devices {
public:
    // Reads PELVIRTUAL_PROFILES: files and folders separated by ':', of a folder its "*.json" but for hidden files and
    // "*.schema.json", in the byte order of the names. When it is not set, the system's folder of profiles is read, and
    // when it is empty, or that folder has none, the built-in profile is the only one. A profile that cannot be used is
    // logged with file, place and reason, and left out.
    void load();

    // Reads the same files and folders again and answers what changed; nothing before the first load.
    device_changes rescan();

    void clear();

    // In the order of the variable. The profile's own name is the device's, with "-2", "-3", ... for further profiles
    // that have it. The name given to a file (to its second mention, ...) stays its own until the next load.
    [[nodiscard]] std::vector<device> list() const;

    // Null when there is none of this name; an empty name is that of the first device.
    [[nodiscard]] std::shared_ptr<const profile> find(std::string_view name) const;

    // There are profiles, and none of them can be used.
    [[nodiscard]] bool has_failed() const;

    // The folders among what the variable names, which may come to hold further profiles.
    [[nodiscard]] std::vector<std::string> folders() const;

private:
    using occurrence = std::pair<std::string, int>; // a file, and how often it was mentioned before

    struct place {
        std::string path;
        bool is_folder; // when it was first looked at
    };

    struct entry {
        occurrence origin;
        std::string text;
        std::string complaint;                  // why it cannot be used
        std::shared_ptr<const profile> written; // as in the file; null when it cannot be used
        std::shared_ptr<const profile> named;   // with the device's name; null likewise
    };

    struct given_name {
        std::string own; // the name in the profile
        std::string name;
    };

    static std::vector<place> named_places();
    static std::vector<std::string> files_of(const std::vector<place> &places);
    void scan();
    entry read(occurrence origin) const;
    const entry *find_entry(const occurrence &origin) const;
    void name_devices(std::vector<entry> &found);
    bool is_taken(const std::string &name) const;
    std::string free_name(const std::string &own) const;
    std::vector<device> usable() const;

    mutable std::mutex lock_; // over the rest
    std::vector<place> places_;
    std::vector<entry> entries_;
    std::map<occurrence, given_name> names_;
};

} // namespace virtual_scanner

#endif
