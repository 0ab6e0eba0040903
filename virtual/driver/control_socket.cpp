// SPDX-License-Identifier: MIT
// Bytes in, command lines out, answers back. Whoever may connect is the same user, and still may send anything: so a
// line, the number of connections and what is read at a time are bounded, a client that does not take its answers is
// not read from, and one too many takes the place of the one that has been quiet longest. Tested by
// control_socket_test.
#include "control_socket.h"

#include "commonlog.h"
#include "descriptor.h"
#include "log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <new>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace virtual_scanner {

namespace {

constexpr std::size_t longest_line = 4096;
constexpr std::size_t most_clients = 16;
constexpr int most_connections_at_once = 64;
constexpr auto rest_without_descriptors = std::chrono::seconds(1);

bool is_of_this_user(const descriptor &connection)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connection.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

bool would_wait(int failure)
{
    return failure == EAGAIN || failure == EWOULDBLOCK || failure == EINTR;
}

// An answer is one line, also when it repeats what was sent.
std::string as_line(std::string text)
{
    for (char &each : text)
        if (static_cast<unsigned char>(each) < ' ' || each == '\x7F')
            each = '?';
    return text + "\n";
}

// Sends what goes without waiting; false when the client has gone.
bool send_answers(int connection, std::string &answers)
{
    while (!answers.empty()) {
        const ssize_t sent = send(connection, answers.data(), answers.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0)
            return would_wait(errno);
        answers.erase(0, static_cast<std::size_t>(sent));
    }
    return true;
}

} // namespace

control_socket::control_socket(const std::string &path, obey_function obey) : file_(path), obey_(std::move(obey))
{
    InfoLog(driver_log(), "Commands are taken at %s", path.c_str());
}

void control_socket::add_to(std::vector<pollfd> &waited_for) const
{
    if (!rests_until_)
        waited_for.push_back({file_.listening(), POLLIN, 0});
    for (const client &each : clients_)
        waited_for.push_back(
            {each.connection.number(), static_cast<short>(each.answers.empty() ? POLLIN : POLLOUT), 0});
}

void control_socket::serve()
{
    take_connections();
    const auto has_gone = [this](client &each) {
        try {
            return !serve(each);
        } catch (const std::bad_alloc &) {
            CriticalLog(driver_log(), "Memory is short: whoever gave a command is not answered");
            return true; // and does not wait for ever
        }
    };
    clients_.erase(std::remove_if(clients_.begin(), clients_.end(), has_gone), clients_.end());
}

// A connection that cannot be taken for want of descriptors goes on waiting, and would end every wait of ours at once.
void control_socket::take_connections()
{
    if (rests_until_ && clock::now() < *rests_until_)
        return;
    rests_until_.reset();
    for (int taken = 0; taken < most_connections_at_once; ++taken) {
        descriptor connection(accept4(file_.listening(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!connection) {
            if (!would_wait(errno))
                rests_until_ = clock::now() + rest_without_descriptors;
            return;
        }
        if (is_of_this_user(connection))
            admit(std::move(connection));
    }
}

void control_socket::admit(descriptor connection)
{
    const auto is_quieter = [](const client &one, const client &other) { return one.last_heard < other.last_heard; };
    if (clients_.size() == most_clients)
        clients_.erase(std::min_element(clients_.begin(), clients_.end(), is_quieter));
    clients_.emplace_back();
    clients_.back().connection = std::move(connection);
    clients_.back().last_heard = ++heard_;
}

// False when the client has gone or has all its answers after its end.
bool control_socket::serve(client &each)
{
    if (!send_answers(each.connection.number(), each.answers))
        return false;
    if (each.answers.empty() && !each.has_ended) {
        if (!receive(each))
            return false;
        answer_lines(each);
        if (!send_answers(each.connection.number(), each.answers))
            return false;
    }
    return !each.has_ended || !each.answers.empty();
}

bool control_socket::receive(client &each)
{
    std::array<char, longest_line> piece;
    const ssize_t size = recv(each.connection.number(), piece.data(), piece.size(), MSG_DONTWAIT);
    if (size < 0)
        return would_wait(errno);
    each.has_ended = size == 0;
    if (size > 0)
        each.last_heard = ++heard_;
    each.received.append(piece.data(), static_cast<std::size_t>(size));
    return true;
}

// A last line counts without its end, too.
void control_socket::answer_lines(client &each) const
{
    std::string_view rest = each.received;
    for (auto end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
        if (!std::exchange(each.skips_line, false))
            each.answers += answer_to(rest.substr(0, end));
        rest.remove_prefix(end + 1);
    }
    if (each.has_ended && !rest.empty() && !each.skips_line)
        each.answers += answer_to(rest);
    if (!each.skips_line && rest.size() > longest_line) {
        each.answers += answer_to(rest);
        each.skips_line = true;
    }
    each.received = each.skips_line ? std::string() : std::string(rest);
}

std::string control_socket::answer_to(std::string_view line) const
{
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    if (line.size() > longest_line)
        return "error: a line has at most " + std::to_string(longest_line) + " bytes\n";
    if (line.find('\0') != line.npos)
        return "error: a line is text, without zero bytes\n";
    return as_line(obey_(line));
}

} // namespace virtual_scanner
