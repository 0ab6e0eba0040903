// SPDX-License-Identifier: MIT
// Where catalogues come from: compiled into the library, and files of a folder.
#ifndef PELSANE_LANGKIT_CATALOGUE_SOURCES_H
#define PELSANE_LANGKIT_CATALOGUE_SOURCES_H

#include "catalogue.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace langkit {

struct catalogue_source {
    std::string name; // for reports
    std::string_view text;
};

// Catalogues by their language.
using catalogue_map = std::map<std::string, catalogue, std::less<>>;

// Defined in a source that the build generates.
[[nodiscard]] std::vector<catalogue_source> built_in_catalogues();

// All catalogues: the compiled-in ones, then every *.json of the folder that PELLANG_CATALOGUES names, or when it is
// not set of the system's folder, in the order of their names; later entries override earlier ones of their language.
// What cannot be read or is no catalogue is reported to the log, with the reason, and left out. Throws std::bad_alloc
// only.
[[nodiscard]] catalogue_map load_catalogues();

} // namespace langkit

#endif
