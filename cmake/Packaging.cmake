# Installation layout and the Debian package (scripts/package runs cpack -G DEB).
#
#   /usr/bin/quorvane                         the executable
#   /usr/lib/x86_64-linux-gnu/quorvane/libquorvane_windows.so
#                                              the windows, a private module
#   /usr/share/man/man1/quorvane.1.gz          the manual page
#   /usr/share/bash-completion/completions/quorvane
#   /usr/share/quorvane/examples/              the sample installation
#   /usr/share/doc/quorvane/                   copyright, changelog
#
# The module is no library for other programs, so it stays out of the
# library path, in a folder of the package's own; the executable looks for
# it beside itself first (the build tree) and then there. Not /usr/lib/quorvane:
# cpack would then have ldconfig run on every install for a module that no
# other program links.
include(GNUInstallDirs)

if(CMAKE_LIBRARY_ARCHITECTURE)
  set(QUORVANE_MODULE_INSTALL_DIR lib/${CMAKE_LIBRARY_ARCHITECTURE}/quorvane)
else()
  set(QUORVANE_MODULE_INSTALL_DIR lib/quorvane)
endif()
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

target_compile_definitions(quorvane PRIVATE
  QUORVANE_INSTALLED_MODULE_DIR="../${QUORVANE_MODULE_INSTALL_DIR}")

install(TARGETS quorvane RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS quorvane_windows LIBRARY DESTINATION ${QUORVANE_MODULE_INSTALL_DIR}
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# Manual pages and the changelog go in compressed, as Debian has them; -n
# keeps the name and time out of the gzip header, so the bytes do not
# change from one build to the next.
set(packaging_dir ${PROJECT_SOURCE_DIR}/packaging)
set(packaging_out ${PROJECT_BINARY_DIR}/packaging)
configure_file(${packaging_dir}/changelog.in ${packaging_out}/changelog @ONLY)
add_custom_command(OUTPUT ${packaging_out}/quorvane.1.gz ${packaging_out}/changelog.gz
  COMMAND gzip -9nc ${packaging_dir}/quorvane.1 > ${packaging_out}/quorvane.1.gz
  COMMAND gzip -9nc ${packaging_out}/changelog > ${packaging_out}/changelog.gz
  DEPENDS ${packaging_dir}/quorvane.1 ${packaging_out}/changelog
  COMMENT "Compressing the manual page and the changelog")
add_custom_target(quorvane_docs ALL DEPENDS ${packaging_out}/quorvane.1.gz ${packaging_out}/changelog.gz)

install(FILES ${packaging_out}/quorvane.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${packaging_dir}/quorvane.bash-completion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME quorvane)
install(FILES ${packaging_dir}/copyright ${packaging_out}/changelog.gz
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/quorvane)

# The sample installation as the repository has it, without what runs leave
# in its working, output and temporary folders; those stay as empty folders,
# since the sample's Quorvane.INI names them.
set(examples_dest ${CMAKE_INSTALL_DATADIR}/quorvane/examples)
install(FILES examples/Quorvane.INI examples/klmx.ini DESTINATION ${examples_dest})
install(DIRECTORY examples/input examples/lexicon examples/tables DESTINATION ${examples_dest}
  PATTERN .gitkeep EXCLUDE)
foreach(folder images output temp work)
  install(DIRECTORY DESTINATION ${examples_dest}/${folder})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Quorvane maintainers <maintainers@quorvane.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "quality control of tagged SGML/XML-like text")
set(CPACK_PACKAGE_DESCRIPTION
  "Quorvane applies table-driven validation routines to tagged text, the\n"
  "output of data-conversion lines: to the whole file and to every tag,\n"
  "line by line. It writes fixed-layout error and warning reports with line\n"
  "and column numbers, and on request JSON, SARIF and HTML summaries. Files\n"
  "are validated one at a time from the command line, as batches of folders\n"
  "from scripts, or in a batch window.")
string(REPLACE ";" "" CPACK_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
set(CPACK_DEBIAN_PACKAGE_SECTION text)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The sample installation reads the system's en-US dictionary; a production
# installation names its own.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS hunspell-en-us)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
include(CPack)
