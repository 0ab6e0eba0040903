// SPDX-License-Identifier: MIT
// Who wants to know that the language changed.
#ifndef PELSANE_LANGKIT_NOTICES_H
#define PELSANE_LANGKIT_NOTICES_H

#include <mutex>
#include <vector>

namespace langkit {

using language_changed_notify = void (*)(int, void *);

// Callable from any thread.
class notices {
public:
    // Adding a pair that is there already changes nothing.
    void add(language_changed_notify notify, void *parameter);

    // Whether the pair was there.
    bool remove(language_changed_notify notify, void *parameter);

    // Calls everyone as notify(0, parameter), in the order of registration, without a lock, so that they may use the
    // library. One that is removed meanwhile, before its turn, is not called.
    void send();

private:
    struct registration {
        language_changed_notify notify;
        void *parameter;

        bool operator==(const registration &other) const
        {
            return notify == other.notify && parameter == other.parameter;
        }
    };

    [[nodiscard]] std::vector<registration> everyone();
    [[nodiscard]] bool is_registered(const registration &who);

    std::mutex lock_;
    std::vector<registration> registered_;
};

} // namespace langkit

#endif
