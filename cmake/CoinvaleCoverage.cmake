# add_coverage(layers...): the target `coverage`, in a build with COINVALE_COVERAGE, runs the tests of these layers and
# the laboratory, and prints the lines and branches of the layers that they reached; coverage.txt and coverage.html hold the places that
# they did not. Branches that the compiler adds for exceptions do not count.
function(add_coverage)
  if(NOT COINVALE_COVERAGE)
    return()
  endif()
  set(tests lab_crash lab_fuzz)
  foreach(layer IN LISTS ARGN)
    get_property(of_layer GLOBAL PROPERTY COINVALE_TESTS_${layer})
    list(APPEND tests ${of_layer})
  endforeach()
  add_custom_target(coverage
    COMMAND sh cmake/coverage.sh "${PROJECT_BINARY_DIR}" "${CMAKE_CTEST_COMMAND}" ${ARGN}
    DEPENDS ${tests} WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}" USES_TERMINAL VERBATIM)
endfunction()
