// SPDX-License-Identifier: MIT
// The Unix socket on which commands come while the driver is in use: a line each, answered by a line each.
#ifndef PELSANE_VIRTUAL_CONTROL_SOCKET_H
#define PELSANE_VIRTUAL_CONTROL_SOCKET_H

#include "descriptor.h"
#include "socket_file.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_scanner {

class control_socket {
public:
    using clock = std::chrono::steady_clock;
    // Takes a line without its end and answers one likewise.
    using obey_function = std::function<std::string(std::string_view line)>;

    // Listens at the path, and removes the file at its end. Throws std::runtime_error with the path and the reason.
    control_socket(const std::string &path, obey_function obey);

    // What to wait for, and until when at the longest.
    void add_to(std::vector<pollfd> &waited_for) const;
    [[nodiscard]] std::optional<clock::time_point> rests_until() const { return rests_until_; }

    // Takes connections, reads and answers as far as this goes without waiting. Bounded, whatever comes.
    void serve();

    // In a forked process, whose copy this is: the file at the path is the other process's.
    void disown() { file_.disown(); }

private:
    struct client {
        descriptor connection;
        std::string received; // up to a line
        std::string answers;  // not taken by the client yet; while there are any, nothing is read
        std::uint64_t last_heard = 0;
        bool skips_line = false; // the rest of a line that was too long
        bool has_ended = false;  // nothing more comes
    };

    void take_connections();
    void admit(descriptor connection);
    bool serve(client &each);
    bool receive(client &each);
    void answer_lines(client &each) const;
    [[nodiscard]] std::string answer_to(std::string_view line) const;

    socket_file file_;
    obey_function obey_;
    std::vector<client> clients_;
    std::uint64_t heard_ = 0;                      // how often anything came
    std::optional<clock::time_point> rests_until_; // no connection can be taken before
};

} // namespace virtual_scanner

#endif
