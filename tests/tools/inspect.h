// SPDX-License-Identifier: MIT
// pelsane-inspect in surroundings of its own, with one small scanner whose options these tests know by heart.
#ifndef PELSANE_TESTS_TOOLS_INSPECT_H
#define PELSANE_TESTS_TOOLS_INSPECT_H

#include "scanimage.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace inspect_test {

using system_test::outcome;

class inspect_program : public system_test::scanimage {
protected:
    inspect_program() { set_variable("PELVIRTUAL_PROFILES", PELSANE_SMALL_SCANNER); }

    [[nodiscard]] static arguments command_of(const arguments &words)
    {
        arguments command{PELSANE_INSPECT};
        command.insert(command.end(), words.begin(), words.end());
        return command;
    }

    // Runs the program to its end.
    [[nodiscard]] outcome inspect(const arguments &words) const { return run_command(command_of(words)); }

    // The same by a shell, which knows the program as $INSPECT.
    outcome run_shell(const std::string &script)
    {
        set_variable("INSPECT", PELSANE_INSPECT);
        return run_command({"bash", "-c", script});
    }

    // The small scanner with `from` replaced by `to` in its profile.
    void use_small_scanner_with(const std::string &from, const std::string &to)
    {
        std::string text = system_test::read_file(PELSANE_SMALL_SCANNER);
        const auto at = text.find(from);
        if (at == std::string::npos)
            throw std::runtime_error("the profile has no " + from);
        write_file("small.json", text.replace(at, from.size(), to));
        set_variable("PELVIRTUAL_PROFILES", path("small.json"));
    }

    // Both must hold for a failure: one line that says what is wrong, and the exit status for it.
    static void expect_failure(const outcome &result, int status, const std::string &message)
    {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.messages, "pelsane-inspect: " + message + "\n");
    }
};

} // namespace inspect_test

#endif
