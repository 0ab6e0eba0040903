// SPDX-License-Identifier: MIT
// Access to the language library. Switching is an extension of this project's stand-in: weak references let the
// scanner run on a library without it, where the language stays what it is.
#include "words.h"

#include "langkit.h"
#include "langkit_control.h"

#pragma weak langkit_set_language
#pragma weak langkit_language

namespace virtual_scanner {

std::string in_current_language(const std::string &word)
{
    return from_default_language(word.c_str(), nullptr);
}

bool switch_language(const std::string &tag)
{
    return langkit_set_language != nullptr && langkit_set_language(tag.c_str()) == 0;
}

std::string current_language()
{
    return langkit_language != nullptr ? langkit_language() : "";
}

} // namespace virtual_scanner
