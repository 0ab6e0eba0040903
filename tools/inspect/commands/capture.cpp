// SPDX-License-Identifier: MIT
// "capture": a scanner as a profile, with which the virtual scanner stands in for it anywhere. Nothing is set on the
// scanner; what cannot be seen from outside, such as which settings draw in others, is not in the profile.
// Tested by tests/tools/capture_test.cpp.
#include "capture.h"

#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "failure.h"
#include "information.h"
#include "option_ids.h"
#include "option_texts.h"
#include "output.h"
#include "output_file.h"
#include "scanner.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <initializer_list>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace inspect {

namespace {

struct capture_arguments {
    std::string device;
    std::string output;
    std::string catalogue;
    std::string language = "en";
    bool anonymous = false;
    bool json = false;
};

struct captured_scanner {
    std::string name;
    json_value profile;
    json_value words;
    std::vector<std::string> losses;
};

bool is_one_of(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Names, keys and messages of a session are nobody else's business.
bool is_left_out(const information_item &item, bool anonymous)
{
    return is_one_of(item.name, {"login", "logout", "upload-file", "devs-log"}) ||
           (anonymous && is_one_of(item.name, {"dev-sn", "ip-addr", "mac-addr", "dev-name"}));
}

bool is_writable(const information_item &item)
{
    return is_one_of(item.name,
                     {"custom-gamma", "roller-life", "trans-img-fmt", "original-image", "roll-cnt", "drv-log"});
}

// The value as a profile has it: texts, and numbers of 32 bits. Null when it has none.
json_value profile_value(const answered_item &answered)
{
    if (answered.item->length == table_length || answered.item->name == std::string_view("drv-log"))
        return "";
    if (!answered.value.is_number())
        return answered.value;
    const auto number = answered.value.get<std::int64_t>();
    const bool fits =
        number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max();
    return fits ? answered.value : json_value();
}

json_value captured_information(const scanner &device, bool anonymous)
{
    json_value information = json_value::object();
    for (const answered_item &each : read_information(device)) {
        const json_value value = profile_value(each);
        if (value.is_null() || is_left_out(*each.item, anonymous))
            continue;
        information[each.item->name] = {{"value", value}};
        if (is_writable(*each.item))
            information[each.item->name]["writable"] = true;
    }
    return information;
}

// A field of a profile's device has something in it.
std::string field(const std::string &text)
{
    return text.empty() ? "unknown" : text;
}

json_value captured_identity(const std::string &name)
{
    const std::vector<device> listed = backend::devices();
    const auto found =
        std::find_if(listed.begin(), listed.end(), [&name](const device &each) { return each.name == name; });
    const device shown = found != listed.end() ? *found : device{name, {}, {}, {}};
    std::string profile_name = shown.name;
    std::replace_if(profile_name.begin(), profile_name.end(), [](char c) { return c == ' ' || c == '\t'; }, '-');
    return {{"name", profile_name},
            {"vendor", field(shown.vendor)},
            {"model", field(shown.model)},
            {"type", field(shown.type)}};
}

captured_scanner capture(const capture_arguments &arguments)
{
    const backend sane;
    const scanner device(arguments.device);
    captured_options options = capture_options(texts_of(device));
    json_value profile{{"device", captured_identity(device.name())},
                       {"papers", options.papers},
                       {"information", captured_information(device, arguments.anonymous)},
                       {"options", options.options}};
    return {device.name(), std::move(profile), std::move(options.words), std::move(options.losses)};
}

std::string as_file(const json_value &content)
{
    return json_text(content, 4) + "\n";
}

void write_file(const std::string &path, const json_value &content)
{
    output_file file(path);
    std::fputs(as_file(content).c_str(), file.stream());
    file.commit();
}

exit_status write_capture(const capture_arguments &arguments)
{
    for (const std::string &path : {arguments.output, arguments.catalogue})
        require_one_output(path, arguments.json);
    const captured_scanner captured = capture(arguments);
    if (!arguments.output.empty())
        write_file(arguments.output, captured.profile);
    if (!arguments.catalogue.empty())
        write_file(arguments.catalogue, {{"language", arguments.language}, {"words", captured.words}});
    if (arguments.json)
        print_json({{"device", captured.name}, {"losses", captured.losses}, {"profile", captured.profile}});
    else if (arguments.output.empty())
        print(as_file(captured.profile));
    for (const std::string &each : captured.losses)
        print_message(fmt::format("pelsane-inspect: not captured: {}\n", printable(each)));
    return captured.losses.empty() ? exit_status::done : exit_status::findings;
}

} // namespace

void add_capture_command(command_line &program)
{
    const auto arguments = std::make_shared<capture_arguments>();
    program
        .add_command("capture", "Write a profile, with which the virtual scanner stands in for a scanner",
                     "What the profile cannot say is told on standard error, and makes the exit status 1.\n\n"
                     "Example:\n"
                     "  pelsane-inspect capture -o customer.json\n"
                     "  PELVIRTUAL_PROFILES=customer.json pelsane-inspect options",
                     [arguments] { return write_capture(*arguments); })
        .device(arguments->device)
        .text(arguments->output, "-o,--output", "FILE", "The file; without it, or when it is -, the profile is printed")
        .text(arguments->catalogue, "--catalogue", "FILE",
              "A file for titles and descriptions, for the folder in PELLANG_CATALOGUES")
        .preset_text(arguments->language, "--language", "TAG", "The language that these texts are in")
        .flag(arguments->anonymous, "--anonymous", "Leave out serial number, name and addresses")
        .json(arguments->json);
}

} // namespace inspect
