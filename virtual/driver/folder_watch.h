// SPDX-License-Identifier: MIT
// Folders whose files come and go.
#ifndef PELSANE_VIRTUAL_FOLDER_WATCH_H
#define PELSANE_VIRTUAL_FOLDER_WATCH_H

#include "descriptor.h"

#include <map>
#include <string>
#include <vector>

struct inotify_event;

namespace virtual_scanner {

class folder_watch {
public:
    // From here on changes are noted. A folder that cannot be watched is logged and left out. Throws std::system_error
    // when nothing can be watched at all.
    explicit folder_watch(const std::vector<std::string> &folders);

    // Readable when something was noted.
    [[nodiscard]] int descriptor_to_poll() const { return notes_.number(); }

    // Takes what was noted; true when a file has come complete, has gone or was rewritten, or a folder itself has gone.
    bool take_changes();

private:
    [[nodiscard]] bool is_change(const inotify_event &note) const;

    descriptor notes_;
    std::map<int, std::string> folders_; // by their watch
};

} // namespace virtual_scanner

#endif
