// SPDX-License-Identifier: MIT
// "graph": which option decides about which, in Graphviz's language, with what is active and what is met as it stands.
// Options without a part in this are left out. A picture is what Graphviz's program "dot" makes of it.
// Tested by tests/tools/graph_test.cpp.
#include "backend.h"
#include "command.h"
#include "command_line.h"
#include "dependencies.h"
#include "failure.h"
#include "option.h"
#include "output.h"
#include "output_file.h"
#include "scanner.h"
#include "setting.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/types.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace inspect {

namespace {

struct graph_arguments {
    std::string device;
    std::vector<std::string> settings;
    std::string svg;
    bool json = false;
};

struct graph {
    std::string device;
    std::vector<option> nodes; // in the order of their numbers
    std::vector<dependency> dependencies;
};

bool takes_part(const std::vector<dependency> &dependencies, const std::string &name)
{
    return std::any_of(dependencies.begin(), dependencies.end(), [&name](const dependency &each) {
        return each.option == name || std::any_of(each.conditions.begin(), each.conditions.end(),
                                                  [&name](const condition &test) { return test.master == name; });
    });
}

graph read_graph(const scanner &device)
{
    graph result{device.name(), read_options(device), read_dependencies(device)};
    const auto is_alone = [&result](const option &each) { return !takes_part(result.dependencies, each.name); };
    result.nodes.erase(std::remove_if(result.nodes.begin(), result.nodes.end(), is_alone), result.nodes.end());
    return result;
}

// A text in Graphviz's quotes; a line feed stays one.
std::string in_quotes(const std::string &text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
            continue;
        }
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + "\"";
}

std::string node_text(const option &node, const std::vector<dependency> &dependencies)
{
    std::string label = printable(node.name) + "\n" + printable(node.title);
    const dependency *own = dependency_of(dependencies, node.name);
    if (own != nullptr && own->conditions.size() > 1)
        label += own->all ? "\n(all of them)" : "\n(one of them)";
    const char *const look = node.is_active()
                                 ? R"(style="rounded,filled", fillcolor="#e3f1e3")"
                                 : R"(style="rounded,filled,dashed", fillcolor="#eeeeee", fontcolor="#777777")";
    return fmt::format("    {} [label={}, {}];\n", in_quotes(printable(node.name)), in_quotes(label), look);
}

std::string edge_text(const condition &test, const std::string &slave)
{
    const bool met = test.state == condition_state::met;
    return fmt::format("    {} -> {} [label={}, {}];\n", in_quotes(test.master), in_quotes(printable(slave)),
                       in_quotes(printable(test.test)),
                       met ? R"(color="#2e7d32")" : R"(style=dashed, color="#999999", fontcolor="#777777")");
}

std::string as_dot(const graph &shown)
{
    std::string text = fmt::format("digraph {} {{\n"
                                   "    rankdir=LR;\n"
                                   "    node [shape=box, fontname=\"sans-serif\", fontsize=11];\n"
                                   "    edge [fontname=\"sans-serif\", fontsize=10];\n",
                                   in_quotes(printable(shown.device)));
    for (const option &each : shown.nodes)
        text += node_text(each, shown.dependencies);
    for (const dependency &slave : shown.dependencies)
        for (const condition &each : slave.conditions)
            text += edge_text(each, slave.option);
    return text + "}\n";
}

json_value as_json(const graph &shown)
{
    json_value nodes = json_value::array();
    for (const option &each : shown.nodes) {
        const dependency *own = dependency_of(shown.dependencies, each.name);
        nodes.push_back({{"option", each.name},
                         {"title", each.title},
                         {"active", each.is_active()},
                         {"rule", own == nullptr ? json_value() : json_value(own->all ? "all" : "any")}});
    }
    json_value edges = json_value::array();
    for (const dependency &slave : shown.dependencies)
        for (const condition &each : slave.conditions)
            edges.push_back(
                {{"from", each.master}, {"to", slave.option}, {"test", each.test}, {"state", state_word(each.state)}});
    return {{"device", shown.device}, {"nodes", nodes}, {"edges", edges}};
}

[[noreturn]] void fail_to_draw(const std::string &reason)
{
    throw failure(exit_status::output_failed, "the picture cannot be drawn: " + reason);
}

[[noreturn]] void fail_to_run_dot(int error)
{
    fail_to_draw(fmt::format("\"dot\" of Graphviz: {}", std::generic_category().message(error)));
}

// Runs "dot" on a file that is open, into another one. That it is not there may show only in the new process, which
// then ends with the status that POSIX has for this.
void draw(int input, int output)
{
    const char *const words[] = {"dot", "-Tsvg", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, words[0], &actions, nullptr, const_cast<char *const *>(words), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        fail_to_run_dot(error);
    int status = 0;
    ::waitpid(process, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
        fail_to_run_dot(ENOENT);
    if (status != 0)
        fail_to_draw("\"dot\" of Graphviz failed");
}

void write_picture(const std::string &dot, const std::string &path)
{
    struct closer {
        void operator()(std::FILE *stream) const { std::fclose(stream); }
    };
    const std::unique_ptr<std::FILE, closer> text(std::tmpfile());
    if (text == nullptr || std::fputs(dot.c_str(), text.get()) < 0 || std::fflush(text.get()) != 0 ||
        std::fseek(text.get(), 0, SEEK_SET) != 0)
        fail_to_draw("no room for a temporary file");
    output_file picture(path);
    draw(::fileno(text.get()), ::fileno(picture.stream()));
    picture.commit();
}

exit_status print_graph(const graph_arguments &arguments)
{
    require_one_output(arguments.svg, arguments.json);
    const backend sane;
    const scanner device(arguments.device);
    apply_all(device, arguments.settings);
    const graph result = read_graph(device);
    if (!arguments.svg.empty())
        write_picture(as_dot(result), arguments.svg);
    if (arguments.json)
        print_json(as_json(result));
    else if (arguments.svg.empty())
        print(as_dot(result));
    return exit_status::done;
}

} // namespace

void add_graph_command(command_line &program)
{
    const auto arguments = std::make_shared<graph_arguments>();
    program
        .add_command("graph", "Show which options decide about which others, for Graphviz",
                     "Examples:\n"
                     "  pelsane-inspect graph virtual:duplex-feeder | dot -Tpng >options.png\n"
                     "  pelsane-inspect graph --set mode=Lineart --svg options.svg",
                     [arguments] { return print_graph(*arguments); })
        .device(arguments->device)
        .settings(arguments->settings)
        .text(arguments->svg, "--svg", "FILE",
              "Write a picture to this file, or - for standard output; \"dot\" has to be installed")
        .json(arguments->json);
}

} // namespace inspect
