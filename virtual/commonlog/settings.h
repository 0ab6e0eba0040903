// SPDX-License-Identifier: MIT
// What the environment asks of the log.
#ifndef PELSANE_COMMONLOG_SETTINGS_H
#define PELSANE_COMMONLOG_SETTINGS_H

namespace commonlog {

// In rising order: a message is written when its level is not below the log's threshold. No message is `silent`.
enum class severity { debug, info, warn, critical, silent };

struct settings {
    severity threshold;
    const char *file; // the environment's text, null for standard error
};

// Reads PELLOG_LEVEL (debug, info, warn, critical), else SANE_DEBUG_PELSANE (0 nothing, 1 critical, 2 warn, 3 info,
// from 4 on debug), and PELLOG_FILE. An empty variable counts as one that is not set; a level that is none of these is
// reported on standard error, once per process, and means silence.
[[nodiscard]] settings read_settings();

} // namespace commonlog

#endif
