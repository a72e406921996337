# Helpers that give every target of ours the same include root, standard and warnings.

set(ARDENTIS_SOURCE_ROOT ${CMAKE_SOURCE_DIR}/src)
set(ARDENTIS_TESTDATA_DIR ${CMAKE_SOURCE_DIR}/../shared/testdata CACHE PATH "Third-party test files")

function(ardentis_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror -Wno-missing-field-initializers)
endfunction()

# ardentis_add_library(<name> SOURCES ... [DEPS ...])
function(ardentis_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${ARDENTIS_SOURCE_ROOT})
  target_link_libraries(${name} PUBLIC ${ARG_DEPS})
  ardentis_warnings(${name})
endfunction()

# ardentis_add_test(<name> SOURCES ... [DEPS ...]): one GoogleTest program, each case its own CTest test.
function(ardentis_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests ${ARDENTIS_SOURCE_ROOT})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name} PRIVATE
    ARDENTIS_TESTDATA_DIR="${ARDENTIS_TESTDATA_DIR}"
    ARDENTIS_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  ardentis_warnings(${name})
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "ARDENTIS_TEST_TMP=${CMAKE_BINARY_DIR}/test-tmp")
endfunction()

# ardentis_add_bench(<name> SOURCES ... [DEPS ...]): a Google Benchmark program run by ./dev bench.
function(ardentis_add_bench name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
  target_include_directories(${name} PRIVATE ${ARDENTIS_SOURCE_ROOT})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} benchmark::benchmark)
  ardentis_warnings(${name})
endfunction()
