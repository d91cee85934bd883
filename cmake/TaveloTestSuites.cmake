# One CTest test per GoogleTest suite: tavelo_test_suites(TARGET TIMEOUT seconds-per-case).
# Each suite runs its cases in one process (named "Suite.*"), where a process per case spent
# most of a sanitizer run starting processes. The suites are listed from the executable when
# CTest starts, as gtest_discover_tests does in PRE_TEST mode; a case that skips itself is
# counted by scripts/test from the log.
set(TAVELO_TEST_SUITES_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/TaveloTestSuitesList.cmake)

function(tavelo_test_suites target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "")
  set(base "${CMAKE_CURRENT_BINARY_DIR}/${target}_suites")
  file(GENERATE OUTPUT "${base}_include.cmake" CONTENT
"if(EXISTS \"$<TARGET_FILE:${target}>\")
  if(NOT EXISTS \"${base}_tests.cmake\" OR
     NOT \"${base}_tests.cmake\" IS_NEWER_THAN \"$<TARGET_FILE:${target}>\" OR
     NOT \"${base}_tests.cmake\" IS_NEWER_THAN \"\${CMAKE_CURRENT_LIST_FILE}\")
    set(TAVELO_SUITES_EXECUTABLE [==[$<TARGET_FILE:${target}>]==])
    set(TAVELO_SUITES_OUTPUT [==[${base}_tests.cmake]==])
    set(TAVELO_SUITES_TIMEOUT ${arg_TIMEOUT})
    include([==[${TAVELO_TEST_SUITES_SCRIPT}]==])
  endif()
  include(\"${base}_tests.cmake\")
else()
  add_test(${target}_NOT_BUILT ${target}_NOT_BUILT)
endif()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES "${base}_include.cmake")
endfunction()
