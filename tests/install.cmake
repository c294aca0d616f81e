# The test `install`: what `cmake --install` leaves behind starts from bin/ and finds its help file.
#   cmake -DBUILD=folder -DTREE=folder -P install.cmake
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE "${TREE}")
execute_process(COMMAND ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${TREE}" OUTPUT_QUIET
                COMMAND_ERROR_IS_FATAL ANY)

file(GLOB_RECURSE installed LIST_DIRECTORIES FALSE RELATIVE "${TREE}" "${TREE}/*")
set(expected
  bin/coinvale bin/jet lib/coinvale/Coinvale.chm lib/coinvale/coinvale share/applications/coinvale.desktop
  share/doc/coinvale/changelog.gz share/doc/coinvale/copyright share/icons/hicolor/scalable/apps/coinvale.svg
  share/man/man1/coinvale.1.gz share/man/man1/jet.1.gz
  share/metainfo/coinvale.metainfo.xml)
if(NOT installed STREQUAL expected)
  message(SEND_ERROR "Installed: ${installed}\nExpected: ${expected}")
endif()

# The link must not name the folder that it was made in: a package is unpacked somewhere else.
file(READ_SYMLINK "${TREE}/bin/coinvale" link)
file(REAL_PATH "${TREE}/bin/coinvale" program)
file(REAL_PATH "${TREE}" root)
if(IS_ABSOLUTE "${link}" OR NOT program STREQUAL "${root}/lib/coinvale/coinvale")
  message(SEND_ERROR "bin/coinvale leads to ${link}")
endif()
