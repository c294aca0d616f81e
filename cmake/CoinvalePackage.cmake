# Installing, and the Debian package: `cmake --install`, or the target `deb`, which leaves the package in the build folder.
#
# The program looks for its help file in its own folder, so both live in lib/coinvale and bin/ has a link to the program.
set(program_dir lib/coinvale)

install(TARGETS coinvale RUNTIME DESTINATION ${program_dir})
install(TARGETS jet_tool RUNTIME DESTINATION bin)
install(FILES "${PROJECT_BINARY_DIR}/Coinvale.chm" DESTINATION ${program_dir})
install(CODE "
  set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(MAKE_DIRECTORY \"\${bin}\")
  file(CREATE_LINK ../${program_dir}/coinvale \"\${bin}/coinvale\" SYMBOLIC)
  message(STATUS \"Linking: \${bin}/coinvale\")")

install(FILES packaging/coinvale.desktop DESTINATION share/applications)
install(FILES packaging/coinvale.metainfo.xml DESTINATION share/metainfo)
install(FILES resources/images/coinvale.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES LICENSE DESTINATION share/doc/coinvale RENAME copyright)
# A distribution expects these compressed.
foreach(page share/doc/coinvale/changelog share/man/man1/coinvale.1 share/man/man1/jet.1)
  get_filename_component(name "${page}" NAME)
  get_filename_component(folder "${page}" DIRECTORY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/packaging/${name}")
  execute_process(COMMAND gzip -9nc "${PROJECT_SOURCE_DIR}/packaging/${name}"
                  OUTPUT_FILE "${PROJECT_BINARY_DIR}/${name}.gz" COMMAND_ERROR_IS_FATAL ANY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.gz" DESTINATION ${folder})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME coinvale)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "The Coinvale developers <coinvale@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "budgeting by envelopes")
set(CPACK_PACKAGE_DESCRIPTION_FILE "${PROJECT_SOURCE_DIR}/packaging/description.txt")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON) # the libraries that the program is linked with, from dpkg-dev
# The plugins that read and draw the icons, which moved out of the library after Debian 12, and Liberation Sans, which
# stands in for Arial: in wider letters the dates of the reports do not fit their column.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-svg-plugins | libqt6svg6 (<< 6.7.2-5~), fonts-liberation")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-qpa-plugins")
include(CPack)

add_custom_target(deb COMMAND sh "${PROJECT_SOURCE_DIR}/cmake/install-needed.sh" dpkg-dev file
                      COMMAND ${CMAKE_CPACK_COMMAND} -G DEB WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" VERBATIM)
add_dependencies(deb coinvale jet_tool)
if(TARGET help_file)
  add_dependencies(deb help_file)
endif()

add_test(NAME install COMMAND ${CMAKE_COMMAND} "-DBUILD=${PROJECT_BINARY_DIR}"
                              "-DTREE=${PROJECT_BINARY_DIR}/tests/installed" -P "${PROJECT_SOURCE_DIR}/tests/install.cmake")
set_tests_properties(install PROPERTIES LABELS install)
