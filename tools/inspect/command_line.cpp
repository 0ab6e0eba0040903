// SPDX-License-Identifier: MIT
#include "command_line.h"

#include "failure.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace inspect {

namespace {

// Arguments under their own names, as in the manual page, without the library's types and counts.
class plain_formatter : public CLI::Formatter {
public:
    // What stands for several words is no name to the library, and is given as the option's text.
    [[nodiscard]] std::string make_option_name(const CLI::Option *option, bool is_positional) const override
    {
        const std::string &words = option->get_option_text();
        return is_positional && !words.empty() ? words : CLI::Formatter::make_option_name(option, is_positional);
    }

    [[nodiscard]] std::string make_option_usage(const CLI::Option *option) const override
    {
        const std::string name = make_option_name(option, true);
        return option->get_required() ? name : "[" + name + "]";
    }

    [[nodiscard]] std::string make_option_opts(const CLI::Option *option) const override
    {
        if (option->get_positional() || option->get_type_size() == 0)
            return "";
        const std::string type = option->get_type_name();
        const std::string preset = option->get_default_str();
        return " " + type.substr(0, type.find(':')) + (preset.empty() ? "" : " (" + preset + ")") +
               (option->get_required() ? ", required" : "");
    }
};

// Empty when there is none. The library's own words for a range are others in each of its versions.
std::string mistake_in_count(const std::string &word)
{
    int number = 0;
    const char *const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, number);
    if (error == std::errc() && rest == end && number >= 1)
        return {};
    return "Value " + word + " is no number from 1 to " + std::to_string(std::numeric_limits<int>::max());
}

} // namespace

command_arguments &command_arguments::device(std::string &name)
{
    return word(name, "DEVICE", "The scanner, as \"devices\" lists it; may be left out when there is only one");
}

command_arguments &command_arguments::word(std::string &value, const char *name, const char *help)
{
    command_->add_option(name, value, help);
    return *this;
}

command_arguments &command_arguments::option(std::vector<std::string> &words)
{
    command_
        ->add_option("NAME", words,
                     "The scanner, which may be left out when there is only one, and an option's name, number or "
                     "well-known identifier")
        ->required()
        ->expected(1, 2)
        ->option_text("[DEVICE] NAME");
    return *this;
}

command_arguments &command_arguments::words(std::vector<std::string> &values, const char *shown, const char *help)
{
    command_->add_option("NAME", values, help)->required()->option_text(shown);
    return *this;
}

command_arguments &command_arguments::settings(std::vector<std::string> &values)
{
    command_->add_option("--set", values, "Set before anything else; may be given several times")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
    return *this;
}

command_arguments &command_arguments::text(std::string &value, const char *names, const char *kind, const char *help)
{
    command_->add_option(names, value, help)->type_name(kind);
    return *this;
}

command_arguments &command_arguments::required_text(std::string &value, const char *names, const char *kind,
                                                    const char *help)
{
    command_->add_option(names, value, help)->required()->type_name(kind);
    return *this;
}

command_arguments &command_arguments::preset_text(std::string &value, const char *names, const char *kind,
                                                  const char *help)
{
    command_->add_option(names, value, help)->type_name(kind)->capture_default_str();
    return *this;
}

command_arguments &command_arguments::count(int &value, const char *name, const char *help)
{
    command_->add_option(name, value, help)->type_name("NUMBER")->check(mistake_in_count);
    return *this;
}

command_arguments &command_arguments::flag(bool &value, const char *name, const char *help)
{
    command_->add_flag(name, value, help);
    return *this;
}

command_arguments &command_arguments::json(bool &value)
{
    return flag(value, "--json", "Print JSON, for scripts");
}

command_line::command_line(const char *name, const char *purpose, const char *closing_words)
    : program_(std::make_unique<CLI::App>(purpose, name))
{
    program_->footer(closing_words);
    program_->require_subcommand(1);
    program_->formatter(std::make_shared<plain_formatter>());
}

command_line::~command_line() = default;

command_arguments command_line::add_command(const char *name, const char *purpose, const char *closing_words,
                                            std::function<exit_status()> work)
{
    CLI::App *const command = program_->add_subcommand(name, purpose);
    command->footer(closing_words);
    command->callback([this, work = std::move(work)] { chosen_ = work; });
    return command_arguments(*command);
}

exit_status command_line::run(int count, char **words)
{
    try {
        program_->parse(count, words);
    } catch (const CLI::ParseError &error) {
        const bool was_help = program_->exit(error) == 0;
        return was_help ? exit_status::done : exit_status::usage;
    }
    return chosen_();
}

} // namespace inspect
