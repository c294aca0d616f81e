# The targets `format` (rewrite), `format-check` (complain) and `lint`, over every source file that git tracks.
find_program(CLANG_FORMAT clang-format)
find_program(CLANG_TIDY clang-tidy)
find_program(RUN_CLANG_TIDY run-clang-tidy)
find_package(Git QUIET)

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(CLANG_FORMAT AND GIT_FOUND)
  add_custom_target(format COMMAND sh -c "${GIT_EXECUTABLE} ls-files '*.h' '*.cpp' | xargs ${CLANG_FORMAT} -i"
                    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
  add_custom_target(format-check
                    COMMAND sh -c "${GIT_EXECUTABLE} ls-files '*.h' '*.cpp' | xargs ${CLANG_FORMAT} --dry-run -Werror"
                    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
endif()
if(CLANG_TIDY AND RUN_CLANG_TIDY)
  add_custom_target(lint COMMAND ${RUN_CLANG_TIDY} -quiet -p "${PROJECT_BINARY_DIR}"
                                 "${PROJECT_SOURCE_DIR}/(platform|db|ledger|mainwindow|reports|find|help|tools|app)/.*"
                    WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" VERBATIM)
endif()
