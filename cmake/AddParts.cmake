# One line per part: treadshift_part(NAME sources... [USES other parts]).
# A part is a static library compiled for the module: position independent, hidden, exact arithmetic.
function(treadshift_part name)
  cmake_parse_arguments(PART "" "" "USES" ${ARGN})
  add_library(${name} STATIC ${PART_UNPARSED_ARGUMENTS})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC treadshift_flags ${PART_USES})
endfunction()

# treadshift_test(NAME sources... [USES parts]): a doctest program whose cases ctest lists one by one.
# A semicolon in a case's name would split it in ctest's list, and each half would pass without running.
function(treadshift_test name)
  cmake_parse_arguments(TEST "" "" "USES" ${ARGN})
  foreach(source ${TEST_UNPARSED_ARGUMENTS})
    file(STRINGS ${source} split_names REGEX "TEST_CASE.*;.*\\)")
    if(split_names)
      message(FATAL_ERROR "${source}: a test case has a semicolon in its name; use another mark")
    endif()
  endforeach()
  add_executable(${name} ${TEST_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE treadshift_flags treadshift_test_main ${TEST_USES})
  target_compile_definitions(${name} PRIVATE TREADSHIFT_MODULE="$<TARGET_FILE:treadshift>")
  add_dependencies(${name} treadshift)
  doctest_discover_tests(${name} TEST_PREFIX "${name}/" PROPERTIES TIMEOUT 900)
endfunction()
