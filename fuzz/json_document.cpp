// SPDX-License-Identifier: MIT
// Lines: a path, a text, a second path, then the document. Everything that the wrapper reads and writes at the paths;
// what was written has to be read back, and a printed document has to print alike when it is parsed again.
#include "input.h"
#include "json.h"
#include "number_text.h"
#include "oracle.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void require_prints_alike(const json &document)
{
    const std::string printed = document.to_string();
    const json again(printed.c_str());
    require(again.to_string() == printed, "a printed document prints alike when it is parsed again");
}

void require_paths_alike(const json &document, const std::string &path)
{
    require(document.find(path.c_str()) == document.find(("//" + path + "/").c_str()), "empty parts are skipped");
}

std::size_t count_children(json &document)
{
    std::size_t count = 0;
    std::string text;
    for (bool more = document.first_child(text); more; more = document.next_child(text))
        ++count;
    require(text.empty(), "the end of the children is an empty text");
    return count;
}

int count_kinds(const json &document, const char *path)
{
    bool flag = false;
    double real = 0;
    std::string text;
    return document.get_value(path, flag) + document.get_value(path, real) + document.get_value(path, text);
}

void read_at(const json &document, const char *path)
{
    const bool is_there = document.find(path) != nullptr;
    const int kinds = count_kinds(document, path);
    require(kinds <= (is_there ? 1 : 0), "a scalar is of one kind");
    int number = 0;
    double real = 0;
    require(document.get_value(path, number) == document.get_value(path, real), "a number is an int and a real");

    std::string text;
    require(document.get_value_as_string(path, text, true) == is_there, "everything has a text form");
    require(document.get_value_as_string(path, text, false) == is_there, "and so with fractions");
    const auto part = document.get_document(path);
    require((part != nullptr) == is_there, "everything can be a document of its own");
    std::vector<std::string> elements;
    if (!document.get_as_array(path, elements))
        require(elements.empty(), "what is no array has no elements");
    else if (part != nullptr)
        require(count_children(*part) == elements.size() && kinds == 0, "an array's elements are its children");
}

void require_read_back(json &document, const char *path, const std::string &text)
{
    const bool is_there = document.find(path) != nullptr;
    std::string read_text;
    require(document.set_value(path, text) == is_there, "a text is written where there is an item");
    require(document.get_value(path, read_text) == is_there && (!is_there || read_text == text), "and read back");

    const int number = static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
    int read_number = 0;
    require(document.set_value(path, number) == is_there, "a number is written where there is an item");
    require(document.get_value(path, read_number) == is_there && (!is_there || read_number == number), "and read back");

    const double real = text_to_number(text.c_str());
    double read_real = 0;
    require(document.set_value(path, real) == is_there, "a real is written where there is an item");
    require(document.get_value(path, read_real) == is_there, "and read back");
    require(!is_there || read_real == real || std::isnan(real), "as it was");
    require(document.get_value(path, read_number) == is_there && (!is_there || read_number == number),
            "a real leaves the integer");

    bool flag = false;
    require(document.set_value(path, number % 2 != 0) == is_there, "a flag is written where there is an item");
    require(document.get_value(path, flag) == is_there && (!is_there || flag == (number % 2 != 0)), "and read back");
}

void read_root(json &document)
{
    bool flag = false;
    int number = 0;
    double real = 0;
    std::string text;
    require(document.value(flag) == document.get_value("", flag) &&
                document.value(number) == document.get_value("/", number) &&
                document.value(real) == document.get_value(nullptr, real) &&
                document.value(text) == document.get_value("", text),
            "the root is at the empty path");
    require(document.key().empty(), "a parsed root has no name");
    count_children(document);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    input bytes(data, size);
    const std::string path = bytes.line();
    const std::string text = bytes.line();
    const std::string second_path = bytes.line();
    const std::string source = bytes.rest();

    json document(source.c_str());
    require((document.find("") != nullptr) == !document.to_string().empty(), "what parses can be printed");
    require_prints_alike(document);
    require_paths_alike(document, path);
    read_root(document);
    read_at(document, path.c_str());
    read_at(document, second_path.c_str());
    require_read_back(document, path.c_str(), text);
    require_prints_alike(document);
    read_at(document, second_path.c_str());
    require_read_back(document, second_path.c_str(), path);
    document.set_value(path.c_str(), text);
    count_children(document);
    return 0;
}
