// SPDX-License-Identifier: MIT
// The only place that knows cJSON. A document is one tree, owned; everything else borrows from it. An item's type is
// compared as a whole with cJSON's constants, whose numbers differ between releases. Texts and buffers inside a tree
// come from cJSON's allocator, because cJSON releases them with the tree.
// Tested by tests/json/json_test.cpp.
#include "json.h"

#include "number_text.h"
#include "radix_character.h"

#include <cjson/cJSON.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

struct cjson_deleter {
    void operator()(void *block) const { cJSON_free(block); }
};
using cjson_text = std::unique_ptr<char, cjson_deleter>;

cJSON *parsed(const char *text)
{
    return is_radix_character_long() ? cJSON_Parse(without_points(text).c_str()) : cJSON_Parse(text);
}

bool is(const cJSON *item, int type)
{
    return item != nullptr && item->type == type;
}

std::string text_of(const cJSON *item)
{
    return item->valuestring != nullptr ? item->valuestring : "";
}

bool read(const cJSON *item, bool &v)
{
    if (!is(item, cJSON_True) && !is(item, cJSON_False))
        return false;
    v = is(item, cJSON_True);
    return true;
}

bool read(const cJSON *item, int &v)
{
    if (!is(item, cJSON_Number))
        return false;
    v = item->valueint;
    return true;
}

bool read(const cJSON *item, double &v)
{
    if (!is(item, cJSON_Number))
        return false;
    v = item->valuedouble;
    return true;
}

template <typename Text> bool read_text(const cJSON *item, Text &v)
{
    if (!is(item, cJSON_String))
        return false;
    v = item->valuestring != nullptr ? item->valuestring : "";
    return true;
}

// Whether a number may print as another one: when it takes more than the 15 digits that are printed at first, and at
// the values that printing has its own way with. Numbers of few decimals, as nearly all are, need no printing to know.
bool may_print_differently(const cJSON &number)
{
    constexpr std::ptrdiff_t printed_digits = 15;
    constexpr double decimals = 10000;
    constexpr double most = 1e11; // in units of the last decimal
    const double value = number.valuedouble;
    if (value == 0 || !std::isfinite(value))
        return value != 0 || std::signbit(value);
    const double scaled = value * decimals;
    if (std::fabs(scaled) < most) {
        const auto units = static_cast<long>(scaled + std::copysign(0.5, scaled));
        if (static_cast<double>(units) / decimals == value)
            return false;
    }
    char text[32];
    const char *const end =
        std::to_chars(text, text + sizeof(text), std::fabs(value), std::chars_format::scientific).ptr;
    const auto digits = std::find(text, const_cast<char *>(end), 'e') - text - 1; // without the point
    return digits > printed_digits;
}

// Makes of each number below an item what it would be if the item were printed and parsed again.
void read_as_printed(cJSON *item)
{
    if (is(item, cJSON_Number) && may_print_differently(*item)) {
        json copy;
        copy.attach_cjson(item);
        if (const cJSON *const number = copy.find(nullptr)) {
            item->type = number->type;
            item->valueint = number->valueint;
            item->valuedouble = number->valuedouble;
        }
    }
    for (cJSON *child = item != nullptr ? item->child : nullptr; child != nullptr; child = child->next)
        read_as_printed(child);
}

// Gives the item a new scalar type; a text that it held is released.
void change_type(cJSON &item, int type)
{
    if (item.type == cJSON_String)
        cjson_text(std::exchange(item.valuestring, nullptr));
    item.type = type;
}

std::string element_text(const cJSON *element)
{
    if (is(element, cJSON_Number))
        return std::to_string(element->valueint);
    if (is(element, cJSON_String))
        return text_of(element);
    std::string printed = json::to_string(element);
    if (printed.empty())
        throw std::logic_error("an element of a JSON array cannot be printed");
    return printed;
}

// Whether a name is the first part of a path; `path` moves behind the part if it is.
bool is_first_part(const char *name, const char *&path)
{
    const char *end = path;
    while (*end == *name && *end != '\0' && *end != '/') {
        ++end;
        ++name;
    }
    if (*name != '\0' || (*end != '\0' && *end != '/'))
        return false;
    path = end;
    return true;
}

cJSON *child_on_path(const cJSON &parent, const char *&path)
{
    cJSON *child = parent.child;
    while (child != nullptr && (child->string == nullptr || !is_first_part(child->string, path)))
        child = child->next;
    return child;
}

} // namespace

void json::tree_deleter::operator()(cJSON *tree) const
{
    cJSON_Delete(tree);
}

json::json(const char *text)
{
    attach_text(text);
}

bool json::attach_text(const char *text)
{
    clear();
    return text != nullptr && attach_tree(parsed(text));
}

bool json::attach_cjson(const cJSON *item)
{
    const std::string printed = to_string(item); // before the document goes, of which the item may be a part
    clear();
    return !printed.empty() && attach_tree(parsed(printed.c_str()));
}

bool json::attach_tree(cJSON *tree)
{
    tree_.reset(tree);
    obj_ = tree;
    return obj_ != nullptr;
}

void json::clear()
{
    tree_.reset();
    obj_ = nullptr;
    cur_child_ = nullptr; // it pointed into the tree
}

cJSON *json::find(const char *path) const
{
    cJSON *item = obj_;
    while (item != nullptr && path != nullptr && *path != '\0') {
        if (*path == '/')
            ++path;
        else
            item = child_on_path(*item, path);
    }
    return item;
}

cJSON *json::find_child(const cJSON *parent, const char *key)
{
    if (parent == nullptr)
        return nullptr;
    cJSON *child = parent->child;
    while (child != nullptr && (child->string == nullptr || std::strcmp(child->string, key) != 0))
        child = child->next;
    return child;
}

bool json::get_value(const char *path, bool &v) const
{
    return read(find(path), v);
}

bool json::get_value(const char *path, int &v) const
{
    return read(find(path), v);
}

bool json::get_value(const char *path, double &v) const
{
    return read(find(path), v);
}

bool json::get_value(const char *path, std::string &v) const
{
    return read_text(find(path), v);
}

bool json::get_value(const char *path, std::string_view &v) const
{
    return read_text(find(path), v);
}

bool json::get_value(const char *path, json *&v) const
{
    auto document = get_document(path);
    if (document == nullptr)
        return false;
    v = document.release();
    return true;
}

std::unique_ptr<json> json::get_document(const char *path) const
{
    auto document = std::make_unique<json>();
    if (!document->attach_cjson(find(path)))
        return nullptr;
    return document;
}

json json::part(const char *path)
{
    cJSON *const item = find(path);
    read_as_printed(item);
    return json(borrowed{item});
}

bool json::get_value_as_string(const char *path, std::string &v, bool integer) const
{
    const cJSON *item = find(path);
    if (item == nullptr)
        return false;
    v = get_value_as_string(item, integer);
    return true;
}

std::string json::get_value_as_string(const cJSON *item, bool integer)
{
    if (is(item, cJSON_False))
        return "false";
    if (is(item, cJSON_True))
        return "true";
    if (is(item, cJSON_NULL))
        return "null";
    if (is(item, cJSON_Number))
        return integer ? std::to_string(item->valueint) : number_to_text(item->valuedouble);
    if (is(item, cJSON_String))
        return text_of(item);
    return to_string(item);
}

std::string json::to_string() const
{
    return to_string(obj_);
}

std::string json::to_string(const cJSON *item)
{
    if (item == nullptr)
        return {};
    const cjson_text printed(cJSON_Print(item));
    if (printed == nullptr)
        return {};
    return is_radix_character_long() ? with_plain_points(printed.get()) : printed.get();
}

std::string json::key() const
{
    return obj_ != nullptr && obj_->string != nullptr ? obj_->string : "";
}

bool json::first_child(std::string &v)
{
    cur_child_ = obj_ != nullptr ? obj_->child : nullptr;
    return current_child_text(v);
}

bool json::next_child(std::string &v)
{
    if (cur_child_ != nullptr)
        cur_child_ = cur_child_->next;
    return current_child_text(v);
}

bool json::current_child_text(std::string &v) const
{
    v = cur_child_ != nullptr ? get_value_as_string(cur_child_, false) : "";
    return cur_child_ != nullptr;
}

bool json::set_value(const char *path, bool v)
{
    cJSON *item = find(path);
    if (item == nullptr)
        return false;
    change_type(*item, v ? cJSON_True : cJSON_False);
    return true;
}

bool json::set_value(const char *path, int v)
{
    cJSON *item = find(path);
    if (item == nullptr)
        return false;
    change_type(*item, cJSON_Number);
    item->valueint = v;
    item->valuedouble = v;
    return true;
}

bool json::set_value(const char *path, double v)
{
    cJSON *item = find(path);
    if (item == nullptr)
        return false;
    change_type(*item, cJSON_Number);
    item->valuedouble = v;
    return true;
}

bool json::set_value(const char *path, const std::string &v)
{
    cJSON *item = find(path);
    if (item == nullptr)
        return false;
    constexpr std::size_t spare = 4; // terminator and room that a driver may use
    cjson_text text(static_cast<char *>(cJSON_malloc(v.size() + spare)));
    if (text == nullptr)
        throw std::bad_alloc();
    std::memset(text.get(), 0, v.size() + spare);
    v.copy(text.get(), v.size());
    change_type(*item, cJSON_String);
    item->valuestring = text.release();
    return true;
}

bool json::value(bool &v) const
{
    return read(obj_, v);
}

bool json::value(int &v) const
{
    return read(obj_, v);
}

bool json::value(double &v) const
{
    return read(obj_, v);
}

bool json::value(std::string &v) const
{
    return read_text(obj_, v);
}

bool json::get_as_array(const char *path, std::vector<std::string> &out) const
{
    out.clear();
    const cJSON *array = find(path);
    if (!is(array, cJSON_Array))
        return false;
    for (const cJSON *element = array->child; element != nullptr; element = element->next)
        out.push_back(element_text(element));
    return true;
}
