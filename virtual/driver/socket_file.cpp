// SPDX-License-Identifier: MIT
// A path in, a listening socket out. The process is somebody else's: its umask, its working folder and its files stay
// as they are. Linux takes a socket file's mode from the socket, so that no moment comes in which others could connect.
// Tested by control_socket_test.
#include "socket_file.h"

#include "descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace virtual_scanner {

namespace {

constexpr int waiting_connections = 16;

[[noreturn]] void fail(const std::string &path, const std::string &reason)
{
    throw std::runtime_error(path + ": " + reason);
}

[[noreturn]] void fail(const std::string &path)
{
    fail(path, std::generic_category().message(errno));
}

std::string runtime_path()
{
    const char *folder = secure_getenv("XDG_RUNTIME_DIR");
    if (folder == nullptr || *folder != '/')
        fail("XDG_RUNTIME_DIR", "no folder is given");
    const std::string own = std::string(folder) + "/pelvirtual";
    if (mkdir(own.c_str(), 0700) != 0 && errno != EEXIST)
        fail(own);
    return own + "/" + std::to_string(getpid()) + ".sock";
}

sockaddr_un address_of(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        fail(path, "the path of a socket has at most " + std::to_string(sizeof address.sun_path - 1) + " bytes");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

descriptor make_socket(const std::string &path)
{
    descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!made)
        fail(path);
    return made;
}

bool is_socket(const std::string &path)
{
    struct stat status{};
    return lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode);
}

void remove_stale(const std::string &path, const sockaddr_un &address)
{
    if (!is_socket(path))
        return;
    const descriptor attempt = make_socket(path);
    if (connect(attempt.number(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 &&
        errno == ECONNREFUSED)
        unlink(path.c_str());
}

} // namespace

std::optional<std::string> control_path()
{
    const char *wish = secure_getenv("PELVIRTUAL_CONTROL");
    if (wish == nullptr || *wish == '\0' || std::strcmp(wish, "off") == 0)
        return std::nullopt;
    if (std::strcmp(wish, "runtime") == 0)
        return runtime_path();
    if (*wish != '/') // the application may change its folder
        fail(wish, "a path from the root is expected");
    return wish;
}

socket_file::socket_file(const std::string &path) : path_(path), socket_(make_socket(path))
{
    const sockaddr_un address = address_of(path);
    remove_stale(path, address);
    if (fchmod(socket_.number(), 0600) != 0 ||
        bind(socket_.number(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        fail(path);
    struct stat status{};
    if (lstat(path.c_str(), &status) != 0 || listen(socket_.number(), waiting_connections) != 0) {
        const int failure = errno;
        unlink(path.c_str());
        fail(path, std::generic_category().message(failure));
    }
    device_ = status.st_dev;
    inode_ = status.st_ino;
}

socket_file::~socket_file()
{
    struct stat status{};
    if (!path_.empty() && lstat(path_.c_str(), &status) == 0 && status.st_dev == device_ && status.st_ino == inode_)
        unlink(path_.c_str());
}

} // namespace virtual_scanner
