// SPDX-License-Identifier: MIT
// The kernel's notes in, one yes or no out. A file that is being written counts when its writer closes it, since before
// that it is not whole; a link is whole from the start. Tested by hotplug_test.
#include "folder_watch.h"

#include "commonlog.h"
#include "log.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr std::uint32_t noted_changes = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CREATE |
                                        IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

bool is_link(const std::string &path)
{
    struct stat status{};
    return lstat(path.c_str(), &status) == 0 && (S_ISLNK(status.st_mode) || status.st_nlink > 1);
}

} // namespace

folder_watch::folder_watch(const std::vector<std::string> &folders) : notes_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
{
    if (!notes_)
        throw std::system_error(errno, std::generic_category(), "folders cannot be watched");
    for (const std::string &folder : folders) {
        const int watch = inotify_add_watch(notes_.number(), folder.c_str(), noted_changes);
        if (watch < 0)
            WarnLog(driver_log(), "Changes in %s are not noticed: %s", folder.c_str(),
                    std::generic_category().message(errno).c_str());
        else
            folders_[watch] = folder;
    }
}

bool folder_watch::is_change(const inotify_event &note) const
{
    if ((note.mask & IN_CREATE) == 0)
        return (note.mask & IN_IGNORED) == 0; // which only follows the end of a folder
    const auto folder = folders_.find(note.wd);
    return folder != folders_.end() && note.len > 0 && is_link(folder->second + "/" + note.name);
}

bool folder_watch::take_changes()
{
    bool has_changed = false;
    alignas(inotify_event) char buffer[4096];
    for (ssize_t size = 0; (size = read(notes_.number(), buffer, sizeof buffer)) > 0;)
        for (const char *at = buffer; at < buffer + size;) {
            const auto *note = reinterpret_cast<const inotify_event *>(at);
            has_changed = is_change(*note) || has_changed;
            at += sizeof(inotify_event) + note->len;
        }
    return has_changed;
}

} // namespace virtual_scanner
