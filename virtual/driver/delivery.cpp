// SPDX-License-Identifier: MIT
// The one place where lengths of the application's buffers are compared with what goes in.
#include "delivery.h"

#include "kx_scanner.h"

#include <cstring>
#include <string>

namespace virtual_scanner {

int deliver(const std::string &bytes, void *data, long *length)
{
    const auto needed = static_cast<long>(bytes.size());
    const long room = *length;
    *length = needed;
    if (data == nullptr || room < needed)
        return SCANNER_ERR_INSUFFICIENT_MEMORY;
    std::memcpy(data, bytes.data(), bytes.size());
    return SCANNER_ERR_OK;
}

int deliver_text(const std::string &text, void *data, long *length)
{
    const long room = *length;
    const int answer = deliver(text, data, length);
    if (answer == SCANNER_ERR_OK && room > *length)
        static_cast<char *>(data)[*length] = '\0';
    return answer;
}

} // namespace virtual_scanner
