// SPDX-License-Identifier: MIT
// Information items that answer, each in the form of its kind.
#include "inspect.h"
#include "scanimage.h"

#include <gtest/gtest.h>

namespace inspect_test {
namespace {

class info : public inspect_program {};

TEST_F(info, lists_the_items_that_answer)
{
    const outcome result = inspect({"info"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "Id     Name            Value\n"
                             "34889  total-cnt       12\n"
                             "34902  dev-sn          S1\n"
                             "34911  free-buf        67108864\n"
                             "34927  original-image  1\n");
    EXPECT_EQ(result.messages, "");
}

TEST_F(info, prints_json_for_scripts)
{
    EXPECT_EQ(inspect({"info", "test:small", "--json"}).output, R"({
  "device": "test:small",
  "information": [
    {
      "id": 34889,
      "name": "total-cnt",
      "value": 12
    },
    {
      "id": 34902,
      "name": "dev-sn",
      "value": "S1"
    },
    {
      "id": 34911,
      "name": "free-buf",
      "value": 67108864
    },
    {
      "id": 34927,
      "name": "original-image",
      "value": 1
    }
  ]
}
)");
}

TEST_F(info, keeps_control_characters_from_the_terminal)
{
    use_small_scanner_with(R"("value": "S1")", R"("value": "S1\u001b[31mred\n")");
    EXPECT_TRUE(system_test::contains(inspect({"info"}).output, "34902  dev-sn          S1 [31mred\n"));
}

} // namespace
} // namespace inspect_test
