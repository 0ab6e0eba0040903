// SPDX-License-Identifier: MIT
// The three platform libraries as a fuzzer has them: quick, silent, and with any answer that the input wants.
//
// Left alone, the driver keeps its contract with the options that it was given. A surprise makes one of its calls
// answer something else. The calls themselves are watched: a handle that is not open, or was closed already, is a
// finding.
#ifndef PELSANE_FUZZ_PLATFORM_H
#define PELSANE_FUZZ_PLATFORM_H

#include "kx_scanner.h"

#include <cstddef>
#include <string>
#include <vector>

namespace platform {

// What one driver call does in place of its work. It may fill the buffer that it was given to the brim, never beyond.
struct surprise {
    unsigned int calls_before = 0; // that are still answered as they should be
    int code = SCANNER_ERR_OK;
    long length = 0; // what it stores as a length or a count
    char filler = 0; // of the buffer; NUL: the buffer is left as it is
    int event = 0;   // sent before it answers, unless 0
};

struct script {
    std::vector<std::string> options; // the driver's texts of options 1, 2, ...
    std::vector<surprise> surprises;

    // How writes of options are answered: the code, the text that goes into the buffer as far as it has room (empty:
    // none), and whether the language changes meanwhile.
    int write_code = SCANNER_ERR_OK;
    std::string rewritten;
    bool changes_language = false;

    int control_code = SCANNER_ERR_OK; // how controls are answered

    // The last write of an option.
    const void *written_option = nullptr;
    std::string written; // up to its NUL
    long written_length = 0;
};

// Every handle is closed by then. The language is the default one again.
script &reset();
script &the_script();

std::size_t open_devices();

// What the driver has under an option key, if nothing surprises it; empty when there is no such option.
std::string text_of(const void *option);

// Sends an event to what the backend registered; 0 when nothing is.
int send_event(int event);

// To the other language, with a notice to what the backend registered.
void change_language();

} // namespace platform

#endif
