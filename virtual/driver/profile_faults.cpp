// SPDX-License-Identifier: MIT
// "faults" of a profile: commands for its own device, events among them. Tested by call_faults_test, events_test.
#include "command.h"
#include "profile_reader.h"

#include <cstddef>
#include <utility>
#include <variant>
#include <vector>

namespace virtual_scanner {

namespace {

void check_fault(const command &given, const profile_node &place)
{
    if (!given.device.empty())
        place.fail("a profile's faults are its own device's: \"on\" is not for here");
    const auto *fault = std::get_if<call_answer>(&given.action);
    if (fault != nullptr && is_call_of_driver(fault->call))
        place.fail("initialize and enum are not calls of a device");
}

std::vector<command> parse_faults(const profile_node &node)
{
    const std::string text = node.text();
    try {
        return parse_commands(text);
    } catch (const command_error &error) {
        node.fail(error.what());
    }
}

} // namespace

std::vector<command> read_faults(const profile_node &list)
{
    list.expect_array();
    std::vector<command> faults;
    for (std::size_t i = 0; i < list.size(); ++i) {
        for (command &each : parse_faults(list.at(i))) {
            check_fault(each, list.at(i));
            faults.push_back(std::move(each));
        }
    }
    return faults;
}

} // namespace virtual_scanner
