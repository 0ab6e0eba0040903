// SPDX-License-Identifier: MIT
// What the user may type. The library that reads it takes many times longer to compile than a command, so that only
// command_line.cpp includes it.
#ifndef PELSANE_INSPECT_COMMAND_LINE_H
#define PELSANE_INSPECT_COMMAND_LINE_H

#include "failure.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
} // namespace CLI

namespace inspect {

// The arguments of one command, in the order of its help. Each has a variable that takes what was typed, and keeps its
// value when nothing was; it has to live until the command has run.
class command_arguments {
public:
    explicit command_arguments(CLI::App &command) : command_(&command) {}

    // DEVICE, which may be left out.
    command_arguments &device(std::string &name);

    // A word under a name of its own, which may be left out.
    command_arguments &word(std::string &value, const char *name, const char *help);

    // DEVICE, which may be left out, and an option's name: one or two words, as device_and_word() takes them.
    command_arguments &option(std::vector<std::string> &words);

    // One word or more, which the help shows as `shown`.
    command_arguments &words(std::vector<std::string> &values, const char *shown, const char *help);

    // --set, as apply_all takes it.
    command_arguments &settings(std::vector<std::string> &values);

    // A text behind one of the names ("-o,--output"); the help shows what kind of text it is.
    command_arguments &text(std::string &value, const char *names, const char *kind, const char *help);
    command_arguments &required_text(std::string &value, const char *names, const char *kind, const char *help);

    // The same, and the help tells the value that it has already.
    command_arguments &preset_text(std::string &value, const char *names, const char *kind, const char *help);

    // A number from 1.
    command_arguments &count(int &value, const char *name, const char *help);

    command_arguments &flag(bool &value, const char *name, const char *help);

    // --json
    command_arguments &json(bool &value);

private:
    CLI::App *command_;
};

class command_line {
public:
    command_line(const char *name, const char *purpose, const char *closing_words);
    ~command_line();
    command_line(const command_line &) = delete;
    command_line &operator=(const command_line &) = delete;

    // A command, its arguments yet to be added. `work` does it and returns the exit status, or throws failure.
    command_arguments add_command(const char *name, const char *purpose, const char *closing_words,
                                  std::function<exit_status()> work);

    // Runs the command that was typed, or prints the help that was asked for, or what is wrong with the words.
    exit_status run(int count, char **words);

private:
    std::unique_ptr<CLI::App> program_;
    std::function<exit_status()> chosen_;
};

} // namespace inspect

#endif
