// SPDX-License-Identifier: MIT
// A list of callbacks that may change while it is being called: a notice goes to a copy of the list, and each is called
// only if it is still on the list itself. Covered by tests/virtual/langkit_notice_test.cpp.
#include "notices.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace langkit {

void notices::add(language_changed_notify notify, void *parameter)
{
    const registration added{notify, parameter};
    const std::lock_guard<std::mutex> guard(lock_);
    if (std::find(registered_.begin(), registered_.end(), added) == registered_.end())
        registered_.push_back(added);
}

bool notices::remove(language_changed_notify notify, void *parameter)
{
    const std::lock_guard<std::mutex> guard(lock_);
    const auto found = std::find(registered_.begin(), registered_.end(), registration{notify, parameter});
    if (found == registered_.end())
        return false;
    registered_.erase(found);
    return true;
}

std::vector<notices::registration> notices::everyone()
{
    const std::lock_guard<std::mutex> guard(lock_);
    return registered_;
}

bool notices::is_registered(const registration &who)
{
    const std::lock_guard<std::mutex> guard(lock_);
    return std::find(registered_.begin(), registered_.end(), who) != registered_.end();
}

void notices::send()
{
    for (const registration &who : everyone()) {
        if (is_registered(who))
            who.notify(0, who.parameter);
    }
}

} // namespace langkit
