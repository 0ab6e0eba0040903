// SPDX-License-Identifier: MIT
// One parsed JSON document: look-up by path, typed reads and writes, texts, and a walk over the root's children.
#ifndef PELSANE_JSON_H
#define PELSANE_JSON_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct cJSON;

// Bad input never throws: every operation says by its result whether it succeeded, and leaves its output alone when it
// did not (exceptions are named). Not to be shared between threads.
//
// A path names object members, separated by '/'; empty parts are skipped, so that null, "" and "/" name the root.
// Elements of arrays cannot be named. Names are compared byte by byte, the first match counts.
class json {
public:
    // The document of a text; empty when the text does not parse.
    explicit json(const char *text = nullptr);
    ~json() = default;
    json(const json &) = delete;
    json &operator=(const json &) = delete;

    // Replaces the document by a text's; false when it does not parse.
    bool attach_text(const char *text);

    // Replaces the document by a deep copy of `item`, which may be part of this document; false for null.
    bool attach_cjson(const cJSON *item);

    void clear();

    // The item at a path, null when there is none; valid until the document is replaced.
    [[nodiscard]] cJSON *find(const char *path) const;
    [[nodiscard]] static cJSON *find_child(const cJSON *parent, const char *key);

    // The scalar at a path. An int is a number's integer part as the parser saturates it.
    bool get_value(const char *path, bool &v) const;
    bool get_value(const char *path, int &v) const;
    bool get_value(const char *path, double &v) const;
    bool get_value(const char *path, std::string &v) const;
    bool get_value(const char *path, std::string_view &v) const; // borrowed, while the document stays as it is

    // A copy of the item at a path as a document of its own, which the caller deletes.
    bool get_value(const char *path, json *&v) const;
    [[nodiscard]] std::unique_ptr<json> get_document(const char *path) const; // null when there is none

    // The item at a path of a parsed document as one that borrows it, while this one stays as it is; empty when there
    // is none. It reads as its copy would: a number that prints shorter is the shorter one, an infinity is null.
    [[nodiscard]] json part(const char *path);
    [[nodiscard]] bool is_empty() const { return obj_ == nullptr; }

    // The item's text form: "true", "false", "null", a number as "%d" or, when `integer` is false, "%f", a string's
    // text, an array or object printed.
    bool get_value_as_string(const char *path, std::string &v, bool integer) const;
    [[nodiscard]] static std::string get_value_as_string(const cJSON *item, bool integer);

    // Formatted print; empty when there is nothing to print or the printing failed.
    [[nodiscard]] std::string to_string() const;
    [[nodiscard]] static std::string to_string(const cJSON *item);

    // The root's name; empty for a document that was parsed from a text.
    [[nodiscard]] std::string key() const;

    // Walk over the root's children, each as its text form with `integer` false; `v` is emptied at the end.
    bool first_child(std::string &v);
    bool next_child(std::string &v);

    // Overwrites the item at a path, whatever its type was; false when there is no such item.
    // The double form leaves the integer that get_value reads as it was.
    bool set_value(const char *path, bool v);
    bool set_value(const char *path, int v);
    bool set_value(const char *path, double v);
    bool set_value(const char *path, const std::string &v);
    bool set_value(const char *path, const char *v) { return set_value(path, std::string(v)); }

    // The root itself as a scalar.
    bool value(bool &v) const;
    bool value(int &v) const;
    bool value(double &v) const;
    bool value(std::string &v) const;

    // The array at a path: strings as they are, numbers as integers, anything else printed. `out` is emptied first.
    // Throws std::logic_error when an element cannot be printed.
    bool get_as_array(const char *path, std::vector<std::string> &out) const;

private:
    struct tree_deleter {
        void operator()(cJSON *tree) const;
    };

    struct borrowed {
        cJSON *root;
    };

    explicit json(borrowed item) : obj_(item.root) {}
    bool attach_tree(cJSON *tree);
    bool current_child_text(std::string &v) const;

    std::unique_ptr<cJSON, tree_deleter> tree_; // none when the root is borrowed
    cJSON *obj_ = nullptr;                      // the root
    cJSON *cur_child_ = nullptr;                // inside obj_
};

#endif
