# SPDX-License-Identifier: MIT
# Turns the profile INPUT into the C++ source OUTPUT that defines it as a text.
file(READ "${INPUT}" text)
file(WRITE "${OUTPUT}" "// SPDX-License-Identifier: MIT
// Made from a profile at build time.
#include \"profile.h\"

const std::string_view virtual_scanner::builtin_profile = R\"profile(${text})profile\";
")
