// SPDX-License-Identifier: MIT
// A scanner's options as a profile of a virtual scanner has them.
#ifndef PELSANE_INSPECT_CAPTURE_H
#define PELSANE_INSPECT_CAPTURE_H

#include "option_texts.h"
#include "output.h"

#include <string>
#include <vector>

namespace inspect {

struct captured_options {
    json_value options = json_value::array(); // of the profile
    json_value papers = json_value::object();
    json_value words = json_value::object(); // by id, the titles and descriptions in the current language
    std::vector<std::string> losses;         // what the profile does not say, each as a sentence
};

// Words of values are those of the current language, also in conditions.
[[nodiscard]] captured_options capture_options(const std::vector<option_text> &texts);

// Adds to an option of a profile what its name and its values are known to mean to a scanner, with the sizes of papers.
void add_meaning(json_value &option, json_value &papers);

} // namespace inspect

#endif
