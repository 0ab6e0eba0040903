// SPDX-License-Identifier: MIT
// scanimage under Valgrind: no invalid access, nothing used that was never set, nothing lost.
#include "scanimage.h"

namespace system_test {

class memory : public scanimage {
protected:
    outcome check(const arguments &options) const
    {
        arguments command{"valgrind",
                          "--quiet",
                          "--error-exitcode=99",
                          "--leak-check=full",
                          "--errors-for-leak-kinds=definite",
                          "--show-leak-kinds=definite",
                          "--keep-debuginfo=yes",
                          "scanimage"};
        command.insert(command.end(), options.begin(), options.end());
        return run_command(command);
    }
};

TEST_F(memory, is_in_order_when_options_are_listed)
{
    const outcome result = check({"-A"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_TRUE(contains(result.output, "--resolution auto||75|100|150|200|300|600dpi [200]"));
}

TEST_F(memory, is_in_order_when_options_change)
{
    const outcome result = check({"-A", "--mode", "Lineart", "--image-quality", "Speed", "--restore-defaults"});
    EXPECT_EQ(0, result.status) << result.messages;
}

TEST_F(memory, is_in_order_when_pages_are_scanned)
{
    const outcome result = check({"--format=pnm", "--resolution", "75", "--mode", "Lineart",
                                  "--batch=" + path("page-%d.pnm"), "--batch-count", "2"});
    EXPECT_EQ(0, result.status) << result.messages;
    EXPECT_EQ(2U, pages("pnm").size());
}

} // namespace system_test
