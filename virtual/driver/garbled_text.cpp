// SPDX-License-Identifier: MIT
// An option's text in, one with a mistake out. Tested by call_faults_test.
#include "garbled_text.h"

#include "command.h"
#include "delivery.h"
#include "kx_scanner.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace virtual_scanner {

namespace {

constexpr long excess = 1000;

int deliver_too_small(const std::string &text, long *length)
{
    *length = std::max(*length, static_cast<long>(text.size())) + excess;
    return SCANNER_ERR_INSUFFICIENT_MEMORY;
}

// The spaces after the text change nothing to those who do not look for its end.
int deliver_unterminated(std::string text, void *data, long *length)
{
    if (*length > static_cast<long>(text.size()))
        text.resize(static_cast<std::size_t>(*length), ' ');
    return deliver(text, data, length);
}

int deliver_overlong(const std::string &text, void *data, long *length)
{
    const long room = *length;
    const int answer = deliver_text(text, data, length);
    if (answer == SCANNER_ERR_OK)
        *length = room + excess;
    return answer;
}

} // namespace

int deliver_garbled(text_fault_kind fault, const std::string &text, void *data, long *length)
{
    switch (fault) {
    case text_fault_kind::broken:
        return deliver_text(text.substr(0, text.size() / 2), data, length);
    case text_fault_kind::empty:
        return deliver_text("", data, length);
    case text_fault_kind::misnamed:
        return deliver_text("\"not-" + text.substr(1), data, length);
    case text_fault_kind::unterminated:
        return deliver_unterminated(text, data, length);
    case text_fault_kind::overlong:
        return deliver_overlong(text, data, length);
    case text_fault_kind::too_small:
        break;
    }
    return deliver_too_small(text, length);
}

} // namespace virtual_scanner
