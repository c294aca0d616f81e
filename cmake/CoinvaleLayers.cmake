# Two helpers: add_layer() makes the one target of a layer, add_unit_test() the tests beside it.
#
# add_layer(name SOURCES files... [DEPENDS layers...] [LIBRARIES targets...] [ROOMS folders...])
#   A static library `name`. DEPENDS links other layers and records the edge, so that the test `layers` can compare
#   every #include with the edges allowed. LIBRARIES are targets from outside. ROOMS are the folders of a layer that is
#   too large for one, lowest first, "." for its own: a file may include its own room and those before it.
#
# add_unit_test(layer names... [FOLDER folder] [LIBRARIES targets...])
#   For each name, tests/<layer>/tst_<name>.cpp becomes the test tst_<layer>_<name>, linked with its layer alone.
#   FOLDER names another folder than the layer's, for the subjects of the application: tests/ledger, tst_ledger_...

add_library(coinvale_options INTERFACE)
target_compile_features(coinvale_options INTERFACE cxx_std_20)
target_compile_options(coinvale_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
# GCC sees endless reads in its own comparison of byte vectors (bug 105651, still there in 14), and GCC 12 overlapping
# copies in its own std::string (bug 105329).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(coinvale_options INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:-Wno-restrict>)
  endif()
  target_compile_options(coinvale_options INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:-Wno-stringop-overread>)
endif()
# What Debian asks of its programs: checked string functions and stacks, and tables of functions that are read-only once
# the program runs. Its compilers make position-independent programs by themselves; asking for the code of a shared
# library instead would keep the engine's functions from being inlined.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  target_compile_options(coinvale_options INTERFACE
    $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>
    $<$<CONFIG:Release>:-fstack-protector-strong>)
  target_link_options(coinvale_options INTERFACE $<$<CONFIG:Release>:LINKER:-z,relro,-z,now>)
endif()
if(COINVALE_WERROR)
  target_compile_options(coinvale_options INTERFACE -Werror)
endif()
if(COINVALE_SANITIZE)
  target_compile_options(coinvale_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                    -fno-omit-frame-pointer)
  target_link_options(coinvale_options INTERFACE -fsanitize=address,undefined)
endif()
if(COINVALE_COVERAGE)
  target_compile_options(coinvale_options INTERFACE --coverage)
  target_link_options(coinvale_options INTERFACE --coverage)
endif()

# For tests, after the options above: QTRY_VERIFY of Qt 6.7 and later narrows its own times in our code.
add_library(coinvale_test_options INTERFACE)
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.7)
  target_compile_options(coinvale_test_options INTERFACE -Wno-conversion)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_AUTORCC ON)

set_property(GLOBAL PROPERTY COINVALE_LAYERS "")

function(add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;LIBRARIES;ROOMS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS} ${ARG_LIBRARIES} PRIVATE coinvale_options)
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/platform")
  list(JOIN ARG_DEPENDS "," edges)
  list(JOIN ARG_ROOMS "," rooms)
  set_property(GLOBAL APPEND PROPERTY COINVALE_LAYERS "${name}=${edges}=${rooms}")
endfunction()

function(add_unit_test layer)
  cmake_parse_arguments(ARG "" "FOLDER" "LIBRARIES" ${ARGN})
  if(NOT ARG_FOLDER)
    set(ARG_FOLDER ${layer})
  endif()
  foreach(name IN LISTS ARG_UNPARSED_ARGUMENTS)
    set_property(GLOBAL APPEND PROPERTY COINVALE_TESTS_${layer} tst_${ARG_FOLDER}_${name})
    set(target tst_${ARG_FOLDER}_${name})
    add_executable(${target} "${PROJECT_SOURCE_DIR}/tests/${ARG_FOLDER}/tst_${name}.cpp")
    target_link_libraries(${target} PRIVATE ${layer} Qt6::Test ${ARG_LIBRARIES} coinvale_options
                                            coinvale_test_options)
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    add_test(NAME ${target} COMMAND ${target})
    # Results must not depend on the machine: language, time zone and window system are pinned.
    set_tests_properties(${target} PROPERTIES LABELS ${ARG_FOLDER} TIMEOUT 300
      ENVIRONMENT "LC_ALL=C.UTF-8;TZ=UTC;QT_QPA_PLATFORM=offscreen;QT_STYLE_OVERRIDE=Fusion")
  endforeach()
endfunction()

# The test `layers`: every #include of a layer must be of itself or of a layer that it names in DEPENDS (or of what
# those name in turn). A new edge is one line in a CMakeLists.txt that gets noticed.
function(add_layer_check)
  get_property(layers GLOBAL PROPERTY COINVALE_LAYERS)
  list(JOIN layers "|" layers)
  add_test(NAME layers COMMAND ${CMAKE_COMMAND} "-DROOT=${PROJECT_SOURCE_DIR}" "-DLAYERS=${layers}" -P
                               "${PROJECT_SOURCE_DIR}/tests/layers.cmake")
  set_tests_properties(layers PROPERTIES LABELS layers)
endfunction()
