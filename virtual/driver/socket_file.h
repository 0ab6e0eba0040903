// SPDX-License-Identifier: MIT
// A listening Unix socket and its file.
#ifndef PELSANE_VIRTUAL_SOCKET_FILE_H
#define PELSANE_VIRTUAL_SOCKET_FILE_H

#include "descriptor.h"

#include <optional>
#include <string>
#include <sys/types.h>

namespace virtual_scanner {

// The path that PELVIRTUAL_CONTROL asks for: "runtime" stands for pelvirtual/PID.sock in the user's runtime folder,
// where the folder is made. None without the variable, with "off", and in programs with another user's rights. Throws
// std::runtime_error with the reason when the path cannot be used.
std::optional<std::string> control_path();

class socket_file {
public:
    // For the user alone. The socket of a process that is gone is replaced; one on which somebody listens and a file of
    // another kind are left alone. Throws std::runtime_error with the path and the reason.
    explicit socket_file(const std::string &path);
    // Removes the file, unless another one has taken its place.
    ~socket_file();
    socket_file(const socket_file &) = delete;
    socket_file &operator=(const socket_file &) = delete;

    [[nodiscard]] int listening() const { return socket_.number(); }
    void disown() { path_.clear(); }

private:
    std::string path_;
    descriptor socket_;
    dev_t device_ = 0; // the two tell the file
    ino_t inode_ = 0;
};

} // namespace virtual_scanner

#endif
