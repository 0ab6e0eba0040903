// SPDX-License-Identifier: MIT
// Mistakes in the texts by which a driver describes its options. Most of them are silent otherwise: an option is
// missing, a condition is dropped, a value does not fit.
#ifndef PELSANE_INSPECT_LINT_H
#define PELSANE_INSPECT_LINT_H

#include "json.h"
#include "option_texts.h"

#include <deque>
#include <string>
#include <vector>

namespace inspect {

enum class severity { warning, error };

struct finding {
    int number; // of the option
    std::string option;
    std::string place; // in its description: "/depend_or/1"; empty for the whole option
    severity weight;
    std::string rule; // "malformed-condition": what kind of mistake it is, the same in every version
    std::string reason;
};

// In the order of the options. A backend must be there.
[[nodiscard]] std::vector<finding> lint(const std::vector<option_text> &texts);

// An option's text, parsed as the backend does it.
struct examined_option {
    explicit examined_option(const option_text &text);

    const option_text &text;
    json description;
    std::string type; // empty when there is none
};

// The options of one scanner, which stay where they are.
using examined_options = std::deque<examined_option>;

// Null when there is none; of several, the first.
[[nodiscard]] const examined_option *find_option(const examined_options &options, const std::string &name);

// Takes findings up.
class report {
public:
    void error(const examined_option &option, const std::string &place, const std::string &rule,
               const std::string &reason);
    void warning(const examined_option &option, const std::string &place, const std::string &rule,
                 const std::string &reason);

    // Sorted by the options' numbers; those of one option as they were found.
    [[nodiscard]] std::vector<finding> findings() const;

private:
    std::vector<finding> findings_;
};

// The words or numbers that a list allows, as texts, translated; empty when nothing is listed.
[[nodiscard]] std::vector<std::string> allowed_texts(const examined_option &option);

// Type, constraint, values and size of one option.
void lint_values(const examined_option &option, report &found);

// Conditions of all options: whether they can be read, name a master and can hold, and whether they go in circles.
void lint_dependencies(const examined_options &options, report &found);

} // namespace inspect

#endif
