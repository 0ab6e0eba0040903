// SPDX-License-Identifier: MIT
// Files and folders in, devices out. Every scan reads all of the files; one whose text is the same as before keeps its
// profile, so that only what changed is parsed and complained about. Names are given in two rounds: profiles first take
// their own, then the others are numbered, so that they do not hang on the order in which folders are read. A name is
// never taken from its file again, even while the file is away. Tested by driver_devices_test.
#include "devices.h"

#include "commonlog.h"
#include "folder.h"
#include "log.h"
#include "profile.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

namespace fs = std::filesystem;

// Absolute, so that a later change of the process's folder does not matter; as it is where that has no name.
std::string absolute_path(std::string_view name)
{
    std::error_code nameless;
    const fs::path whole = fs::absolute(name, nameless);
    return nameless ? std::string(name) : whole.string();
}

bool is_folder(const std::string &path)
{
    std::error_code unknown;
    return fs::is_directory(path, unknown);
}

bool ends_with(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Editors keep what they are about to write in hidden files.
bool is_profile_name(const std::string &name)
{
    return name[0] != '.' && ends_with(name, ".json") && !ends_with(name, ".schema.json");
}

std::vector<std::string> profiles_in(const std::string &folder)
{
    std::vector<std::string> files;
    try {
        for (const std::string &name : names_in(folder))
            if (is_profile_name(name))
                files.push_back(fs::path(folder) / name);
    } catch (const std::system_error &failure) {
        CriticalLog(driver_log(), "The folder of profiles %s cannot be read: %s", folder.c_str(),
                    failure.code().message().c_str());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// A device's own name in its information follows the name that it was given.
std::shared_ptr<const profile> with_name(const std::shared_ptr<const profile> &written, const std::string &name)
{
    if (written->device.name == name)
        return written;
    auto named = std::make_shared<profile>(*written);
    named->device.name = name;
    const auto item = named->information.find("dev-name");
    if (item != named->information.end() && item->second.value == decltype(item->second.value)(written->device.name))
        item->second.value = name;
    return named;
}

device_changes difference(const std::vector<device> &before, const std::vector<device> &after)
{
    const auto find = [](const std::vector<device> &list, const std::string &name) {
        return std::find_if(list.begin(), list.end(), [&](const device &each) { return each.name == name; });
    };
    device_changes changes;
    for (const device &each : after) {
        const auto earlier = find(before, each.name);
        if (earlier == before.end())
            changes.added.push_back(each.name);
        else if (earlier->description != each.description)
            changes.rewritten.push_back(each.name);
    }
    for (const device &each : before)
        if (find(after, each.name) == after.end())
            changes.removed.push_back(each.name);
    return changes;
}

// Nobody's environment says more than a system's own folder; one without profiles leaves the built-in one in force.
std::string_view installed_profiles()
{
    constexpr const char *folder = PELVIRTUAL_SYSTEM_PROFILES;
    try {
        const std::vector<std::string> names = names_in(folder);
        if (std::any_of(names.begin(), names.end(), is_profile_name))
            return folder;
    } catch (const std::system_error &) {
        return {}; // there is none
    }
    return {};
}

} // namespace

std::vector<devices::place> devices::named_places()
{
    const char *variable = secure_getenv("PELVIRTUAL_PROFILES");
    std::string_view rest = variable != nullptr ? variable : installed_profiles();
    std::vector<place> places;
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        if (end > 0) {
            const std::string path = absolute_path(rest.substr(0, end));
            places.push_back({path, is_folder(path)});
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return places;
}

// An empty path stands for the built-in profile. A folder that has gone has no files, while a file that has gone is
// one that cannot be used.
std::vector<std::string> devices::files_of(const std::vector<place> &places)
{
    if (places.empty())
        return {""};
    std::vector<std::string> files;
    for (const place &each : places) {
        if (each.is_folder)
            for (std::string &file : profiles_in(each.path))
                files.push_back(std::move(file));
        else
            files.push_back(each.path);
    }
    return files;
}

void devices::load()
{
    const std::lock_guard<std::mutex> guard(lock_);
    places_ = named_places();
    entries_.clear();
    names_.clear();
    scan();
}

device_changes devices::rescan()
{
    const std::lock_guard<std::mutex> guard(lock_);
    if (places_.empty()) // not loaded, or the built-in profile
        return {};
    const std::vector<device> before = usable();
    scan();
    return difference(before, usable());
}

void devices::clear()
{
    const std::lock_guard<std::mutex> guard(lock_);
    places_.clear();
    entries_.clear();
    names_.clear();
}

void devices::scan()
{
    std::map<std::string, int> mentions;
    std::vector<entry> found;
    for (const std::string &file : files_of(places_))
        found.push_back(read({file, mentions[file]++}));
    if (found.empty())
        WarnLog(driver_log(), "PELVIRTUAL_PROFILES names no profile");
    name_devices(found);
    entries_ = std::move(found);
}

devices::entry devices::read(occurrence origin) const
{
    const entry *before = find_entry(origin);
    entry result{std::move(origin), "", "", nullptr, nullptr};
    const std::string &file = result.origin.first;
    try {
        result.text = file.empty() ? std::string(builtin_profile) : read_profile_file(file);
        if (before != nullptr && before->written != nullptr && before->text == result.text)
            return *before;
        result.written =
            std::make_shared<const profile>(parse_profile(result.text, file.empty() ? "built-in profile" : file));
    } catch (const profile_error &error) {
        result.complaint = error.what();
    }
    if (!result.complaint.empty() && (before == nullptr || before->complaint != result.complaint))
        CriticalLog(driver_log(), "The scanner's profile cannot be used: %s", result.complaint.c_str());
    return result;
}

const devices::entry *devices::find_entry(const occurrence &origin) const
{
    const auto found =
        std::find_if(entries_.begin(), entries_.end(), [&](const entry &each) { return each.origin == origin; });
    return found != entries_.end() ? &*found : nullptr;
}

void devices::name_devices(std::vector<entry> &found)
{
    for (const entry &each : found) {
        const auto given = names_.find(each.origin);
        if (each.written != nullptr && given != names_.end() && given->second.own != each.written->device.name)
            names_.erase(given);
    }
    for (const bool may_number : {false, true})
        for (const entry &each : found) {
            if (each.written == nullptr || names_.count(each.origin) != 0)
                continue;
            const std::string &own = each.written->device.name;
            if (may_number || !is_taken(own))
                names_[each.origin] = {own, may_number ? free_name(own) : own};
        }
    for (entry &each : found)
        if (each.written != nullptr && (each.named == nullptr || each.named->device.name != names_[each.origin].name))
            each.named = with_name(each.written, names_[each.origin].name);
}

bool devices::is_taken(const std::string &name) const
{
    return std::any_of(names_.begin(), names_.end(), [&](const auto &each) { return each.second.name == name; });
}

// A record has room for 255 bytes; a name that fills it is cut for its number, between two characters.
std::string devices::free_name(const std::string &own) const
{
    for (int number = 2;; ++number) {
        const std::string end = "-" + std::to_string(number);
        std::size_t length = std::min(own.size(), 255 - end.size());
        while (length < own.size() && length > 0 && (static_cast<unsigned char>(own[length]) & 0xC0) == 0x80)
            --length;
        std::string name = own.substr(0, length) + end;
        if (!is_taken(name))
            return name;
    }
}

std::vector<device> devices::usable() const
{
    std::vector<device> found;
    for (const entry &each : entries_)
        if (each.named != nullptr)
            found.push_back({each.named->device.name, each.named});
    return found;
}

std::vector<device> devices::list() const
{
    const std::lock_guard<std::mutex> guard(lock_);
    return usable();
}

std::shared_ptr<const profile> devices::find(std::string_view name) const
{
    const std::lock_guard<std::mutex> guard(lock_);
    for (const entry &each : entries_)
        if (each.named != nullptr && (name.empty() || each.named->device.name == name))
            return each.named;
    return nullptr;
}

bool devices::has_failed() const
{
    const std::lock_guard<std::mutex> guard(lock_);
    return !entries_.empty() &&
           std::all_of(entries_.begin(), entries_.end(), [](const entry &each) { return each.named == nullptr; });
}

std::vector<std::string> devices::folders() const
{
    const std::lock_guard<std::mutex> guard(lock_);
    std::vector<std::string> found;
    for (const place &each : places_)
        if (each.is_folder)
            found.push_back(each.path);
    return found;
}

} // namespace virtual_scanner
