# SPDX-License-Identifier: MIT
# cmake -Dcatalogues=<list of files> -Doutput=<source> -P embed_catalogues.cmake
# Writes a C++ source that defines langkit::built_in_catalogues() with the files' contents.
set(entries "")
foreach(catalogue IN LISTS catalogues)
  get_filename_component(name ${catalogue} NAME)
  file(READ ${catalogue} text)
  string(APPEND entries "        {\"built-in ${name}\", R\"catalogue(${text})catalogue\"},\n")
endforeach()

file(WRITE ${output} "// Generated from the catalogue files.
#include \"catalogue_sources.h\"

namespace langkit {

std::vector<catalogue_source> built_in_catalogues()
{
    return {
${entries}    };
}

} // namespace langkit
")
