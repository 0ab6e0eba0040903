// SPDX-License-Identifier: MIT
// A client of the virtual scanner's control socket.
#ifndef PELSANE_TESTS_COMMANDER_H
#define PELSANE_TESTS_COMMANDER_H

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/types.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace surroundings {

// A connection to the control socket. Answers come without their line end; nothing at its end.
class commander {
public:
    explicit commander(const std::string &path) : connection_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        is_connected_ = connect(connection_, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        const timeval limit{60, 0};
        setsockopt(connection_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~commander() { close(connection_); }
    commander(const commander &) = delete;
    commander &operator=(const commander &) = delete;

    [[nodiscard]] bool is_connected() const { return is_connected_; }
    [[nodiscard]] int connection() const { return connection_; }

    // False when the other side has closed.
    bool send_bytes(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t sent = send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent < 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    void end() const { shutdown(connection_, SHUT_WR); }

    std::string receive_line()
    {
        while (received_.find('\n') == std::string::npos) {
            char piece[4096];
            const ssize_t size = recv(connection_, piece, sizeof piece, 0);
            if (size <= 0)
                return std::exchange(received_, {});
            received_.append(piece, static_cast<std::size_t>(size));
        }
        const auto end = received_.find('\n');
        std::string line = received_.substr(0, end);
        received_.erase(0, end + 1);
        return line;
    }

    std::string command(const std::string &line)
    {
        send_bytes(line + "\n");
        return receive_line();
    }

private:
    int connection_;
    bool is_connected_ = false;
    std::string received_;
};

} // namespace surroundings

#endif
