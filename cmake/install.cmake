# SPDX-License-Identifier: MIT
# Where everything goes when it is installed, for the packages in debian/ and for other systems alike. SANE looks for
# backends and for their names in folders of its own; with the prefix /usr these are the ones used here.
include(GNUInstallDirs)
set(sane_folder ${CMAKE_INSTALL_FULL_SYSCONFDIR}/sane.d/dll.d)

install(TARGETS sane-pelsane LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/sane)
file(WRITE ${CMAKE_BINARY_DIR}/installed/pelsane "pelsane\n")
install(FILES ${CMAKE_BINARY_DIR}/installed/pelsane DESTINATION ${sane_folder})
install(FILES doc/sane-pelsane.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)

# The stand-ins lie in a folder of their own, to which the loader comes last: see the file itself.
set(virtual_folder ${CMAKE_INSTALL_LIBDIR}/pelsane-virtual)
set(loader_folder ${CMAKE_INSTALL_FULL_LIBDIR}/pelsane-virtual)
set(loader_file zz-pelsane-virtual)
if(CMAKE_LIBRARY_ARCHITECTURE)
  string(APPEND loader_file -${CMAKE_LIBRARY_ARCHITECTURE})
endif()
configure_file(cmake/pelsane-virtual.conf.in ${CMAKE_BINARY_DIR}/installed/${loader_file}.conf @ONLY)
install(TARGETS peldriver langkit commonlog LIBRARY DESTINATION ${virtual_folder})
install(FILES ${CMAKE_BINARY_DIR}/installed/${loader_file}.conf
  DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/ld.so.conf.d)
install(DIRECTORY virtual/profiles virtual/langkit/catalogues
  DESTINATION ${CMAKE_INSTALL_DATADIR}/pelsane-virtual FILES_MATCHING PATTERN "*.json")
install(PROGRAMS virtual/profiles/stress_profile.py DESTINATION ${CMAKE_INSTALL_DATADIR}/pelsane-virtual/profiles)
install(FILES doc/pelsane-virtual.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)

if(PELSANE_TOOLS)
  install(TARGETS pelsane-inspect RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES doc/pelsane-inspect.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

configure_file(cmake/pelsane.pc.in ${CMAKE_BINARY_DIR}/installed/pelsane.pc @ONLY)
install(FILES include/sane_ex.h include/sane_pelsane.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sane)
install(FILES ${CMAKE_BINARY_DIR}/installed/pelsane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES examples/scan_with_access.c DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
