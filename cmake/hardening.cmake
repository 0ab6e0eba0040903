# SPDX-License-Identifier: MIT
# What makes a mistake in memory a crash and not a way in, for what is shipped: harden(TARGET...). A distribution's own
# flags come in CMAKE_CXX_FLAGS and win. Tests, fuzzers and builds to debug go without: sanitizers see more than checked
# functions do, and these need optimization. tests/package/hardening_test.py reads all of it from the built files.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckPIESupported)

if(PELSANE_SANITIZE OR PELSANE_COVERAGE)
  message(FATAL_ERROR "PELSANE_HARDENING goes with neither PELSANE_SANITIZE nor PELSANE_COVERAGE")
endif()

# Programs are linked where the loader likes, too, and not only compiled so.
check_pie_supported(LANGUAGES CXX)

set(hardening_compile_options)
# What the compiler does not know for this processor is left out.
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "hardening${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    list(APPEND hardening_compile_options ${flag})
  endif()
endforeach()

# The third level takes a newer compiler and C library, and some of those that lack it warn. Without optimization there
# are no checked functions at all. Some compilers define a level of their own.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
  set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles([[
    #include <cstdlib>
    #if __USE_FORTIFY_LEVEL != 3
    #error
    #endif
    int main() {}
    ]] hardening_fortify_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(level 2)
  if(hardening_fortify_3)
    set(level 3)
  endif()
  list(APPEND hardening_compile_options
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=${level}>)
endif()

# harden(TARGET...): every function of other libraries is looked up when one is loaded, and its address is read-only
# from then on; so a library that lacks one is refused then, and not in the midst of a scan.
function(harden)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE ${hardening_compile_options})
    target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  endforeach()
endfunction()
