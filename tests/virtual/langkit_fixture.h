// SPDX-License-Identifier: MIT
// The language library's stand-in, loaded afresh by each test: catalogues and environment are read once.
#ifndef PELSANE_TESTS_LANGKIT_FIXTURE_H
#define PELSANE_TESTS_LANGKIT_FIXTURE_H

#include "langkit.h"
#include "langkit_control.h"
#include "surroundings.h"

#include <dlfcn.h>
#include <stdexcept>
#include <string>

namespace langkit_fixture {

using namespace surroundings;

class loaded_module {
public:
    explicit loaded_module(const char *path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL))
    {
        if (!handle)
            throw std::runtime_error(std::string("cannot load ") + path);
    }
    ~loaded_module() { dlclose(handle); }
    loaded_module(const loaded_module &) = delete;
    loaded_module &operator=(const loaded_module &) = delete;

    template <typename Function> void find(const char *name, Function &function) const
    {
        function = reinterpret_cast<Function>(dlsym(handle, name));
    }

    void *handle;
};

class langkit_library {
public:
    langkit_library()
    {
        module_.find("lang_load_string", load_string);
        module_.find("from_default_language", from_default);
        module_.find("register_language_changed_notify", register_notify);
        module_.find("get_file_path", file_path);
        module_.find("langkit_set_language", set_language);
        module_.find("langkit_language", language);
        module_.find("langkit_longest_text", longest_text);
        module_.find("langkit_longest_word", longest_word);
    }

    decltype(&lang_load_string) load_string;
    decltype(&from_default_language) from_default;
    decltype(&register_language_changed_notify) register_notify;
    decltype(&get_file_path) file_path;
    decltype(&langkit_set_language) set_language;
    decltype(&langkit_language) language;
    decltype(&langkit_longest_text) longest_text;
    decltype(&langkit_longest_word) longest_word;

private:
    loaded_module log_{COMMONLOG_LIBRARY}; // first: the loader then takes it for the one that langkit needs
    loaded_module module_{LANGKIT_LIBRARY};
};

struct language_environment {
    explicit language_environment(const char *pellang, const std::string &catalogue_folder = "")
        : language("PELLANG", pellang),
          catalogues("PELLANG_CATALOGUES", catalogue_folder.empty() ? nullptr : catalogue_folder.c_str())
    {
    }

    environment_variable language;
    environment_variable catalogues;
    environment_variable lc_all{"LC_ALL", nullptr};
    environment_variable lc_messages{"LC_MESSAGES", nullptr};
    environment_variable lang{"LANG", nullptr};
    environment_variable log_level{"PELLOG_LEVEL", nullptr};
    environment_variable log_number{"SANE_DEBUG_PELSANE", nullptr};
    environment_variable log_file{"PELLOG_FILE", nullptr};
};

} // namespace langkit_fixture

#endif
